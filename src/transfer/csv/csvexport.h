#pragma once

#include "core/session/session.h"
#include "core/sql/recordset.h"
#include "transfer/progress.h"
#include "transfer/transferfile.h"

#include <QStringEncoder>

#include <optional>
#include <span>
#include <vector>

class PackedRows;

enum class ExportForm { Separated, Json, JsonLines, Markdown, Insert };
enum class TextEncoding { Utf8, Utf8WithMark, Cp932 };
enum class QuoteRule { WhereNeeded, Always };

// How rows are written into a file.
struct ExportOptions {
    QString path;
    ExportForm form = ExportForm::Separated;
    char separator = ',';
    QuoteRule quotes = QuoteRule::WhereNeeded;
    bool hasHeader = true;
    QString nullText; // of a separated file; a value of the same letters is quoted there
    bool hasCrLf = true;
    TextEncoding encoding = TextEncoding::Utf8WithMark;
    QString table;                // of INSERT statements
    bool replacesUnknown = false; // characters without a form in the encoding become "?"
};

// A file that spreadsheets in Japanese open as it is by a double click: with a mark they take it for UTF-8,
// so that no character is lost.
ExportOptions excelPreset();

// Writes rows in the chosen form, as they come.
class RowExport {
public:
    RowExport(const ExportOptions &options, const std::vector<Field> &fields);

    void addRow(std::span<const Cell> cells); // throws Failure
    // Throws Failure, and leaves no file, when there were characters without a form that were not to be
    // replaced: it lists them by row and column.
    void finish();
    qint64 rows() const { return m_rows; }
    // What had no form: how much, and the first of it by row and column, a line each.
    qint64 unknownCount() const { return m_unknown; }
    QString unknownCharacters() const;

private:
    void addSeparated(std::span<const Cell> cells);
    void addObject(std::span<const Cell> cells);
    void addInsert(std::span<const Cell> cells);
    void addMarkdown(std::span<const Cell> cells);
    std::string separatedText(std::string_view text) const;
    void writeHeader();
    void put(std::string_view utf8);
    void store(); // the line, in the encoding
    std::string encoded();

    const ExportOptions m_options;
    const std::vector<Field> m_fields;
    const std::string m_nullText, m_lineEnd;
    TransferFile m_file;
    std::optional<QStringEncoder> m_encoder; // of CP932
    std::vector<std::string> m_names;        // of the fields, in the form of the file
    std::string m_line;
    std::vector<std::size_t> m_ends; // of the columns in the line, for what has no form
    qint64 m_rows = 0;
    qint64 m_unknown = 0;
    QStringList m_firstUnknown;
};

// All of the rows, over the session's connection as they arrive or as they are shown. Give what is to be
// told; throw Failure, and leave no file then.
TransferReport exportStatement(Session &session, const QString &statement, const ExportOptions &options,
                               const ReportProgress &report);
TransferReport exportRows(const PackedRows &rows, const std::vector<Field> &fields,
                          const ExportOptions &options, const ReportProgress &report);
