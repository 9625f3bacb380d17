#pragma once

#include "core/session/session.h"
#include "transfer/csv/csvreader.h"
#include "transfer/progress.h"

enum class Duplicates { Stop, Skip, Replace };

// Which column takes which value of a row.
struct ImportColumn {
    QString name;
    int field = 0;
};

struct ImportOptions {
    QString path;
    CsvFormat format;
    QString database, table;
    bool createsTable = false; // from what all rows hold; `columns` are those of the file then
    std::vector<ImportColumn> columns;
    // The file's, as they were when `columns` were chosen: a file that has others meanwhile is refused.
    QStringList fileColumns;
    QString nullText; // an unquoted value of these letters is NULL; empty: an empty one
    Duplicates duplicates = Duplicates::Stop;
    bool keepsGoodRows = false; // else one bad row takes all back
    int rowsPerCommit = 0;      // of kept ones; 0: all at the end
    // By LOAD DATA LOCAL, over a connection that lets the server ask for the rows: built in only, all or
    // nothing, and nothing is replaced.
    bool isLocal = false;
};

struct ImportReport {
    qint64 rows = 0; // that are in the table now, replaced ones included
    qint64 skipped = 0;
    qint64 empty = 0;   // lines of a file with one column, which may have been NULLs
    qint64 changed = 0; // of them, with a value that the server has rounded
    qint64 errors = 0;
    qint64 listedErrors = 0; // in the file: the server lists only the first ones, and counts to 65535
    bool isTakenBack = false;
    QString errorFile; // empty: there were none
    QString leftTable; // was made for the rows, and could not be dropped
};

// Over the session's connection, in as few statements as carry the rows; bad rows are found by halving. The
// server checks every value strictly. Throws Failure where it cannot go on, and says what has been kept.
ImportReport importCsv(Session &session, const ImportOptions &options, const ReportProgress &report);
TransferReport reportOf(const ImportReport &done);

// A CREATE TABLE for all rows of the file: types that hold every value of a column.
QString createTableFor(const ImportOptions &options, const ReportProgress &report);

// The value types that a look at the file can check, and why a value is none of a type; empty: it may be one.
QString whyNotOfType(const QString &columnType, const std::string &value);
