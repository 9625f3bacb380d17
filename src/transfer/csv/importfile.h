#pragma once

#include "transfer/csv/csvimport.h"
#include "transfer/transferfile.h"

#include <memory>

// Rows that do not come into a table, with their lines and reasons, in a file beside the one that they are
// of.
class ErrorList {
public:
    explicit ErrorList(const QString &pathOfRows);

    void add(const CsvRow &row, const QString &why); // throws Failure
    // A row that is in the table, though not as the file has it.
    void addChanged(const CsvRow &row, const QString &how);
    void finish();                           // the same
    qint64 count() const { return m_count; } // without the changed ones
    // Empty while there are none at all.
    QString path() const { return m_file ? m_path : QString(); }

private:
    void write(const CsvRow &row, const QString &words);

    const QString m_path;
    std::unique_ptr<TransferFile> m_file;
    qint64 m_count = 0;
};

// The rows of the file that have as many values as its header, or its first row. Throws Failure.
class ImportFile {
public:
    // Others go into the list, where there is one. The options are not copied.
    ImportFile(const ImportOptions &options, ErrorList *errors);

    bool next(CsvRow &row);
    qint64 lastLine() const { return m_lastLine; } // of the row that was read last, whatever it was
    qint64 rows() const { return m_rows; }
    // Passed over where a row has one value, which is missing in them.
    qint64 emptyRows() const { return m_fieldCount == 1 ? m_reader.emptyLines() : 0; }
    TransferStatus status() const; // asks the system: not for every row

private:
    void requireColumns(const CsvRow &first) const;

    CsvReader m_reader;
    const ImportOptions &m_options;
    ErrorList *m_errors;
    std::size_t m_fieldCount = 0;
    qint64 m_rows = 0, m_lastLine = 0;
};
