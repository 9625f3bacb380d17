#include "core/sql/tabledefinition.h"

#include "core/sql/failure.h"

#include <algorithm>
#include <optional>

namespace {

QString withoutVersionMarks(const QString &text, SqlMode mode)
{
    QString plain;
    bool isBehindMark = false;
    for (const Token &token : sqlTokens(text, mode)) {
        const bool isMark = token.kind == TokenKind::VersionStart || token.kind == TokenKind::VersionEnd;
        if (isMark && !plain.isEmpty() && !plain.back().isSpace())
            plain += u' ';
        else if (!isMark && !(isBehindMark && token.kind == TokenKind::Blank))
            plain += QStringView(text).mid(token.start, token.length);
        isBehindMark = isMark;
    }
    return plain;
}

QString unquoted(const QString &token)
{
    const QChar quote = token.isEmpty() ? QChar() : token[0];
    if (quote != u'`' && quote != u'"')
        return token;
    return token.mid(1, token.size() - 2).replace(QString(2, quote), QString(quote));
}

// Reads a definition from its beginning to its end.
class Reader {
public:
    Reader(const QString &text, SqlMode mode)
        : m_words(withoutVersionMarks(text, mode), mode)
    {
    }

    TableDefinition read()
    {
        readHead();
        if (!m_words.is(m_at, u"("))
            refuse();
        const std::size_t end = m_words.behindGroup(m_at);
        if (end == m_words.size() && !m_words.is(end - 1, u")"))
            refuse();
        for (std::size_t first = ++m_at; m_at < end;) {
            const bool isEnd = m_at + 1 == end || m_words.is(m_at, u",");
            if (!isEnd) {
                m_at = m_words.behindGroup(m_at);
                continue;
            }
            if (first == m_at)
                refuse(); // two commas, or nothing at all
            m_table.parts.push_back(part(first, m_at));
            first = ++m_at;
        }
        readOptions();
        return std::move(m_table);
    }

private:
    [[noreturn]] static void refuse() { throw Failure(QStringLiteral("CREATE TABLE 文として読めません。")); }

    void readHead()
    {
        const auto skip = [this](std::initializer_list<QStringView> words) {
            for (const QStringView word : words)
                m_at += m_words.is(m_at, word);
        };
        if (!m_words.is(m_at, u"CREATE"))
            refuse();
        skip({u"CREATE", u"OR", u"REPLACE", u"TEMPORARY"});
        if (!m_words.is(m_at, u"TABLE"))
            refuse();
        skip({u"TABLE", u"IF", u"NOT", u"EXISTS"});
        if (m_words.is(m_at + 1, u"."))
            m_at += 2;
        m_table.name = m_words.name(m_at++);
    }

    TablePart part(std::size_t first, std::size_t end) const
    {
        using Kind = TablePart::Kind;
        std::size_t at = first;
        QString name;
        if (m_words.is(at, u"CONSTRAINT")) {
            const bool hasName = !(m_words.is(at + 1, u"PRIMARY") || m_words.is(at + 1, u"UNIQUE") ||
                                   m_words.is(at + 1, u"FOREIGN") || m_words.is(at + 1, u"CHECK"));
            name = hasName ? m_words.name(at + 1) : QString();
            at += hasName ? 2 : 1;
        }
        if (m_words.is(at, u"FOREIGN"))
            return {Kind::ForeignKey, name, {}, m_words.text(at, end)};
        if (m_words.is(at, u"CHECK"))
            return {Kind::Check, name, {}, m_words.text(at, end)};
        if (m_words.is(at, u"PRIMARY"))
            return {Kind::PrimaryKey, {}, QStringLiteral("PRIMARY KEY"), m_words.text(at + 2, end)};
        if (m_words.is(at, u"PERIOD") && m_words.is(at + 1, u"FOR"))
            return {Kind::Period, m_words.name(at + 2), {}, m_words.text(at + 3, end)};
        if (const std::size_t behind = behindKeyHead(at); behind > at)
            return key(name, at, behind, end);
        return {Kind::Column, m_words.name(at), {}, m_words.text(at + 1, end)};
    }

    // Where a key's head ends; the place itself where none begins there.
    std::size_t behindKeyHead(std::size_t at) const
    {
        const auto isKey = [this](std::size_t place) {
            return m_words.is(place, u"KEY") || m_words.is(place, u"INDEX");
        };
        const bool isKind =
            m_words.is(at, u"UNIQUE") || m_words.is(at, u"FULLTEXT") || m_words.is(at, u"SPATIAL");
        if (isKind || (m_words.is(at, u"VECTOR") && isKey(at + 1)))
            return at + 1 + isKey(at + 1);
        return at + isKey(at);
    }

    TablePart key(const QString &constraint, std::size_t first, std::size_t at, std::size_t end) const
    {
        const bool isPlain = m_words.is(first, u"KEY") || m_words.is(first, u"INDEX");
        const QString head =
            isPlain ? QStringLiteral("KEY") : m_words.at(first).toUpper() + QStringLiteral(" KEY");
        const bool hasName = !m_words.is(at, u"(") && !m_words.is(at, u"USING") && !m_words.is(at, u"TYPE");
        return {TablePart::Kind::Key, hasName ? m_words.name(at) : constraint, head,
                m_words.text(at + hasName, end)};
    }

    void readOptions()
    {
        while (m_at < m_words.size() && !m_words.is(m_at, u";")) {
            if (m_words.is(m_at, u"PARTITION") && m_words.is(m_at + 1, u"BY")) {
                std::size_t end = m_words.size();
                while (m_words.is(end - 1, u";"))
                    --end;
                m_table.partitions = m_words.text(m_at, end);
                return;
            }
            if (m_words.is(m_at, u","))
                ++m_at;
            else
                readOption();
        }
    }

    void readOption()
    {
        const std::size_t first = m_at;
        const auto follow = [this](QStringView one, QStringView other) {
            return m_words.is(m_at, one) && m_words.is(m_at + 1, other);
        };
        if (m_words.is(m_at, u"DEFAULT") && m_at + 1 < m_words.size())
            ++m_at;
        QString name = m_words.name(m_at).toUpper();
        if (follow(u"CHARACTER", u"SET")) {
            name = QStringLiteral("CHARSET");
            ++m_at;
        } else if (follow(u"DATA", u"DIRECTORY") || follow(u"INDEX", u"DIRECTORY") ||
                   follow(u"START", u"TRANSACTION")) {
            name += u' ' + m_words.at(++m_at).toUpper();
        } else if (follow(u"WITH", u"SYSTEM")) {
            name = QStringLiteral("SYSTEM VERSIONING");
            m_at += 2;
        }
        ++m_at;
        const std::size_t value = m_at + m_words.is(m_at, u"=");
        const bool hasValue = name != u"SYSTEM VERSIONING" && name != u"START TRANSACTION";
        if (hasValue)
            m_at = std::min(m_words.behindGroup(value), m_words.size());
        const QString text = m_words.text(first, m_at);
        m_table.options.push_back({name, hasValue ? m_words.text(value, m_at) : text, text});
    }

    SqlTokens m_words;
    std::size_t m_at = 0;
    TableDefinition m_table;
};

} // namespace

SqlTokens::SqlTokens(QString text, SqlMode mode)
    : m_text(std::move(text))
{
    for (const Token &token : sqlTokens(m_text, mode))
        if (token.kind != TokenKind::Blank && token.kind != TokenKind::Comment)
            m_tokens.push_back(token);
}

bool SqlTokens::is(std::size_t at, QStringView word) const
{
    return at < size() && (isWord(at) || m_tokens[at].kind == TokenKind::Sign) &&
           QStringView(m_text)
                   .mid(m_tokens[at].start, m_tokens[at].length)
                   .compare(word, Qt::CaseInsensitive) == 0;
}

QString SqlTokens::at(std::size_t at) const
{
    return at < size() ? m_text.mid(m_tokens[at].start, m_tokens[at].length) : QString();
}

QString SqlTokens::name(std::size_t at) const
{
    return isName(at) ? unquoted(this->at(at)) : this->at(at);
}

QString SqlTokens::text(std::size_t first, std::size_t end) const
{
    if (first >= end || end > size())
        return {};
    const Token &last = m_tokens[end - 1];
    return m_text.mid(m_tokens[first].start, last.start + last.length - m_tokens[first].start);
}

std::size_t SqlTokens::behindGroup(std::size_t at) const
{
    int depth = 0;
    do {
        depth += is(at, u"(") - is(at, u")");
        ++at;
    } while (depth > 0 && at < size());
    return at;
}

std::vector<TablePart> TableDefinition::partsOf(TablePart::Kind kind) const
{
    std::vector<TablePart> found;
    std::ranges::copy_if(parts, std::back_inserter(found),
                         [kind](const TablePart &each) { return each.kind == kind; });
    return found;
}

QString TableDefinition::option(const QString &wanted) const
{
    const auto found = std::ranges::find(options, wanted, &TableOption::name);
    return found == options.end() ? QString() : found->value;
}

TableDefinition tableDefinition(const QString &createText, SqlMode mode)
{
    return Reader(createText, mode).read();
}

bool meansSame(const QString &left, const QString &right, SqlMode mode, const QMap<QString, QString> &renames)
{
    if (left == right && renames.isEmpty())
        return true;
    const SqlTokens mine(left, mode), others(right, mode);
    if (mine.size() != others.size())
        return false;
    for (std::size_t at = 0; at < mine.size(); ++at) {
        const bool areWords = mine.isWord(at) && others.isWord(at);
        const bool areNames =
            (mine.isName(at) || mine.isWord(at)) && (others.isName(at) || others.isWord(at));
        const QString name = renames.value(mine.name(at), mine.name(at));
        const bool isSame =
            areNames ? name.compare(others.name(at), areWords ? Qt::CaseInsensitive : Qt::CaseSensitive) == 0
                     : mine.at(at) == others.at(at);
        if (!isSame)
            return false;
    }
    return true;
}
