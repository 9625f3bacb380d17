#include "structure/compare/tablelikeness.h"

#include "structure/alter/columnclauses.h"
#include "structure/compare/commonform.h"

#include <QRegularExpression>

#include <algorithm>
#include <optional>

namespace {

bool isOfCharacterSet(const TableOption &option)
{
    return option.name == u"CHARSET" || option.name == u"COLLATE";
}

// A name that the server gave.
bool isServersName(const TablePart &check, const ServersTable &side)
{
    static const QRegularExpression ofMariaDb(QStringLiteral("^CONSTRAINT_\\d+$"));
    const QString mark = side.table.name + QStringLiteral("_chk_");
    bool isNumber = false;
    if (check.name.startsWith(mark, Qt::CaseInsensitive))
        check.name.mid(mark.size()).toUInt(&isNumber);
    return side.server.isMariaDb ? ofMariaDb.match(check.name).hasMatch() : isNumber;
}

// A column's own CHECK, as MariaDB writes it, and the column without it.
struct ColumnCheck {
    QString text, rest;
};
std::optional<ColumnCheck> columnCheck(const TablePart &column)
{
    const SqlTokens words(column.body, {});
    const std::size_t at = checkIn(words), end = words.behindGroup(at + 1);
    if (at == words.size() || isJsonOfMariaDb(column))
        return {};
    return ColumnCheck{words.text(at, end), words.text(0, at) + u' ' + words.text(end, words.size())};
}

// Two sides, one of which is to be worded as the other is.
class Likeness {
public:
    Likeness(const ServersTable &is, const ServersTable &wanted, const CompareOptions &options)
        : m_is(is)
        , m_wanted(wanted)
        , m_options(options)
    {
    }

    // Gives those for which there are none.
    std::vector<TablePart *> takeWords(std::vector<TablePart> &parts);
    void makeTaken(std::vector<TablePart> &parts, const std::vector<TablePart *> &others) const;

private:
    using Kind = TablePart::Kind;

    QString form(const TablePart &part, const ServersTable &side) const
    {
        return commonForm(part, side, m_options.hasCharacterSets);
    }
    bool areAlike(const TablePart &own, const TablePart &part) const
    {
        const bool areServersNames =
            part.kind == Kind::Check && isServersName(own, m_is) && isServersName(part, m_wanted);
        return own.kind == part.kind && (own.name == part.name || areServersNames) && own.head == part.head &&
               isSameColumn(form(own, m_is), form(part, m_wanted), {});
    }
    void moveChecks(std::vector<TablePart> &parts) const;
    QString freeName(const std::vector<TablePart> &parts) const;
    QString inTargetsWords(const TablePart &column) const;

    const ServersTable &m_is, &m_wanted;
    const CompareOptions &m_options;
};

std::vector<TablePart *> Likeness::takeWords(std::vector<TablePart> &parts)
{
    moveChecks(parts);
    std::vector<const TablePart *> left;
    for (const TablePart &own : m_is.table.parts)
        left.push_back(&own);
    std::vector<TablePart *> without;
    for (const bool isOfName : {true, false})
        for (TablePart &part : parts) {
            if (isOfName)
                without.push_back(&part);
            const auto own = std::ranges::find_if(left, [&](const TablePart *each) {
                return (!isOfName || each->name == part.name) && areAlike(*each, part);
            });
            if (own == left.end() || std::ranges::find(without, &part) == without.end())
                continue;
            part.name = (*own)->name;
            part.body = (*own)->body;
            left.erase(own);
            std::erase(without, &part);
        }
    return without;
}

// What MariaDB writes beside a column stands in MySQL among the others, under a name that the server gave.
void Likeness::moveChecks(std::vector<TablePart> &parts) const
{
    const auto find = [this](auto &in, const ServersTable &side, const QString &check) {
        return std::ranges::find_if(in, [&](const TablePart &each) {
            return each.kind == Kind::Check && isServersName(each, side) && form(each, side) == check;
        });
    };
    for (std::size_t i = 0; i < parts.size(); ++i) {
        const auto own = std::ranges::find_if(m_is.table.parts, [&](const TablePart &each) {
            return each.kind == Kind::Column && each.name == parts[i].name;
        });
        if (parts[i].kind != Kind::Column || own == m_is.table.parts.end())
            continue;
        const std::optional<ColumnCheck> mine = columnCheck(*own), other = columnCheck(parts[i]);
        if (mine.has_value() == other.has_value())
            continue;
        const QString check =
            form({Kind::Check, {}, {}, mine ? mine->text : other->text}, mine ? m_is : m_wanted);
        const auto amongOwn = find(m_is.table.parts, m_is, check);
        const auto amongWanted = find(parts, m_wanted, check);
        if (other && amongOwn != m_is.table.parts.end() && amongWanted == parts.end()) {
            parts[i].body = other->rest;
            parts.push_back(*amongOwn);
        } else if (mine && amongOwn == m_is.table.parts.end() && amongWanted != parts.end()) {
            parts[i].body += u' ' + mine->text;
            i -= amongWanted < parts.begin() + static_cast<std::ptrdiff_t>(i);
            parts.erase(amongWanted);
        }
    }
}

void Likeness::makeTaken(std::vector<TablePart> &parts, const std::vector<TablePart *> &others) const
{
    QStringList checks;
    for (TablePart *part : others) {
        const std::optional<ColumnCheck> check = columnCheck(*part);
        // MySQL would choose the name, which may be that of another one here.
        if (check && part->kind == Kind::Column && !m_is.server.isMariaDb) {
            checks << check->text;
            part->body = check->rest;
        }
        if (part->kind == Kind::Column)
            part->body = inTargetsWords(*part);
        else if (part->kind == Kind::Check && isServersName(*part, m_wanted))
            part->name = freeName(parts);
    }
    for (const QString &check : std::as_const(checks))
        parts.push_back({Kind::Check, freeName(parts), {}, check});
}

// In the target's manner: one of another brand may be in use, in MySQL by another table.
QString Likeness::freeName(const std::vector<TablePart> &parts) const
{
    const QString mark =
        m_is.server.isMariaDb ? QStringLiteral("CONSTRAINT_") : m_is.table.name + QStringLiteral("_chk_");
    for (int number = 1;; ++number) {
        const QString name = mark + QString::number(number);
        const auto isTaken = [&name](const TablePart &each) {
            return each.name.compare(name, Qt::CaseInsensitive) == 0;
        };
        if (std::ranges::none_of(m_is.table.parts, isTaken) && std::ranges::none_of(parts, isTaken))
            return name;
    }
}

// What MySQL would refuse of MariaDB's words, or take for something else.
QString Likeness::inTargetsWords(const TablePart &column) const
{
    if (m_is.server.isMariaDb || !m_wanted.server.isMariaDb)
        return column.body;
    QString body = column.body;
    constexpr int firstWithJson = 50708;
    if (isJsonOfMariaDb(column) && m_is.server.number >= firstWithJson) {
        const SqlTokens words(body, {});
        const std::size_t check = checkIn(words), behindCollation = 6;
        body = QStringLiteral("json ") + words.text(behindCollation, check) + u' ' +
               words.text(words.behindGroup(check + 1), words.size());
    }
    const SqlTokens words(body, {});
    std::size_t at = 0;
    while (at < words.size() && !words.is(at, u"DEFAULT"))
        at = words.behindGroup(at);
    const QString type = words.at(0).toLower();
    const bool isLarge = type.endsWith(u"text") || type.endsWith(u"blob") || type == u"json";
    const bool isText = words.at(at + 1).startsWith(u'\'');
    if (words.is(at + 1, u"(") || !(isExpressionAsDefault(words, at + 1) || (isLarge && isText)))
        return body;
    const std::size_t end = isText ? at + 2 : words.behindGroup(at + 2);
    return words.text(0, at + 1) + QStringLiteral(" (") + words.text(at + 1, end) + QStringLiteral(") ") +
           words.text(end, words.size());
}

TableDefinition likeness(const ServersTable &is, const ServersTable &wanted, const CompareOptions &options,
                         bool isToBeTaken)
{
    TableDefinition like = wanted.table;
    like.name = is.table.name;
    const bool isCharacterSetAlike = collationOf(is) == collationOf(wanted);
    const auto counts = [&](const TableOption &option) {
        return option.name != u"AUTO_INCREMENT" &&
               (isOfCharacterSet(option) ? options.hasCharacterSets && !isCharacterSetAlike
                                         : options.hasTableOptions);
    };
    std::erase_if(like.options, [&](const TableOption &each) { return !counts(each); });
    std::ranges::copy_if(is.table.options, std::back_inserter(like.options),
                         [&](const TableOption &each) { return !counts(each); });
    const QString collate = QStringLiteral("COLLATE"), collation = collationOf(wanted);
    if (options.hasCharacterSets && !isCharacterSetAlike && wanted.table.option(collate).isNull() &&
        !collation.isEmpty())
        like.options.push_back({collate, collation, collate + u'=' + collation}); // not that server's default
    Likeness words(is, wanted, options);
    const std::vector<TablePart *> others = words.takeWords(like.parts);
    if (isToBeTaken)
        words.makeTaken(like.parts, others);
    if (meansSame(commonPartitions(is.table.partitions), commonPartitions(wanted.table.partitions), {}))
        like.partitions = is.table.partitions;
    return like;
}

} // namespace

TableDefinition likeness(const ServersTable &is, const ServersTable &wanted, const CompareOptions &options)
{
    return likeness(is, wanted, options, false);
}

TableDefinition takenLikeness(const ServersTable &is, const ServersTable &wanted,
                              const CompareOptions &options)
{
    return likeness(is, wanted, options, true);
}
