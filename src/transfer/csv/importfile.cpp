#include "transfer/csv/importfile.h"

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
    , m_table(options.table)
    , m_errors(errors)
{
    if (CsvRow row; options.format.hasHeader && m_reader.next(row))
        m_fieldCount = row.fields.size();
}

bool ImportFile::next(CsvRow &row)
{
    while (m_reader.next(row)) {
        ++m_rows;
        m_lastLine = row.line;
        if (m_fieldCount == 0)
            m_fieldCount = row.fields.size();
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
    status.object = m_table;
    status.rows = m_rows;
    const qint64 read = m_reader.bytesRead();
    status.expectedRows = read > 0 ? m_rows * m_reader.byteCount() / read : 0;
    return status;
}
