#pragma once

#include "core/sql/connection.h"

#include <cstddef>
#include <functional>

// Gives the next bytes of what a server reads as a file of ours, as many as there is room for or fewer; none:
// the end. Called on the connection's thread while its user waits for the statement. Throws Failure, which is
// then what the statement fails with.
using LocalSource = std::function<std::size_t(char *to, std::size_t room)>;

// A connection over which a server may read rows that never were a file: opened with "LOCALFILE=name".
class LocalSender {
public:
    virtual ~LocalSender() = default;
    // Sends "LOAD DATA LOCAL INFILE 'name' ..."; the source serves that statement only, and only once.
    virtual RecordSet executeLocal(const QString &statement, const LocalSource &source) = 0;
};

// The same by any connection; throws Failure where it is none of those. Once this returns the source is not
// called any more, even where the connection's thread had to be left behind.
RecordSet executeLocal(Connection &connection, const QString &statement, const LocalSource &source);
