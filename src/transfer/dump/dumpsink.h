#pragma once

#include <string_view>

// Takes a dump as it comes into being. All throw Failure.
class DumpSink {
public:
    virtual ~DumpSink() = default;

    // Whole statements of a script, each with its delimiter, in UTF-8.
    virtual void write(std::string_view script) = 0;
    // One statement of rows, without a delimiter.
    virtual void insert(std::string_view statement) = 0;
};
