#include "structure/alter/optionclauses.h"

#include <array>

namespace {

// What an option is set to so that SHOW CREATE names it no more; empty: there is no way back, or the way
// depends on the server's settings.
QString clauseOfDefault(const TableOption &gone)
{
    static constexpr std::array<std::pair<QStringView, QStringView>, 22> defaults{{
        {u"COMMENT", u"''"},
        {u"ROW_FORMAT", u"DEFAULT"},
        {u"KEY_BLOCK_SIZE", u"0"},
        {u"STATS_PERSISTENT", u"DEFAULT"},
        {u"STATS_AUTO_RECALC", u"DEFAULT"},
        {u"STATS_SAMPLE_PAGES", u"DEFAULT"},
        {u"PACK_KEYS", u"DEFAULT"},
        {u"CHECKSUM", u"0"},
        {u"DELAY_KEY_WRITE", u"0"},
        {u"MAX_ROWS", u"0"},
        {u"MIN_ROWS", u"0"},
        {u"AVG_ROW_LENGTH", u"0"},
        {u"PAGE_CHECKSUM", u"0"},
        {u"COMPRESSION", u"'NONE'"},
        {u"ENCRYPTION", u"'N'"},
        {u"CONNECTION", u"''"},
        {u"UNION", u"()"},
        {u"INSERT_METHOD", u"NO"},
        {u"AUTOEXTEND_SIZE", u"0"},
        {u"ENGINE_ATTRIBUTE", u"''"},
        {u"SECONDARY_ENGINE", u"NULL"},
        {u"TABLESPACE", u"innodb_file_per_table"},
    }};
    static constexpr std::array staying{QStringView(u"ENGINE"),         QStringView(u"AUTO_INCREMENT"),
                                        QStringView(u"CHARSET"),        QStringView(u"COLLATE"),
                                        QStringView(u"DATA DIRECTORY"), QStringView(u"INDEX DIRECTORY"),
                                        QStringView(u"STORAGE"),        QStringView(u"START TRANSACTION")};
    if (std::ranges::find(staying, gone.name) != staying.end())
        return {};
    if (gone.name == u"SYSTEM VERSIONING")
        return QStringLiteral("DROP SYSTEM VERSIONING");
    for (const auto &[name, value] : defaults)
        if (gone.name == name)
            return name.toString() + QChar(gone.name == u"TABLESPACE" ? u' ' : u'=') + value.toString();
    // Of an engine of its own (MariaDB).
    return gone.text.left(gone.text.indexOf(u'=')) + QStringLiteral("=DEFAULT");
}

// The same option for ALTER TABLE.
QString clauseOf(const TableOption &option)
{
    return option.name == u"SYSTEM VERSIONING" ? QStringLiteral("ADD SYSTEM VERSIONING") : option.text;
}

bool isOfCharacterSet(const QString &name)
{
    return name == u"CHARSET" || name == u"COLLATE";
}

// "PARTITION BY RANGE (...)" and its partitions.
struct Partitions {
    QString method;
    QStringList parts;
};
Partitions partitionsOf(const QString &text, SqlMode mode)
{
    const SqlTokens words(text, mode);
    std::size_t list = 0;
    for (std::size_t at = 0; at < words.size(); at = words.behindGroup(at))
        if (words.is(at, u"(") && words.is(at + 1, u"PARTITION"))
            list = at;
    Partitions found{words.text(0, list > 0 ? list : words.size()), {}};
    for (std::size_t first = list + 1, at = first; list > 0 && at < words.size(); at = words.behindGroup(at))
        if (words.is(at, u",") || at + 1 == words.size()) {
            found.parts << words.text(first, at);
            first = at + 1;
        }
    return found;
}

// The partitions that are only new ones behind the others; empty: something else differs, too.
QStringList addedPartitions(const QString &from, const QString &to, SqlMode mode)
{
    const Partitions old = partitionsOf(from, mode), now = partitionsOf(to, mode);
    const SqlTokens method(now.method, mode);
    const bool isByValue = method.is(2, u"RANGE") || method.is(2, u"LIST");
    if (!isByValue || !meansSame(old.method, now.method, mode) || now.parts.size() <= old.parts.size())
        return {};
    for (qsizetype at = 0; at < old.parts.size(); ++at)
        if (!meansSame(old.parts[at], now.parts[at], mode))
            return {};
    return now.parts.sliced(old.parts.size());
}

} // namespace

bool changesCharacterSet(const TableDefinition &from, const TableDefinition &to)
{
    const auto differs = [&](const QString &name, bool isSaid) {
        return isSaid && from.option(name).compare(to.option(name), Qt::CaseInsensitive) != 0;
    };
    const QString charset = QStringLiteral("CHARSET"), collate = QStringLiteral("COLLATE");
    const bool hasCharset = !to.option(charset).isNull(), hasCollation = !to.option(collate).isNull();
    return differs(charset, hasCharset) || differs(collate, hasCharset || hasCollation);
}

QStringList optionClauses(const TableDefinition &from, const TableDefinition &to)
{
    QStringList clauses;
    for (const TableOption &gone : from.options)
        if (to.option(gone.name).isNull())
            if (const QString clause = clauseOfDefault(gone); !clause.isEmpty())
                clauses << clause;
    // The two together: the one alone takes the other's default.
    const bool hasOtherCharacterSet = changesCharacterSet(from, to);
    for (const TableOption &option : to.options) {
        const bool differs =
            isOfCharacterSet(option.name) ? hasOtherCharacterSet : from.option(option.name) != option.value;
        if (differs)
            clauses << clauseOf(option);
    }
    return clauses;
}

QString partitionClause(const QString &from, const QString &to, bool isAlone, SqlMode mode)
{
    if (meansSame(from, to, mode))
        return {};
    if (to.isEmpty())
        return QStringLiteral("REMOVE PARTITIONING");
    const QStringList added = isAlone ? addedPartitions(from, to, mode) : QStringList();
    return added.isEmpty() ? to : QStringLiteral("ADD PARTITION (%1)").arg(added.join(QStringLiteral(", ")));
}
