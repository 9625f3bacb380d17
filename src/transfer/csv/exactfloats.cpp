#include "transfer/csv/exactfloats.h"

#include "core/command/script.h"
#include "core/sql/selectedtable.h"
#include "core/sql/statements.h"

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cmath>

namespace {

struct Column {
    QString name;
    bool isFloat = false, isInvisible = false;
};

// One of a fixed number of digits, as FLOAT(7,2), is worded with all of them.
std::vector<Column> columnsOf(Connection &connection, const SelectedTable &table)
{
    RecordSet rows = connection.execute(
        QStringLiteral(
            "SELECT COLUMN_NAME, COLUMN_TYPE LIKE 'float%' AND COLUMN_TYPE NOT LIKE '%(%', EXTRA FROM "
            "information_schema.COLUMNS WHERE TABLE_SCHEMA=%1 AND TABLE_NAME=%2 ORDER BY "
            "ORDINAL_POSITION")
            .arg(table.database.isEmpty() ? QStringLiteral("DATABASE()") : quotedText(table.database),
                 quotedText(table.name)));
    std::vector<Column> columns;
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        columns.push_back(
            {rows.text(0), rows.text(1) == u"1", rows.text(2).contains(u"INVISIBLE", Qt::CaseInsensitive)});
    return columns;
}

// The columns between SELECT and FROM, one after the other.
class ColumnList {
public:
    ColumnList(const QString &statement, SqlMode mode);
    qsizetype start() const { return m_start; }
    qsizetype end() const { return m_end; } // of the last one
    // As they are written; "*" or "t.*" at the end stands for more.
    const std::vector<QString> &items() const { return m_items; }

private:
    std::vector<QString> m_items;
    qsizetype m_start = 0, m_end = 0;
};

ColumnList::ColumnList(const QString &statement, SqlMode mode)
{
    bool isBehindSelect = false;
    QString item;
    for (const Token &token : sqlTokens(statement, mode)) {
        const QString word = statement.mid(token.start, token.length);
        if (word.startsWith(u"/*!") || word.startsWith(u"/*M!")) // may hold columns
            break;
        if (token.kind == TokenKind::Blank || token.kind == TokenKind::Comment)
            continue;
        if (!isBehindSelect) {
            isBehindSelect = true;
            m_start = m_end = token.start + token.length;
            continue;
        }
        const bool isFrom = token.kind == TokenKind::Word &&
                            word.compare(u"from", Qt::CaseInsensitive) == 0 && !item.endsWith(u'.');
        if (isFrom || word == u",") {
            m_items.push_back(std::exchange(item, {}));
            if (isFrom)
                return;
        } else {
            item += word;
            m_end = token.start + token.length;
        }
    }
    m_items.clear();
}

// The last part of "d.t.name".
bool isNamed(const QString &item, const QString &name)
{
    const QString end = item.mid(item.lastIndexOf(u'.') + 1);
    return end.compare(name, Qt::CaseInsensitive) == 0 ||
           item.endsWith(quotedName(name), Qt::CaseInsensitive);
}

} // namespace

ExactSelect exactSelect(Connection &connection, const QString &statement)
{
    ExactSelect plain{statement, {}, {}, {}};
    const SqlMode mode = sqlModeOf(connection);
    const SelectedTable table = selectedTable(statement.toUtf8(), mode);
    if (table.name.isEmpty())
        return plain;
    const std::vector<Column> columns = columnsOf(connection, table);
    if (std::ranges::none_of(columns, &Column::isFloat) &&
        std::ranges::none_of(columns, &Column::isInvisible))
        return plain;

    ExactSelect exact;
    QStringList list;
    const auto add = [&](const QString &text, const Column &column) {
        if (column.isFloat) {
            exact.floats.push_back(static_cast<int>(list.size()));
            exact.names.push_back(column.name);
        }
        list << text + (column.isFloat ? QStringLiteral("*1e0") : QString());
    };
    const ColumnList written(statement, mode);
    for (const QString &item : written.items()) {
        if (item.endsWith(u'*')) {
            for (const Column &column : columns)
                if (column.isInvisible)
                    plain.leftOut << column.name;
                else
                    add(item.chopped(1) + quotedName(column.name), column);
            continue;
        }
        const auto column =
            std::ranges::find_if(columns, [&](const Column &each) { return isNamed(item, each.name); });
        add(item, column != columns.end() ? *column : Column{});
    }
    if (exact.floats.empty())
        return plain;
    exact.leftOut = plain.leftOut;
    exact.statement = statement.first(written.start()) + u' ' + list.join(QStringLiteral(", ")) +
                      statement.sliced(written.end());
    return exact;
}

std::string shortFloat(std::string_view wordOfDouble)
{
    double exact = 0;
    const char *const end = wordOfDouble.data() + wordOfDouble.size();
    const auto [ptr, error] = std::from_chars(wordOfDouble.data(), end, exact);
    if (ptr != end || error != std::errc() || std::abs(exact) > FLT_MAX)
        return std::string(wordOfDouble);
    char word[32];
    const auto single = static_cast<float>(exact);
    const char *const wordEnd = std::to_chars(std::begin(word), std::end(word), single).ptr;
    // A server reads a DOUBLE, looks whether a FLOAT may be as large, and rounds it.
    double read = 0;
    std::from_chars(word, wordEnd, read);
    const bool isSame = static_cast<double>(single) == exact && std::abs(read) <= FLT_MAX &&
                        static_cast<float>(read) == single;
    return isSame ? std::string(static_cast<const char *>(word), wordEnd) : std::string(wordOfDouble);
}
