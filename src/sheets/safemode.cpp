#include "sheets/safemode.h"

#include "core/command/script.h"
#include "core/command/writing.h"
#include "core/sql/splitter.h"
#include "core/sql/words.h"

#include <QSet>

namespace {

class Words {
public:
    Words(const QByteArray &statement, SqlMode mode)
        : m_words(sqlWords(QString::fromUtf8(statement), mode))
    {
    }

    QString at(std::size_t place) const { return place < m_words.size() ? m_words[place].small : QString(); }
    std::size_t size() const { return m_words.size(); }
    // Outside of parentheses; size(): nowhere.
    std::size_t find(const QString &word) const
    {
        for (std::size_t i = 0; i < size(); ++i)
            if (m_words[i].depth == 0 && m_words[i].small == word)
                return i;
        return size();
    }
    bool has(const QString &word) const { return find(word) < size(); }
    // A name of one or two parts.
    QString nameAt(std::size_t place) const
    {
        QString name = place < size() ? m_words[place].written : QString();
        if (at(place + 1) == u"." && place + 2 < size())
            name += u'.' + m_words[place + 2].written;
        return name;
    }
    std::size_t behind(std::size_t place, const QStringList &words) const
    {
        while (words.contains(at(place)))
            ++place;
        return place;
    }

private:
    const std::vector<SqlWord> m_words;
};

std::optional<Danger> rowsDanger(const Words &words, const QString &verb)
{
    const std::size_t place = words.find(verb);
    const bool isLock = words.at(0) == u"with" && place > 0 && words.at(place - 1) == u"for"; // of a SELECT
    if (place == words.size() || isLock || words.has(QStringLiteral("where")) ||
        words.has(QStringLiteral("limit")))
        return {};
    const std::size_t from = words.find(QStringLiteral("from"));
    const QStringList passed{"low_priority", "ignore", "quick"};
    const QString table =
        words.nameAt(verb == u"delete" && from < words.size() ? from + 1 : words.behind(place + 1, passed));
    return Danger{verb.toUpper() + u' ' + table + QStringLiteral("（WHERE なし）"), table};
}

std::optional<Danger> dropDanger(const Words &words)
{
    if (words.at(1) == u"temporary" || words.at(1) == u"prepare")
        return {};
    const std::size_t kind = words.behind(1, {"or", "replace", "foreign"});
    const QString name = words.nameAt(words.behind(kind + 1, {"if", "exists"}));
    return Danger{QStringLiteral("DROP ") + words.at(kind).toUpper() + u' ' + name,
                  words.at(kind) == u"table" ? name : QString()};
}

// Whether the text may go on in another mode than it began in. found: each is told once.
bool addRisks(Risks &risks, QSet<QString> &found, const QByteArray &text, bool isScript, SqlMode mode)
{
    const std::string_view view(text.constData(), static_cast<std::size_t>(text.size()));
    std::vector<ScriptPiece> pieces{{.text = view}};
    if (isScript)
        pieces = scriptPieces(view, mode);
    bool maySetMode = false;
    for (const ScriptPiece &piece : pieces) {
        const QByteArray statement(piece.text.data(), static_cast<qsizetype>(piece.text.size()));
        const bool isSource = piece.kind == ScriptPiece::Kind::Source;
        maySetMode |= isSource || maySetSqlMode(piece.text);
        constexpr qsizetype enough = 10'000;
        risks.mayChange |= isSource || mayChange(QString::fromUtf8(statement.left(enough)), mode);
        if (isSource)
            continue;
        if (const std::optional<Danger> danger = dangerOf(statement, mode);
            danger && !found.contains(danger->what)) {
            found.insert(danger->what);
            risks.dangers.push_back(*danger);
        }
    }
    return maySetMode;
}

} // namespace

std::optional<Danger> dangerOf(const QByteArray &statement, SqlMode mode)
{
    const Words words(statement, mode);
    const QString verb = words.at(0);
    if (verb == u"update" || verb == u"delete")
        return rowsDanger(words, verb);
    // MariaDB carries an analysed statement out.
    if (verb == u"with" || verb == u"analyze" || (verb == u"set" && words.at(1) == u"statement")) {
        if (const std::optional<Danger> update = rowsDanger(words, QStringLiteral("update")))
            return update;
        return rowsDanger(words, QStringLiteral("delete"));
    }
    if (verb == u"drop")
        return dropDanger(words);
    if (verb == u"truncate") {
        const QString table = words.nameAt(words.behind(1, {"table"}));
        return Danger{QStringLiteral("TRUNCATE ") + table, table};
    }
    return {};
}

// Which mode a script sets can only be known by running it, so it is then read in each.
Risks risksOf(const QByteArray &text, bool isScript, SqlMode mode)
{
    Risks risks;
    QSet<QString> found;
    if (!addRisks(risks, found, text, isScript, mode))
        return risks;
    for (const bool hasAnsiQuotes : {false, true})
        for (const bool hasPlainBackslashes : {false, true})
            addRisks(risks, found, text, isScript, {hasAnsiQuotes, hasPlainBackslashes});
    return risks;
}
