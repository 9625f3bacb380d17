#include "rows/rowsquery.h"

#include "core/sql/lexer.h"
#include "core/sql/statements.h"

#include <algorithm>

namespace {

bool comparesAsItStands(const TableColumn &column)
{
    switch (column.kind) {
    case ValueKind::Text:
        return !column.isSet; // it has the order of its choices, taken together
    case ValueKind::Number:
    case ValueKind::Time:
    case ValueKind::Bytes:
    case ValueKind::Bits:
        return true;
    case ValueKind::Approximate:
    case ValueKind::Json:
    case ValueKind::Opaque:
        break;
    }
    return false;
}

QString unquoted(QString name)
{
    if (!name.startsWith(u'`'))
        return name;
    return name.sliced(1, name.size() - 2).replace(QStringLiteral("``"), QStringLiteral("`"));
}

// b'...' is bytes to a comparison, and MySQL loses some of 64 bits on the way to a number.
QString compared(const TableColumn &column, const RowValue &value)
{
    return column.kind == ValueKind::Bits ? QString::number(bitsOf(*value)) : literal(column, value);
}

// The choices of an ENUM behind this one: they have the order of their definition, and the server finds them
// in an index only by their texts. The first of all is the empty text that stands for a value it once
// refused.
QString choicesBehind(const TableColumn &column, const RowValue &value, bool isDescending)
{
    QStringList choices = column.choices;
    if (!choices.contains(QString()))
        choices.prepend(QString());
    const qsizetype place = choices.indexOf(QString::fromUtf8(*value));
    QStringList behind;
    for (const QString &choice : isDescending ? choices.mid(0, place) : choices.mid(place + 1))
        behind << literal(column, choice.toUtf8());
    return behind.isEmpty() ? QStringLiteral("0=1")
                            : quotedName(column.name) + QStringLiteral(" in (%1)").arg(behind.join(u','));
}

// Behind the value of one column; NULL comes before everything else.
QString behind(const TableColumn &column, const RowValue &value, bool isDescending)
{
    const QString name = quotedName(column.name);
    if (!value)
        return name + (isDescending ? QStringLiteral(" is null and 0=1") : QStringLiteral(" is not null"));
    const QString condition = !column.choices.isEmpty()
                                  ? choicesBehind(column, value, isDescending)
                                  : name + (isDescending ? u'<' : u'>') + compared(column, value);
    return isDescending && column.isNullable
               ? u'(' + condition + QStringLiteral(" or ") + name + QStringLiteral(" is null)")
               : condition;
}

QString equal(const TableColumn &column, const RowValue &value)
{
    return quotedName(column.name) + (value ? u'=' + compared(column, value) : QStringLiteral(" is null"));
}

// "(a>1 or (a=1 and (b>2 or ...)))"
QString seekCondition(const TableShape &table, const std::vector<OrderColumn> &order,
                      const std::vector<RowValue> &row, bool isBackwards, std::size_t from = 0)
{
    const auto place = static_cast<std::size_t>(order[from].column);
    const TableColumn &column = table.columns[place];
    const QString first = behind(column, row[place], order[from].isDescending != isBackwards);
    if (from + 1 == order.size())
        return first;
    return u'(' + first + QStringLiteral(" or (") + equal(column, row[place]) + QStringLiteral(" and ") +
           seekCondition(table, order, row, isBackwards, from + 1) + QStringLiteral("))");
}

QString orderText(const TableShape &table, const std::vector<OrderColumn> &order, bool isBackwards)
{
    QStringList columns;
    for (const OrderColumn &part : order)
        columns << quotedName(table.columns[static_cast<std::size_t>(part.column)].name) +
                       (part.isDescending != isBackwards ? QStringLiteral(" desc") : QString());
    return columns.join(QStringLiteral(", "));
}

} // namespace

QString whyNoCondition(const QString &text)
{
    int depth = 0;
    for (const Token &token : sqlTokens(text)) {
        const QStringView word = QStringView(text).sliced(token.start, token.length);
        if (!token.isClosed)
            return QStringLiteral("引用符かコメントが閉じていません");
        if (token.kind == TokenKind::Sign && word == u";")
            return QStringLiteral("「;」は書けません");
        if (token.kind == TokenKind::Sign)
            depth += word == u"(" ? 1 : word == u")" ? -1 : 0;
        if (depth < 0)
            break;
    }
    return depth == 0 ? QString() : QStringLiteral("括弧が合っていません");
}

std::optional<std::vector<OrderColumn>> seekableOrder(const TableShape &table, const QString &order)
{
    if (table.key.empty())
        return {};
    std::vector<OrderColumn> columns;
    bool expectsColumn = !order.trimmed().isEmpty();
    for (const Token &token : sqlTokens(order)) {
        const QString word = order.mid(token.start, token.length);
        if (token.kind == TokenKind::Blank)
            continue;
        const bool isDirection = token.kind == TokenKind::Word && !expectsColumn &&
                                 (word.compare(u"asc", Qt::CaseInsensitive) == 0 ||
                                  word.compare(u"desc", Qt::CaseInsensitive) == 0);
        if (isDirection) {
            columns.back().isDescending = word.compare(u"desc", Qt::CaseInsensitive) == 0;
        } else if (expectsColumn && (token.kind == TokenKind::Word || token.kind == TokenKind::Name)) {
            const int column = table.indexOf(unquoted(word));
            if (column < 0)
                return {};
            columns.push_back({column});
            expectsColumn = false;
        } else if (!expectsColumn && word == u",") {
            expectsColumn = true;
        } else {
            return {};
        }
    }
    for (const int key : table.key)
        if (std::ranges::find(columns, key, &OrderColumn::column) == columns.end())
            columns.push_back({key});
    const bool areComparable = std::ranges::all_of(columns, [&table](const OrderColumn &part) {
        return comparesAsItStands(table.columns[static_cast<std::size_t>(part.column)]);
    });
    return areComparable && !expectsColumn ? std::optional(columns) : std::nullopt;
}

bool isPlain(const RowsQuery &query)
{
    return query.where.trimmed().isEmpty() && query.order.trimmed().isEmpty() &&
           query.place == RowsQuery::Place::First;
}

QString rowsStatement(const TableShape &table, const RowsQuery &query)
{
    using Place = RowsQuery::Place;
    const auto order = seekableOrder(table, query.order);
    const bool seeks = order && (query.place == Place::After || query.place == Place::Before);
    const bool isBackwards = seeks && query.place == Place::Before;
    QStringList conditions;
    // A comment of the user's ends with its line.
    if (!query.where.trimmed().isEmpty())
        conditions << u'(' + query.where.trimmed() +
                          (query.where.contains(u'-') || query.where.contains(u'#') ? QStringLiteral("\n)")
                                                                                    : QStringLiteral(")"));
    if (seeks)
        conditions << seekCondition(table, *order, query.row, isBackwards);
    QString statement = QStringLiteral("select * from ") + table.qualified();
    if (!conditions.isEmpty())
        statement += QStringLiteral(" where ") + conditions.join(QStringLiteral(" and "));
    if (order && (query.place != Place::First || !query.order.trimmed().isEmpty()))
        statement += QStringLiteral(" order by ") + orderText(table, *order, isBackwards);
    else if (!query.order.trimmed().isEmpty())
        statement += QStringLiteral(" order by ") + query.order.trimmed() + u'\n';
    statement += QStringLiteral(" limit %1").arg(query.limit);
    if (query.place == Place::Number)
        statement += QStringLiteral(" offset %1").arg(query.number);
    if (!isBackwards)
        return statement;
    return QStringLiteral("select * from (%1) as page order by %2")
        .arg(statement, orderText(table, *order, false));
}
