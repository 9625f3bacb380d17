#include "transfer/csv/csvexport.h"

#include "controls/grid/gridcopy.h"
#include "controls/grid/packedrows.h"
#include "core/sql/failure.h"
#include "core/sql/statements.h"
#include "transfer/csv/exactfloats.h"

#include <algorithm>

namespace {

constexpr int mostListed = 100;

bool isAscii(std::string_view text)
{
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::string quoted(std::string_view text)
{
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"')
            result += '"';
        result += c;
    }
    return result + '"';
}

} // namespace

ExportOptions excelPreset()
{
    ExportOptions options;
    options.encoding = TextEncoding::Utf8WithMark;
    options.hasCrLf = true;
    return options;
}

RowExport::RowExport(const ExportOptions &options, const std::vector<Field> &fields)
    : m_options(options)
    , m_fields(options.form == ExportForm::Json || options.form == ExportForm::JsonLines
                   ? withDistinctNames(fields)
                   : fields)
    , m_nullText(options.nullText.toStdString())
    , m_lineEnd(options.hasCrLf ? "\r\n" : "\n")
    , m_file(options.path)
{
    m_encoder.emplace("windows-31j");
    if (options.encoding == TextEncoding::Cp932 && !m_encoder->isValid())
        throw Failure(QStringLiteral("CP932 はこの環境では使えません。"));
    for (const Field &field : m_fields) {
        const std::string name = field.name.toStdString();
        if (options.form == ExportForm::Separated)
            m_names.push_back(separatedText(name));
        else if (options.form == ExportForm::Insert)
            m_names.push_back(quotedName(field.name).toStdString());
        else
            m_names.push_back(
                copiedValue(options.form == ExportForm::Markdown ? CopyFormat::Markdown : CopyFormat::Json,
                            Cell{name, false}, FieldKind::Text));
    }
    if (options.encoding == TextEncoding::Utf8WithMark)
        m_file.write("\xEF\xBB\xBF");
    writeHeader();
}

void RowExport::writeHeader()
{
    if (m_options.form == ExportForm::Json)
        m_line = "[";
    const bool isMarkdown = m_options.form == ExportForm::Markdown;
    if (isMarkdown || (m_options.form == ExportForm::Separated && m_options.hasHeader)) {
        std::string rule = "|";
        for (std::size_t i = 0; i < m_names.size(); ++i) {
            m_line +=
                isMarkdown ? (i > 0 ? " | " : "| ") : (i > 0 ? std::string(1, m_options.separator) : "");
            m_line += m_names[i];
            m_ends.push_back(m_line.size());
            rule += " --- |";
        }
        if (isMarkdown)
            m_line += " |" + m_lineEnd + rule;
        m_line += m_lineEnd;
    }
    store();
}

void RowExport::addRow(std::span<const Cell> cells)
{
    ++m_rows;
    switch (m_options.form) {
    case ExportForm::Separated:
        addSeparated(cells);
        break;
    case ExportForm::Json:
    case ExportForm::JsonLines:
        addObject(cells);
        break;
    case ExportForm::Markdown:
        addMarkdown(cells);
        break;
    case ExportForm::Insert:
        addInsert(cells);
        break;
    }
    store();
}

std::string RowExport::separatedText(std::string_view text) const
{
    const char special[] = {m_options.separator, '"', '\r', '\n'};
    // Blanks at the ends are cut by some readers; an empty text in quotes differs from a NULL.
    const bool needsQuotes = m_options.quotes == QuoteRule::Always || text == m_nullText || text.empty() ||
                             text.find_first_of(std::string_view(special, sizeof special)) != text.npos ||
                             text.front() == ' ' || text.back() == ' ';
    return needsQuotes ? quoted(text) : std::string(text);
}

void RowExport::addSeparated(std::span<const Cell> cells)
{
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (i > 0)
            m_line += m_options.separator;
        m_line += cells[i].isNull ? m_nullText : separatedText(cells[i].bytes);
        m_ends.push_back(m_line.size());
    }
    m_line += m_lineEnd;
}

void RowExport::addObject(std::span<const Cell> cells)
{
    const bool isLines = m_options.form == ExportForm::JsonLines;
    if (!isLines)
        m_line = (m_rows > 1 ? "," : "") + m_lineEnd;
    for (std::size_t i = 0; i < cells.size(); ++i) {
        m_line += i > 0 ? ", " : "{";
        m_line += m_names[i] + ": " + copiedValue(CopyFormat::Json, cells[i], m_fields[i].kind);
        m_ends.push_back(m_line.size());
    }
    m_line += isLines ? "}" + m_lineEnd : "}";
}

void RowExport::addMarkdown(std::span<const Cell> cells)
{
    for (std::size_t i = 0; i < cells.size(); ++i) {
        m_line += i > 0 ? " | " : "| ";
        m_line += copiedValue(CopyFormat::Markdown, cells[i], m_fields[i].kind);
        m_ends.push_back(m_line.size());
    }
    m_line += " |" + m_lineEnd;
}

void RowExport::addInsert(std::span<const Cell> cells)
{
    m_line = "INSERT INTO " + quotedName(m_options.table).toStdString() + " (";
    for (std::size_t i = 0; i < m_names.size(); ++i)
        m_line += (i > 0 ? ", " : "") + m_names[i];
    m_line += ") VALUES (";
    for (std::size_t i = 0; i < cells.size(); ++i) {
        m_line += i > 0 ? ", " : "";
        m_line += copiedValue(CopyFormat::Insert, cells[i], m_fields[i].kind);
        m_ends.push_back(m_line.size());
    }
    m_line += ");" + m_lineEnd;
}

void RowExport::store()
{
    if (m_options.encoding == TextEncoding::Cp932 && !isAscii(m_line))
        m_file.write(encoded());
    else
        m_file.write(m_line);
    m_line.clear();
    m_ends.clear();
}

// The whole line at once, and letter by letter only where something has no form.
std::string RowExport::encoded()
{
    const QString line = QString::fromStdString(m_line);
    const QByteArray whole = (*m_encoder)(line);
    if (!m_encoder->hasError())
        return whole.toStdString();
    // A new one each time: Qt 6.4's encoder keeps its error, also over resetState(), and one that is assigned
    // notes its errors where the other one was.
    const auto hasForm = [this](const QString &letters) {
        m_encoder.emplace("windows-31j");
        const QByteArray bytes = (*m_encoder)(letters);
        return std::pair(!m_encoder->hasError(), bytes);
    };
    std::string result;
    std::size_t place = 0;
    for (const char32_t letter : line.toStdU32String()) {
        const QString one = QString::fromUcs4(&letter, 1);
        const auto [isKnown, bytes] = hasForm(one);
        result += isKnown ? bytes.toStdString() : "?";
        place += static_cast<std::size_t>(one.toUtf8().size());
        if (isKnown || m_unknown++ >= mostListed)
            continue;
        const auto column =
            static_cast<std::size_t>(std::ranges::lower_bound(m_ends, place) - m_ends.begin());
        m_firstUnknown
            << QStringLiteral("%1「%2」: %3 (U+%4)")
                   .arg(m_rows == 0 ? QStringLiteral("見出し") : QStringLiteral("%1 行目").arg(m_rows),
                        column < m_fields.size() ? m_fields[column].name : QString(), one,
                        QString::number(static_cast<uint>(letter), 16).toUpper().rightJustified(4, u'0'));
    }
    m_encoder.emplace("windows-31j");
    return result;
}

void RowExport::finish()
{
    if (m_options.form == ExportForm::Json)
        m_line = m_lineEnd + "]" + m_lineEnd;
    store();
    if (m_unknown > 0 && !m_options.replacesUnknown)
        throw Failure(
            QStringLiteral("CP932 で表せない文字が %1 個あるため、書き出していません。「文字コード」で "
                           "UTF-8 を選ぶか、「CP932 で表せない文字は「?」にする」を選んで、もう一度"
                           "開始してください。\n")
                .arg(m_unknown) +
            unknownCharacters());
    m_file.finish();
}

QString RowExport::unknownCharacters() const
{
    return m_firstUnknown.join(u'\n') + (m_unknown > mostListed ? QStringLiteral("\n…") : QString());
}

namespace {

TransferReport reportOf(const RowExport &file, const QString &path, const QStringList &leftOut = {})
{
    QString notes;
    if (file.unknownCount() > 0)
        notes = QStringLiteral("\nCP932 で表せない文字を「?」にしました: %1 個\n").arg(file.unknownCount()) +
                file.unknownCharacters();
    if (!leftOut.isEmpty())
        notes += QStringLiteral("\nINVISIBLE の列は「*」に含まれないので、書き出していません: ") +
                 leftOut.join(QStringLiteral(", "));
    return {QStringLiteral("「%1」に %2 行を書き出しました。").arg(path).arg(file.rows()) + notes,
            !notes.isEmpty()};
}

void copyRows(RecordSet &rows, const std::vector<int> &floats, RowExport &file, const ReportProgress &report)
{
    std::vector<std::string> words(floats.size());
    try {
        for (std::vector<Cell> cells; !rows.isEof(); rows.moveNextBlock()) {
            const RowBlock &block = rows.block();
            for (int row = 0; row < block.rowCount(); ++row) {
                block.read(row, cells);
                for (std::size_t i = 0; i < floats.size(); ++i) {
                    Cell &cell = cells[static_cast<std::size_t>(floats[i])];
                    words[i] = shortFloat(cell.bytes);
                    cell.bytes = words[i];
                }
                file.addRow(cells);
            }
            report({.object = {}, .rows = file.rows()});
        }
    } catch (const Failure &error) {
        throw Failure(QStringLiteral("%1 行目まで書いた後で終わりました。ファイルは残していません。\n%2")
                          .arg(file.rows())
                          .arg(error.description()),
                      error.number(), error.state());
    }
}

} // namespace

TransferReport exportRows(const PackedRows &rows, const std::vector<Field> &fields,
                          const ExportOptions &options, const ReportProgress &report)
{
    constexpr qint64 rowsBetweenReports = 256;
    RowExport file(options, fields);
    std::vector<Cell> cells;
    for (int row = 0; row < rows.rowCount(); ++row) {
        rows.read(row, cells);
        file.addRow(cells);
        if (row % rowsBetweenReports == 0)
            report({.object = {}, .rows = row, .expectedRows = rows.rowCount()});
    }
    file.finish();
    return reportOf(file, options.path);
}

TransferReport exportStatement(Session &session, const QString &statement, const ExportOptions &options,
                               const ReportProgress &report)
{
    const ExactSelect exact = exactSelect(session.connection(), statement);
    RecordSet rows = session.connection().execute(exact.statement);
    if (!rows.isOpen())
        throw Failure(QStringLiteral("この文は行を返しません。"));
    rows.readWithoutLimit();
    std::vector<Field> fields = rows.fields();
    for (std::size_t i = 0; i < exact.floats.size(); ++i)
        fields.at(static_cast<std::size_t>(exact.floats[i])).name = exact.names[i];
    RowExport file(options, fields);
    copyRows(rows, exact.floats, file, report);
    file.finish();
    return reportOf(file, options.path, exact.leftOut);
}
