#pragma once

#include "transfer/dump/dumpplan.h"

#include <string_view>

// Takes a dump as it comes into being. All throw Failure.
class DumpSink {
public:
    virtual ~DumpSink() = default;

    // Whole statements of a script, each with its delimiter, in UTF-8.
    virtual void write(std::string_view script) = 0;
    // One statement of rows, without a delimiter.
    virtual void insert(std::string_view statement) = 0;

    // The object as it is to be made here: it may get another name for the time being.
    virtual DumpObject placed(const DumpObject &object) { return object; }
    // All rows of a table have been handed over.
    virtual void endRows(const DumpObject & /*table*/, qint64 /*rows*/) {}
    // So have all tables, and nothing else yet.
    virtual void endTables() {}
};
