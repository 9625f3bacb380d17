#include "sheets/safemode.h"

#include "core/sql/words.h"

namespace {

class Words {
public:
    explicit Words(const QByteArray &statement)
        : m_words(sqlWords(QString::fromUtf8(statement)))
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
    if (place == words.size() || words.has(QStringLiteral("where")) || words.has(QStringLiteral("limit")))
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

} // namespace

std::optional<Danger> dangerOf(const QByteArray &statement)
{
    const Words words(statement);
    const QString verb = words.at(0);
    if (verb == u"update" || verb == u"delete")
        return rowsDanger(words, verb);
    if (verb == u"with" || verb == u"analyze") { // MariaDB carries an analysed statement out
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
