#include "transfer/copy/brandtext.h"

#include <algorithm>

namespace {

bool isOneOf(const QString &word, std::initializer_list<QStringView> words)
{
    return std::ranges::find(words, QStringView(word)) != words.end();
}

QString unquoted(const QString &name)
{
    const QString quote(name[0]);
    return name.sliced(1, name.size() - 2).replace(quote + quote, quote);
}

// Goes through the text once and knows in which column, key or constraint it is.
class Respeller {
public:
    Respeller(const QString &text, SqlMode mode, const ServerInfo &from, const ServerInfo &to)
        : m_text(text)
        , m_tokens(sqlTokens(text, mode))
        , m_from(from)
        , m_to(to)
    {
    }

    BrandText run()
    {
        for (std::size_t at = 0; at < m_tokens.size();) {
            const std::size_t end = take(at);
            at = end > at ? end : keep(at);
        }
        return m_made;
    }

private:
    QString written(std::size_t at) const
    {
        return at < m_tokens.size() ? m_text.mid(m_tokens[at].start, m_tokens[at].length) : QString();
    }
    bool is(std::size_t at, TokenKind kind) const
    {
        return at < m_tokens.size() && m_tokens[at].kind == kind;
    }
    std::size_t behindBlanks(std::size_t at) const
    {
        while (is(at, TokenKind::Blank))
            ++at;
        return at;
    }
    bool isIndex() const { return m_words.contains(QStringLiteral("KEY")); }
    bool leadsTo(bool mariaDb, int firstVersion) const
    {
        return m_to.isMariaDb == mariaDb && m_from.isMariaDb != mariaDb && m_to.number >= firstVersion;
    }

    // Writes what stands here in other words: gives the place behind it, or the same one.
    std::size_t take(std::size_t at)
    {
        if (is(at, TokenKind::VersionStart))
            return takeVersion(at);
        if (!is(at, TokenKind::Word))
            return at;
        // MariaDB 10.11 keeps the texts of generated columns, checks and defaults that have such a word
        // before them without their escapes, and all beyond ASCII as hex digits: it computes other values.
        static constexpr std::initializer_list<QStringView> utf8{u"_utf8mb4", u"_utf8mb3", u"_utf8"};
        if (leadsTo(true, 0) && isOneOf(written(at), utf8))
            if (const std::size_t next = behindBlanks(at + 1); is(next, TokenKind::Text))
                return next;
        constexpr int firstWithExpressions = 80013;
        if (!leadsTo(false, firstWithExpressions) || m_depth != 1)
            return at;
        if (isIndex() && written(at) == u"IGNORED") {
            m_made.text += QStringLiteral("INVISIBLE");
            return at + 1;
        }
        return written(at) == u"DEFAULT" ? takeDefault(at) : at;
    }

    // MySQL wants brackets around every expression, and around a literal for a column of this kind.
    std::size_t takeDefault(std::size_t at)
    {
        const std::size_t value = behindBlanks(at + 1);
        const QString type = m_words.value(0);
        const bool isLarge = type.endsWith(u"TEXT") || type.endsWith(u"BLOB") ||
                             isOneOf(type, {u"JSON", u"GEOMETRY", u"POINT", u"LINESTRING", u"POLYGON"});
        std::size_t end = value + 1;
        bool isWrapped = isLarge && (is(value, TokenKind::Text) || is(value, TokenKind::Number));
        if (is(value, TokenKind::Word) && is(end, TokenKind::Text)) {
            isWrapped = isLarge;
            ++end;
        } else if (is(value, TokenKind::Word) && written(end) == u"(") {
            isWrapped = !isOneOf(written(value).toLower(), {u"current_timestamp", u"now"});
            for (int depth = 1; depth > 0 && ++end < m_tokens.size();)
                depth += written(end) == u"(" ? 1 : written(end) == u")" ? -1 : 0;
            ++end;
        }
        if (!isWrapped || end > m_tokens.size())
            return at;
        m_made.text += QStringLiteral("DEFAULT (");
        for (std::size_t part = value; part < end; ++part)
            m_made.text += written(part);
        m_made.text += u')';
        return end;
    }

    // MariaDB passes over comments of MySQL's versions from 5.7 on, others over those of later ones.
    std::size_t takeVersion(std::size_t at)
    {
        constexpr int firstOfMySqlOnly = 50700;
        const int version = written(at).mid(3).toInt(); // "/*!80023"
        if (version == 0 || !(m_to.isMariaDb ? version >= firstOfMySqlOnly : version > m_to.number))
            return at;
        QString inner;
        while (!is(++at, TokenKind::VersionEnd) && at < m_tokens.size())
            inner += written(at);
        m_made.text += replacementFor(inner.trimmed());
        return at + 1;
    }

    QString replacementFor(const QString &attribute)
    {
        if (m_depth != 1) // an option of the table
            return {};
        constexpr int firstInvisible = 100303, firstIgnored = 100600;
        const auto change = [this](const QString &what) {
            m_made.changes << QStringLiteral("「%1」の「%2」").arg(m_table, m_name) + what;
            return QString();
        };
        if (attribute == u"INVISIBLE" && isIndex())
            return leadsTo(true, firstIgnored)
                       ? QStringLiteral("IGNORED")
                       : change(QStringLiteral("は、使われる索引になります (INVISIBLE)"));
        if (attribute == u"INVISIBLE") {
            // Of one that is never empty MariaDB wants a default.
            const bool isFilled = !m_words.contains(QStringLiteral("NOT")) ||
                                  m_words.contains(QStringLiteral("DEFAULT")) || isComputed();
            return leadsTo(true, firstInvisible) && isFilled
                       ? attribute
                       : change(QStringLiteral("は、見える列になります (INVISIBLE)"));
        }
        if (attribute == u"NOT ENFORCED")
            return m_to.isMariaDb ? change(QStringLiteral("は、効く検査になります (NOT ENFORCED)"))
                                  : QString();
        return change(QStringLiteral("の %1 は、なくなります").arg(attribute));
    }

    bool isComputed() const
    {
        return m_words.contains(QStringLiteral("AUTO_INCREMENT")) ||
               m_words.contains(QStringLiteral("GENERATED"));
    }

    std::size_t keep(std::size_t at)
    {
        const QString text = written(at);
        m_made.text += text;
        if (is(at, TokenKind::Sign)) {
            m_depth += text == u"(" ? 1 : text == u")" ? -1 : 0;
            if (m_depth == 1 && (text == u"(" || text == u",")) {
                m_name.clear();
                m_words.clear();
            }
        } else if (is(at, TokenKind::Name) && m_depth == 0 && m_table.isEmpty()) {
            m_table = unquoted(text);
        } else if (is(at, TokenKind::Name) && m_depth == 1 && m_name.isEmpty()) {
            m_name = unquoted(text);
        } else if (is(at, TokenKind::Word) && m_depth == 1) {
            m_words << text.toUpper();
        }
        return at + 1;
    }

    const QString m_text;
    const std::vector<Token> m_tokens;
    const ServerInfo &m_from, &m_to;
    BrandText m_made;
    int m_depth = 0;
    QString m_table, m_name; // of the table, and of the part that is being read
    QStringList m_words;     // of that part, in capitals
};

} // namespace

BrandText brandText(const QString &createTable, SqlMode mode, const ServerInfo &from, const ServerInfo &to)
{
    return Respeller(createTable, mode, from, to).run();
}
