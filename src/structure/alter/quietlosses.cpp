#include "structure/alter/quietlosses.h"

#include "core/sql/listitem.h"

#include <algorithm>

namespace {

enum class Family { Whole, Decimal, Single, Double, Temporal, Text, Bytes, Other };

struct Type {
    QString written; // "decimal(8,3)"
    Family family = Family::Other;
    int precision = 0, scale = 0;          // of numbers; a scale of -1: as many digits as there are
    bool hasDate = false, hasTime = false; // of what is temporal, with its digits behind the second as scale
    bool isFilled = false;                 // with zero bytes, up to its length
};

bool isOneOf(const QString &word, std::initializer_list<const char *> words)
{
    return std::ranges::any_of(words, [&](const char *each) { return word == QLatin1String(each); });
}

// The type that a column's text begins with at the place.
Type typeAt(const SqlTokens &words, std::size_t at)
{
    const QString word = words.at(at).toLower();
    const std::size_t end = words.is(at + 1, u"(") ? words.behindGroup(at + 1) : at + 1;
    Type type;
    type.written = words.text(at, end);
    const bool hasLength = end > at + 1, hasScale = hasLength && words.is(at + 3, u",");
    const int length = hasLength ? words.at(at + 2).toInt() : 0;
    type.scale = hasScale ? words.at(at + 4).toInt() : 0;
    type.precision = length;
    if (isOneOf(word, {"tinyint", "smallint", "mediumint", "int", "integer", "bigint", "year", "bool"})) {
        type.family = Family::Whole;
        type.precision = word == u"bigint" ? 20 : isOneOf(word, {"tinyint", "smallint"}) ? 5 : 10;
        type.scale = 0;
    } else if (isOneOf(word, {"decimal", "numeric", "dec", "fixed"})) {
        type.family = Family::Decimal;
        type.precision = hasLength ? length : 10;
    } else if (isOneOf(word, {"float", "double", "real"})) {
        type.family = word == u"float" ? Family::Single : Family::Double;
        type.scale = hasScale ? type.scale : -1;
    } else if (isOneOf(word, {"date", "datetime", "timestamp", "time"})) {
        type.family = Family::Temporal;
        type.hasDate = word != u"time";
        type.hasTime = word != u"date";
        type.scale = length;
    } else if (isOneOf(word, {"char", "varchar", "tinytext", "text", "mediumtext", "longtext"})) {
        type.family = Family::Text;
    } else if (isOneOf(word, {"binary", "varbinary"})) {
        type.family = Family::Bytes;
        type.isFilled = word == u"binary";
        type.precision = hasLength ? length : 1;
    }
    return type;
}

bool isNumber(const Type &type)
{
    return type.family <= Family::Double;
}

bool hasFewerDigits(const Type &from, const Type &to)
{
    constexpr int digitsOfSingle = 6, digitsOfDouble = 15;
    if (to.scale >= 0 && (from.scale < 0 || from.scale > to.scale))
        return true;
    if (to.family == Family::Single)
        return from.family == Family::Double ||
               (from.family != Family::Single && from.precision > digitsOfSingle);
    return to.family == Family::Double && from.family < Family::Single && from.precision > digitsOfDouble;
}

bool losesQuietly(const Type &from, const Type &to)
{
    if (isNumber(from) && isNumber(to))
        return hasFewerDigits(from, to);
    if (from.family == Family::Temporal && to.family == Family::Temporal)
        return (from.hasDate && !to.hasDate) || (from.hasTime && !to.hasTime) || from.scale > to.scale;
    if (from.family == Family::Temporal && isNumber(to))
        return hasFewerDigits(from, to);
    if (from.family == Family::Text && (isNumber(to) || to.family == Family::Temporal))
        return true;
    return to.isFilled && !(from.isFilled && from.precision == to.precision);
}

} // namespace

QStringList quietLosses(const QString &statement, const TableDefinition &from, SqlMode mode)
{
    const SqlTokens words(statement, mode);
    const std::vector<TablePart> columns = from.partsOf(TablePart::Kind::Column);
    QStringList losses;
    for (std::size_t at = 0; at < words.size(); ++at) {
        if (!words.is(at, u"MODIFY") && !words.is(at, u"CHANGE"))
            continue;
        std::size_t name = at + (words.is(at + 1, u"COLUMN") ? 2 : 1);
        name += words.is(name, u"IF") ? 2 : 0;
        const auto column = std::ranges::find_if(columns, [&](const TablePart &each) {
            return each.name.compare(words.name(name), Qt::CaseInsensitive) == 0;
        });
        if (column == columns.end())
            continue;
        const Type was = typeAt(SqlTokens(column->body, mode), 0);
        const Type is = typeAt(words, name + (words.is(at, u"CHANGE") ? 2 : 1));
        if (losesQuietly(was, is))
            losses << QStringLiteral("%1: %2 → %3").arg(visibleName(column->name), was.written, is.written);
    }
    return losses;
}
