#pragma once

#include "core/session/session.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

// Rows on their way into a table by LOAD DATA LOCAL: no file holds them, the server gets them as they are
// made. It takes no row for an error: what it changes to make it fit, it only warns of.
class LocalLoad {
public:
    LocalLoad();

    // Replaces the session's connection by one over which the server may ask for the rows. Throws Failure.
    void connect(Session &session) const;

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
    // Adds the next row; false: there is none. Called on the connection's thread. Throws Failure.
    using AddRow = std::function<bool()>;
    // Table and columns in quotes. Throws Failure.
    Outcome send(Connection &connection, const QString &table, const QString &columns, bool skipsDuplicates,
                 const AddRow &addRow);

private:
    void addField(std::string_view text);
    std::size_t give(char *to, std::size_t room, const AddRow &addRow);

    const QString m_name; // that the server asks for
    std::string m_rows;   // not given yet, from m_given on
    std::size_t m_given = 0;
    bool m_isInRow = false, m_isAtEnd = false;
};
