#pragma once

#include "core/session/session.h"

#include <QTemporaryFile>

#include <string>
#include <string_view>
#include <vector>

// Rows on their way into a table by LOAD DATA LOCAL: gathered in a file of its own, which the server may ask
// for once. It takes no row for an error: what it changes to make it fit, it only warns of.
class LocalLoad {
public:
    LocalLoad(); // throws Failure, as all here

    void addNull() { addField("\\N"); }
    void addValue(std::string_view text);
    void endRow();

    struct Warning {
        int number;
        qint64 row; // of those that were added, from 1; 0: not told
        QString words;
    };
    struct Outcome {
        qint64 rows = 0;     // that are in the table now
        qint64 warnings = 0; // of which the first are listed
        std::vector<Warning> firstWarnings;
    };
    // Replaces the session's connection by one over which the server may ask for the file.
    void connect(Session &session) const;
    // Table and columns in quotes.
    Outcome send(Connection &connection, const QString &table, const QString &columns, bool skipsDuplicates);

private:
    void addField(std::string_view text);
    void flush();

    QTemporaryFile m_file;
    std::string m_buffer;
    bool m_isInRow = false;
};
