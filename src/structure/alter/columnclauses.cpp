#include "structure/alter/columnclauses.h"

#include "core/sql/statements.h"

#include <algorithm>

namespace {

// The width of whole numbers that only some servers show, behind the type. All of them show that of
// tinyint(1), which stands for a truth value, and of numbers that are filled up to it.
bool hasWidth(const SqlTokens &words)
{
    const QString type = words.at(0).toLower();
    const bool isShownByAll =
        (type == u"tinyint" && words.at(2) == u"1") || words.is(4, u"ZEROFILL") || words.is(5, u"ZEROFILL");
    return type.endsWith(u"int") && words.is(1, u"(") && !isShownByAll;
}

// What a column says without words that follow from the others.
QString withoutImplied(const SqlTokens &words, bool keepsWidth)
{
    QStringList kept;
    for (std::size_t at = 0; at < words.size(); ++at) {
        const bool isOwnSet = words.is(at, u"CHARACTER") && words.is(at + 3, u"COLLATE");
        const bool isNull = words.is(at, u"DEFAULT") && words.is(at + 1, u"NULL");
        const bool isWidth = at == 1 && !keepsWidth && hasWidth(words);
        if (isOwnSet || isWidth)
            at += 2;
        else if (isNull)
            ++at;
        else
            kept << words.at(at);
    }
    return kept.join(u' ');
}

enum class Generated { No, Virtual, Stored };

Generated generatedAs(const QString &body, SqlMode mode)
{
    const SqlTokens words(body, mode);
    bool isGenerated = false;
    for (std::size_t at = 0; at < words.size(); at = words.behindGroup(at)) {
        isGenerated = isGenerated || (words.is(at, u"AS") && words.is(at + 1, u"("));
        if (isGenerated && (words.is(at, u"STORED") || words.is(at, u"PERSISTENT")))
            return Generated::Stored;
    }
    return isGenerated ? Generated::Virtual : Generated::No;
}

// Holds text in the character set of the table.
bool hasTableCharacterSet(const QString &body, SqlMode mode)
{
    const SqlTokens words(body, mode);
    const QString type = words.at(0).toLower();
    const bool isText = type.endsWith(u"char") || type.endsWith(u"text") || type == u"enum" || type == u"set";
    for (std::size_t at = 0; at < words.size(); ++at)
        if (words.is(at, u"CHARACTER") || words.is(at, u"CHARSET") || words.is(at, u"COLLATE"))
            return false;
    return isText;
}

// Which of the numbers, all of them different, stay where they are so that as few as possible move: those of
// the longest rising sequence.
std::vector<bool> staying(const std::vector<int> &numbers)
{
    std::vector<int> lasts; // of the sequences of each length, the lowest end
    std::vector<int> before(numbers.size(), -1);
    for (int at = 0; at < static_cast<int>(numbers.size()); ++at) {
        const auto place =
            std::ranges::lower_bound(lasts, numbers[static_cast<std::size_t>(at)], {},
                                     [&](int each) { return numbers[static_cast<std::size_t>(each)]; });
        before[static_cast<std::size_t>(at)] = place == lasts.begin() ? -1 : *(place - 1);
        if (place == lasts.end())
            lasts.push_back(at);
        else
            *place = at;
    }
    std::vector<bool> stays(numbers.size());
    for (int at = lasts.empty() ? -1 : lasts.back(); at >= 0; at = before[static_cast<std::size_t>(at)])
        stays[static_cast<std::size_t>(at)] = true;
    return stays;
}

// One column of the new text.
struct NewColumn {
    const TablePart *is;
    const TablePart *was = nullptr; // null: it is added
    bool moves = false, isMadeAgain = false;
};

class Clauses {
public:
    Clauses(const std::vector<TablePart> &from, const std::vector<TablePart> &to, const Renames &renames,
            bool takesCharacterSet, SqlMode mode)
        : m_from(from)
        , m_takesCharacterSet(takesCharacterSet)
        , m_mode(mode)
    {
        for (const TablePart &column : to)
            m_columns.push_back({&column, before(column.name, renames)});
        for (NewColumn &column : m_columns)
            if (column.was && !mayBecome(*column.was, *column.is)) {
                column.was = nullptr;
                column.isMadeAgain = true;
            }
        findMoves();
    }

    ColumnClauses clauses() const
    {
        ColumnClauses made;
        for (const TablePart &column : m_from)
            if (std::ranges::find(m_columns, &column, &NewColumn::was) == m_columns.end())
                made.drops << QStringLiteral("DROP COLUMN ") + quotedName(column.name);
        for (std::size_t at = 0; at < m_columns.size(); ++at) {
            if (m_columns[at].isMadeAgain)
                made.madeAgain << m_columns[at].is->name;
            if (const QString clause = clauseOf(at); !clause.isEmpty())
                made.others << clause;
        }
        return made;
    }

private:
    const TablePart *before(const QString &name, const Renames &renames) const
    {
        const auto found = std::ranges::find_if(m_from, [&](const TablePart &each) {
            const auto renamed = renames.constFind(each.name);
            return renamed != renames.constEnd() ? *renamed == name
                                                 : each.name.compare(name, Qt::CaseInsensitive) == 0;
        });
        return found == m_from.end() ? nullptr : &*found;
    }

    // The servers refuse (MySQL 3106, MariaDB 1907) to turn a column without values of its own into another
    // kind, and back.
    bool mayBecome(const TablePart &was, const TablePart &is) const
    {
        const Generated old = generatedAs(was.body, m_mode), now = generatedAs(is.body, m_mode);
        return old == now || (old != Generated::Virtual && now != Generated::Virtual);
    }

    void findMoves()
    {
        std::vector<int> places;
        for (const NewColumn &column : m_columns)
            if (column.was)
                places.push_back(static_cast<int>(column.was - m_from.data()));
        const std::vector<bool> stays = staying(places);
        std::size_t next = 0;
        for (NewColumn &column : m_columns)
            column.moves = column.was && !stays[next++];
    }

    // Where columns are added behind all others they need no place.
    bool isAmongLast(std::size_t at) const
    {
        return std::all_of(m_columns.begin() + static_cast<std::ptrdiff_t>(at), m_columns.end(),
                           [](const NewColumn &each) { return !each.was; });
    }

    QString clauseOf(std::size_t at) const
    {
        const NewColumn &column = m_columns[at];
        const QString name = quotedName(column.is->name);
        const QString definition = name + u' ' + column.is->body;
        const QString place = at == 0 ? QStringLiteral(" FIRST")
                                      : QStringLiteral(" AFTER ") + quotedName(m_columns[at - 1].is->name);
        if (!column.was)
            return QStringLiteral("ADD COLUMN ") + definition + (isAmongLast(at) ? QString() : place);
        const bool isRenamed = column.was->name != column.is->name;
        const bool isSame = isSameColumn(column.was->body, column.is->body, m_mode) &&
                            !(m_takesCharacterSet && hasTableCharacterSet(column.is->body, m_mode));
        if (isSame && !isRenamed && !column.moves)
            return {};
        return (isRenamed ? QStringLiteral("CHANGE COLUMN ") + quotedName(column.was->name) + u' '
                          : QStringLiteral("MODIFY COLUMN ")) +
               definition + (column.moves ? place : QString());
    }

    const std::vector<TablePart> &m_from;
    const bool m_takesCharacterSet;
    const SqlMode m_mode;
    std::vector<NewColumn> m_columns;
};

} // namespace

ColumnClauses columnClauses(const std::vector<TablePart> &from, const std::vector<TablePart> &to,
                            const Renames &renames, bool takesCharacterSet, SqlMode mode)
{
    return Clauses(from, to, renames, takesCharacterSet, mode).clauses();
}

bool isSameColumn(const QString &left, const QString &right, SqlMode mode)
{
    if (left == right)
        return true;
    const SqlTokens mine(left, mode), others(right, mode);
    const bool keepsWidth = hasWidth(mine) == hasWidth(others);
    return meansSame(withoutImplied(mine, keepsWidth), withoutImplied(others, keepsWidth), mode);
}
