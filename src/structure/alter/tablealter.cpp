#include "structure/alter/tablealter.h"

#include "core/sql/statements.h"
#include "structure/alter/columnclauses.h"
#include "structure/alter/optionclauses.h"

#include <algorithm>

namespace {

using Kind = TablePart::Kind;

// Keys of expressions: the servers do not rename columns in them.
bool hasExpression(const QString &body, SqlMode mode)
{
    const SqlTokens words(body, mode);
    for (std::size_t at = 1; at < words.size(); ++at)
        if (words.is(at, u"(") && (words.is(at - 1, u"(") || words.is(at - 1, u",")))
            return true;
    return false;
}

bool names(const QString &body, const QStringList &columns, SqlMode mode)
{
    const SqlTokens words(body, mode);
    for (std::size_t at = 0; at < words.size(); ++at)
        if (columns.contains(words.name(at), Qt::CaseInsensitive))
            return true;
    return false;
}

// "VISIBLE", "NOT IGNORED", "NOT ENFORCED", ...: what a key or check can be told without being made again.
struct Switched {
    QString body, state; // empty: not said
};
Switched switched(const QString &body, SqlMode mode)
{
    const SqlTokens words(body, mode);
    std::size_t end = words.size();
    const bool isState = end > 0 && (words.is(end - 1, u"VISIBLE") || words.is(end - 1, u"INVISIBLE") ||
                                     words.is(end - 1, u"IGNORED") || words.is(end - 1, u"ENFORCED"));
    if (!isState)
        return {body, {}};
    end -= end > 1 && words.is(end - 2, u"NOT") ? 2 : 1;
    return {words.text(0, end), words.text(end, words.size()).toUpper()};
}

QString oppositeOf(const QString &state)
{
    if (state == u"INVISIBLE")
        return QStringLiteral("VISIBLE");
    return state.startsWith(u"NOT ") ? state.mid(4) : QStringLiteral("NOT ") + state;
}

class Alter {
public:
    Alter(const TableDefinition &from, const TableDefinition &to, const Renames &renames,
          const AlteredTable &table)
        : m_from(from)
        , m_to(to)
        , m_renames(renames)
        , m_table(table)
        , m_mode(table.mode)
    {
    }

    QStringList statements()
    {
        const bool takesCharacterSet = changesCharacterSet(m_from, m_to);
        const ColumnClauses columns = columnClauses(m_from.partsOf(Kind::Column), m_to.partsOf(Kind::Column),
                                                    m_renames, takesCharacterSet, m_mode);
        m_madeAgain = columns.madeAgain;
        for (const Kind kind : {Kind::ForeignKey, Kind::Check, Kind::PrimaryKey, Kind::Key, Kind::Period})
            compare(kind);
        QStringList clauses = m_drops + columns.drops;
        clauses += columns.others + m_adds + optionClauses(m_from, m_to);
        if (m_to.name != m_from.name)
            clauses << QStringLiteral("RENAME TO ") + quotedName(m_table.database, m_to.name);
        QStringList all;
        if (!m_first.isEmpty())
            all << statement(m_first);
        const QString partitions =
            partitionClause(m_from.partitions, m_to.partitions, clauses.isEmpty(), m_mode);
        if (!clauses.isEmpty() || !partitions.isEmpty())
            all << statement(clauses) +
                       (partitions.isEmpty() ? QString() : QStringLiteral("\n  ") + partitions);
        return all;
    }

private:
    QString statement(const QStringList &clauses) const
    {
        const QString head = QStringLiteral("ALTER TABLE ") + quotedName(m_table.database, m_table.name);
        return clauses.isEmpty() ? head
                                 : head + QStringLiteral("\n  ") + clauses.join(QStringLiteral(",\n  "));
    }

    // The same key, check, ...; of its name, or where the new text gives none, of its meaning.
    void compare(Kind kind)
    {
        std::vector<TablePart> old = m_from.partsOf(kind), added;
        for (const TablePart &part : m_to.partsOf(kind)) {
            const auto same = std::ranges::find_if(
                old, [&](const TablePart &each) { return isSameName(each, part) && isSame(each, part); });
            if (same != old.end())
                old.erase(same);
            else
                added.push_back(part);
        }
        for (auto part = added.begin(); part != added.end();) {
            const auto was =
                std::ranges::find_if(old, [&](const TablePart &each) { return isTurned(each, *part); });
            if (was != old.end())
                old.erase(was), part = added.erase(part);
            else
                ++part;
        }
        for (const TablePart &part : old) {
            // MariaDB 10.11 refuses a foreign key that comes again under its name (errno 121): the old one
            // goes by a statement of its own.
            const bool comesAgain =
                kind == Kind::ForeignKey && std::ranges::any_of(added, [&](const TablePart &each) {
                    return each.name.compare(part.name, Qt::CaseInsensitive) == 0;
                });
            (comesAgain ? m_first : m_drops) << dropClause(part);
        }
        for (const TablePart &part : added)
            m_adds << addClause(part);
    }

    static bool isSameName(const TablePart &old, const TablePart &part)
    {
        return part.name.isEmpty() || old.name.compare(part.name, Qt::CaseInsensitive) == 0;
    }

    bool isSame(const TablePart &old, const TablePart &part) const
    {
        if (names(old.body, m_madeAgain, m_mode))
            return false;
        // The servers rename columns in keys, but not in checks (MySQL) and expressions.
        const bool follows = part.kind != Kind::Check && !hasExpression(old.body, m_mode);
        return old.head == part.head &&
               meansSame(old.body, part.body, m_mode, follows ? m_renames : Renames());
    }

    // Whether a clause of its own turns the one into the other, and not a drop.
    bool isTurned(const TablePart &old, const TablePart &part)
    {
        const Switched was = switched(old.body, m_mode), is = switched(part.body, m_mode);
        const bool isKey = part.kind == Kind::Key, isCheck = part.kind == Kind::Check;
        if ((isKey || isCheck) && isSameName(old, part) && was.state != is.state) {
            TablePart before = old, now = part;
            before.body = was.body, now.body = is.body;
            if (!isSame(before, now))
                return false;
            m_adds << QStringLiteral("ALTER %1 %2 %3")
                          .arg(isKey ? QStringLiteral("INDEX") : QStringLiteral("CHECK"),
                               quotedName(old.name), is.state.isEmpty() ? oppositeOf(was.state) : is.state);
            return true;
        }
        const bool knowsRename = m_table.server.number >= (m_table.server.isMariaDb ? 100502 : 50700);
        if (!isKey || !knowsRename || !isSame(old, part))
            return false;
        m_adds << QStringLiteral("RENAME INDEX %1 TO %2").arg(quotedName(old.name), quotedName(part.name));
        return true;
    }

    QString dropClause(const TablePart &part) const
    {
        const QString name = quotedName(part.name);
        switch (part.kind) {
        case Kind::PrimaryKey:
            return QStringLiteral("DROP PRIMARY KEY");
        case Kind::ForeignKey:
            return QStringLiteral("DROP FOREIGN KEY ") + name;
        case Kind::Check:
            return (m_table.server.isMariaDb ? QStringLiteral("DROP CONSTRAINT ")
                                             : QStringLiteral("DROP CHECK ")) +
                   name;
        case Kind::Period:
            return QStringLiteral("DROP PERIOD FOR ") + part.name;
        case Kind::Key:
        case Kind::Column:
            break;
        }
        return QStringLiteral("DROP INDEX ") + name;
    }

    static QString addClause(const TablePart &part)
    {
        const QString name = part.name.isEmpty() ? QString() : quotedName(part.name) + u' ';
        if (part.kind == Kind::Period)
            return QStringLiteral("ADD PERIOD FOR ") + part.name + u' ' + part.body;
        if (part.kind == Kind::PrimaryKey || part.kind == Kind::Key)
            return QStringLiteral("ADD ") + part.head + u' ' + name + part.body;
        return QStringLiteral("ADD ") + (name.isEmpty() ? QString() : QStringLiteral("CONSTRAINT ") + name) +
               part.body;
    }

    const TableDefinition &m_from, &m_to;
    const Renames &m_renames;
    const AlteredTable &m_table;
    const SqlMode m_mode;
    QStringList m_madeAgain;
    QStringList m_first, m_drops, m_adds; // clauses
};

} // namespace

QStringList alterStatements(const TableDefinition &from, const TableDefinition &to, const Renames &renames,
                            const AlteredTable &table)
{
    return Alter(from, to, renames, table).statements();
}

std::vector<LostColumn> lostColumns(const TableDefinition &from, const TableDefinition &to, SqlMode mode)
{
    const std::vector<TablePart> old = from.partsOf(Kind::Column), now = to.partsOf(Kind::Column);
    const auto stands = [](const std::vector<TablePart> &in, const QString &name) {
        return std::ranges::any_of(
            in, [&](const TablePart &each) { return each.name.compare(name, Qt::CaseInsensitive) == 0; });
    };
    std::vector<LostColumn> lost;
    for (std::size_t at = 0; at < old.size(); ++at) {
        if (stands(now, old[at].name))
            continue;
        LostColumn column{old[at].name, {}};
        for (std::size_t place = 0; place < now.size(); ++place) {
            if (stands(old, now[place].name))
                continue;
            const bool isSamePlace =
                place == 0 || at == 0
                    ? place == at
                    : now[place - 1].name.compare(old[at - 1].name, Qt::CaseInsensitive) == 0 || place == at;
            const SqlTokens was(old[at].body, mode), is(now[place].body, mode);
            if (isSamePlace && column.guess < 0 && was.at(0).compare(is.at(0), Qt::CaseInsensitive) == 0)
                column.guess = static_cast<int>(column.candidates.size());
            column.candidates << now[place].name;
        }
        lost.push_back(column);
    }
    return lost;
}

QStringList droppedBy(const QString &statement, SqlMode mode)
{
    const SqlTokens words(statement, mode);
    QStringList dropped;
    for (std::size_t at = 0; at + 1 < words.size(); ++at) {
        const bool isPartition = words.is(at + 1, u"PARTITION");
        if (isPartition && (words.is(at, u"DROP") || words.is(at, u"TRUNCATE"))) {
            const std::size_t name = at + (words.is(at + 2, u"IF") ? 4 : 2);
            for (std::size_t next = name; next < words.size(); next += 2) {
                dropped << QStringLiteral("パーティション ") + words.name(next);
                if (!words.is(next + 1, u","))
                    break;
            }
            continue;
        }
        if (!words.is(at, u"DROP"))
            continue;
        const auto isOther = [&](QStringView word) { return words.is(at + 1, word); };
        if (isOther(u"INDEX") || isOther(u"KEY") || isOther(u"PRIMARY") || isOther(u"FOREIGN") ||
            isOther(u"CHECK") || isOther(u"CONSTRAINT") || isOther(u"PERIOD") || isOther(u"DEFAULT"))
            continue;
        std::size_t name = at + (isOther(u"COLUMN") ? 2 : 1);
        name += words.is(name, u"IF") ? 2 : 0;
        dropped << (isOther(u"SYSTEM") ? QStringLiteral("履歴 (SYSTEM VERSIONING)") : words.name(name));
    }
    return dropped;
}

QStringList differences(const TableDefinition &is, const TableDefinition &wanted, SqlMode mode,
                        const QString &isMark, const QString &wantedMark)
{
    const auto line = [](const TablePart &part) {
        return QStringList{part.head, part.name, part.body}.join(u' ').trimmed();
    };
    const auto missing = [&](const TableDefinition &in, const TableDefinition &from, const QString &mark) {
        QStringList lines;
        for (const TablePart &part : from.parts) {
            const bool stands = std::ranges::any_of(in.parts, [&](const TablePart &each) {
                return each.kind == part.kind && each.head == part.head &&
                       (part.name.isEmpty() || each.name.isEmpty() || each.name == part.name) &&
                       isSameColumn(each.body, part.body, mode);
            });
            if (!stands)
                lines << mark + line(part);
        }
        for (const TableOption &option : from.options)
            if (option.name != u"AUTO_INCREMENT" && !meansSame(in.option(option.name), option.value, mode))
                lines << mark + option.text;
        if (!meansSame(in.partitions, from.partitions, mode))
            lines << mark + from.partitions;
        return lines;
    };
    const auto order = [](const TableDefinition &table) {
        QStringList columns;
        for (const TablePart &column : table.partsOf(Kind::Column))
            columns << column.name;
        return columns;
    };
    QStringList lines = missing(wanted, is, isMark) + missing(is, wanted, wantedMark);
    if (lines.isEmpty() && order(is) != order(wanted))
        lines << QStringLiteral("列の順序: ") + order(is).join(QStringLiteral(", "));
    return lines;
}
