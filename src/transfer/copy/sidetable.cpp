#include "transfer/copy/sidetable.h"

#include "core/sql/statements.h"
#include "core/sql/tabledefinition.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

struct Part {
    qsizetype begin, end; // in the text
};

// What stands between the commas of the outermost brackets.
std::vector<Part> partsOf(const QString &text, SqlMode mode)
{
    std::vector<Part> parts;
    int depth = 0;
    qsizetype begin = 0;
    for (const Token &token : sqlTokens(text, mode)) {
        const QStringView sign = QStringView(text).mid(token.start, token.length);
        if (token.kind != TokenKind::Sign)
            continue;
        if (sign == u"(" && ++depth == 1)
            begin = token.start + 1;
        const bool isEnd = sign == u")" && --depth == 0;
        if (!isEnd && !(sign == u"," && depth == 1))
            continue;
        parts.push_back({begin, token.start});
        begin = token.start + 1;
        if (isEnd)
            break;
    }
    return parts;
}

// MySQL since 8.0.16 takes the name of a check once in a database; MariaDB once in a table, and older servers
// pass checks over.
bool namesChecksPerDatabase(const ServerInfo &server)
{
    constexpr int firstWithChecks = 80016;
    return !server.isMariaDb && server.number >= firstWithChecks;
}

class Builder {
public:
    Builder(QString sideName, const QString &tableName, SqlMode mode, const ServerInfo &target)
        : m_sideName(std::move(sideName))
        , m_ownCheck(u'^' + QRegularExpression::escape(tableName) + QStringLiteral("_chk_(\\d+)$"))
        , m_mode(mode)
        , m_renamesChecks(namesChecksPerDatabase(target))
    {
    }

    // The part as it stands on the side; empty: it comes later.
    QString taken(const QString &part)
    {
        const SqlTokens words(part, m_mode);
        if (!words.is(0, u"CONSTRAINT"))
            return part;
        if (words.is(2, u"FOREIGN")) {
            m_table.clauses << QStringLiteral("ADD ") + part.trimmed();
            m_table.foreignKeys << words.name(1);
            addKey(words);
            return {};
        }
        if (!words.is(2, u"CHECK") || !m_renamesChecks)
            return part;
        QString other = part;
        return other.replace(other.indexOf(words.at(1)), words.at(1).size(),
                             quotedName(sideCheck(words.name(1), part)));
    }

    SideTable m_table;

private:
    // From "CONSTRAINT name FOREIGN KEY (" on.
    void addKey(const SqlTokens &words)
    {
        constexpr std::size_t columns = 4;
        const std::size_t parent = words.behindGroup(columns) + 1;
        const bool isOfOther = words.is(parent + 1, u".");
        m_table.keys.push_back({words.text(columns - 2, parent) + u' ',
                                isOfOther ? QString() : words.name(parent),
                                words.text(isOfOther ? parent : parent + 1, words.size())});
    }

    QString sideCheck(const QString &name, const QString &part)
    {
        // The server renames what bears such a name together with its table.
        if (const QRegularExpressionMatch own = m_ownCheck.match(name); own.hasMatch())
            return m_sideName + QStringLiteral("_chk_") + own.captured(1);
        const QString side = m_sideName + QStringLiteral("_c%1").arg(++m_checks);
        m_table.clauses << QStringLiteral("DROP CHECK ") + quotedName(side)
                        << QStringLiteral("ADD ") + part.trimmed();
        return side;
    }

    const QString m_sideName;
    const QRegularExpression m_ownCheck;
    const SqlMode m_mode;
    const bool m_renamesChecks;
    int m_checks = 0;
};

} // namespace

SideTable sideTable(const QString &createText, const QString &sideName, SqlMode mode,
                    const ServerInfo &target)
{
    const std::vector<Part> parts = partsOf(createText, mode);
    const SqlTokens words(createText, mode);
    if (parts.empty() || !words.is(0, u"CREATE") || !words.is(1, u"TABLE"))
        throw Failure(QStringLiteral("CREATE TABLE 文として読めません。"));
    Builder builder(sideName, words.name(2), mode, target);
    QStringList kept;
    for (const Part &part : parts)
        if (const QString taken = builder.taken(createText.mid(part.begin, part.end - part.begin));
            !taken.isEmpty())
            kept << taken;
    builder.m_table.create = QStringLiteral("CREATE TABLE ") + quotedName(sideName) + QStringLiteral(" (") +
                             kept.join(u',') + createText.mid(parts.back().end);
    return builder.m_table;
}
