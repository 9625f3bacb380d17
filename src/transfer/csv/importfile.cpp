#include "transfer/csv/importfile.h"

#include <algorithm>

ErrorList::ErrorList(const QString &pathOfRows)
    : m_path(pathOfRows + QStringLiteral(".errors.csv"))
{
}

void ErrorList::add(const CsvRow &row, const QString &why)
{
    ++m_count;
    write(row, why);
}

void ErrorList::addChanged(const CsvRow &row, const QString &how)
{
    write(row, QStringLiteral("入りましたが、値が変わりました: ") + how);
}

void ErrorList::write(const CsvRow &row, const QString &words)
{
    if (!m_file) {
        m_file = std::make_unique<TransferFile>(m_path);
        m_file->write("\xEF\xBB\xBF");
    }
    const auto quoted = [](QString text) {
        return (u'"' + text.replace(u'"', QStringLiteral("\"\"")) + u'"').toStdString();
    };
    std::string line = std::to_string(row.line) + "," + quoted(words);
    for (const CsvField &field : row.fields)
        line += "," + quoted(QString::fromStdString(field.text));
    m_file->write(line + "\r\n");
}

void ErrorList::finish()
{
    if (m_file)
        m_file->finish();
}

ImportFile::ImportFile(const ImportOptions &options, ErrorList *errors)
    : m_reader(options.path, options.format)
    , m_options(options)
    , m_errors(errors)
{
    if (CsvRow row; options.format.hasHeader && m_reader.next(row)) {
        requireColumns(row);
        m_fieldCount = row.fields.size();
    }
}

// Another program may have written the file since its columns were chosen: what stands in their places now
// would go into the wrong ones.
void ImportFile::requireColumns(const CsvRow &first) const
{
    const auto isBeyond = [&](const ImportColumn &column) {
        return static_cast<std::size_t>(column.field) >= first.fields.size();
    };
    bool isSame = std::ranges::none_of(m_options.columns, isBeyond);
    if (!m_options.fileColumns.isEmpty()) {
        QStringList names;
        for (const CsvField &field : first.fields)
            names << QString::fromStdString(field.text);
        isSame &= m_options.format.hasHeader ? names == m_options.fileColumns
                                             : names.size() == m_options.fileColumns.size();
    }
    if (!isSame)
        throw Failure(QStringLiteral("ファイルの列が、表示したときと変わっています。選び直してください。"));
}

bool ImportFile::next(CsvRow &row)
{
    while (m_reader.next(row)) {
        ++m_rows;
        m_lastLine = row.line;
        if (m_fieldCount == 0) {
            requireColumns(row);
            m_fieldCount = row.fields.size();
        }
        if (row.fields.size() == m_fieldCount)
            return true;
        if (m_errors)
            m_errors->add(row, QStringLiteral("値の数が違います (%1 個、見出しは %2 個)。")
                                   .arg(row.fields.size())
                                   .arg(m_fieldCount));
    }
    return false;
}

TransferStatus ImportFile::status() const
{
    TransferStatus status;
    status.object = m_options.table;
    status.rows = m_rows;
    const qint64 read = m_reader.bytesRead();
    status.expectedRows = read > 0 ? m_rows * m_reader.byteCount() / read : 0;
    return status;
}
