#pragma once

#include "core/command/scriptfile.h"
#include "core/session/session.h"
#include "core/sql/lexer.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

// How a script is to be run.
struct ScriptOptions {
    QString path;
    ScriptFile::Encoding encoding = ScriptFile::Encoding::Bytes;
    bool isInTransaction = false; // taken back as a whole by an error or a stop, as far as the server can
    bool goesOnAtErrors = false;
    // Changes a statement before it is sent; true when it did. Empty: all go as they stand.
    std::function<bool(std::string &statement)> rewrite = {};
};

// One statement that the server refused, or what could not be read.
struct ScriptError {
    QString file;
    qint64 line = 0;   // 0: of no line
    QString statement; // its beginning, passwords masked
    QString description;
};

struct ScriptProgress {
    qint64 bytesRead = 0, byteCount = 0; // of the script that was asked for
    qint64 statements = 0, rowsTouched = 0, warnings = 0, errors = 0;
};

struct ScriptReport : ScriptProgress {
    std::vector<ScriptError> firstErrors; // as many as anybody reads
    bool isStopped = false;               // by the user
    bool isComplete = false;              // the end was reached, whatever went wrong on the way
    bool isTakenBack = false;             // the transaction was rolled back
};

// Runs a script of any size on the session's open connection, within the session's runner: one statement
// after the other, as the servers' own clients do, with SOURCE (from the folder of the script that names it).
// Rows are thrown away. Memory: the largest statement. Never throws but std::bad_alloc; all is in the report.
// The session's settings and default database may be others afterwards.
ScriptReport runScript(Session &session, const ScriptOptions &options,
                       const std::function<void(const ScriptProgress &)> &onProgress);

// What the session's sql_mode changes about reading statements. Throws Failure.
SqlMode sqlModeOf(Connection &connection);
// Whether it is to be asked for again after the statement.
bool maySetSqlMode(std::string_view statement);
bool maySetAutocommit(std::string_view statement);
// SET NAMES and its like, after which the server takes the statements for texts of another character set.
bool setsCharacterSet(std::string_view statement);
// Sent behind it where they are UTF-8 all the same.
QString keepsUtf8();
