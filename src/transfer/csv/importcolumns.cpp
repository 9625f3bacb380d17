#include "transfer/csv/importcolumns.h"

#include "core/command/storedcolumns.h"
#include "core/sql/rowblock.h"
#include "core/sql/statements.h"
#include "transfer/dump/insertwriter.h"

#include <algorithm>

namespace {

bool isDigits(const std::string &text)
{
    return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

} // namespace

ImportColumns::ImportColumns(Connection &connection, const ImportOptions &options)
    : m_table(quotedName(options.table).toStdString())
    , m_nullText(options.nullText.toStdString())
{
    const std::vector<StoredColumn> stored = storedColumns(connection, options.database, options.table);
    for (const ImportColumn &column : options.columns) {
        const auto found = std::ranges::find(stored, column.name, &StoredColumn::name);
        if (found == stored.end())
            throw Failure(
                QStringLiteral("テーブル「%1」に列「%2」がありません。").arg(options.table, column.name));
        Column target{quotedName(column.name).toStdString(), static_cast<std::size_t>(column.field)};
        if (found->type == u"bit")
            target.taking = Taking::Bits;
        else if (found->form == ValueForm::Bytes && !isOfText(*found))
            target.taking = Taking::Bytes;
        m_names += (m_names.empty() ? "" : ",") + target.name;
        m_columns.push_back(target);
    }
    if (m_columns.empty())
        throw Failure(QStringLiteral("取り込む列がありません。"));
}

bool ImportColumns::isAllText() const
{
    return std::ranges::all_of(m_columns, [](const Column &each) { return each.taking == Taking::Text; });
}

void ImportColumns::appendLiterals(std::string &to, const CsvRow &row) const
{
    for (std::size_t i = 0; i < m_columns.size(); ++i) {
        const Column &column = m_columns[i];
        const CsvField &field = row.fields[column.field];
        if (i > 0)
            to += ',';
        if (isNull(field))
            to += "NULL";
        else if (column.taking != Taking::Text && isHexLiteral(field.text))
            to += field.text;
        else if (column.taking == Taking::Bits && isDigits(field.text))
            to += field.text;
        else
            appendTextLiteral(to, field.text);
    }
}

std::string ImportColumns::insertHead() const
{
    return "INSERT INTO " + m_table + " (" + m_names + ") VALUES\n";
}

// INSERT IGNORE would let values that do not fit pass as well.
std::string ImportColumns::insertTail(Duplicates duplicates) const
{
    const std::string keyTaken = "\nON DUPLICATE KEY UPDATE ";
    if (duplicates == Duplicates::Stop)
        return {};
    if (duplicates == Duplicates::Skip)
        return keyTaken + m_columns[0].name + "=" + m_columns[0].name;
    std::string updates;
    for (const Column &column : m_columns)
        updates += (updates.empty() ? "" : ",") + column.name + "=VALUES(" + column.name + ")";
    return keyTaken + updates;
}
