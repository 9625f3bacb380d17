#include "core/command/showntext.h"

#include "core/sql/failure.h"
#include "core/sql/statements.h"
#include "core/sql/tabledefinition.h"

#include <QRegularExpression>

namespace {

qsizetype count(const SqlTokens &tokens, const QString &token)
{
    qsizetype found = 0;
    for (std::size_t i = 0; i < tokens.size(); ++i)
        found += tokens.at(i) == token;
    return found;
}

// Walks along both texts and collects what the shown one does not mean.
class Comparison {
public:
    Comparison(const SqlTokens &server, const SqlTokens &shown, SqlMode mode)
        : m_server(server)
        , m_shown(shown)
        , m_mode(mode)
    {
        while (m_at < m_server.size() && step())
            ++m_at;
        if (m_at == m_server.size() && m_shownAt != m_shown.size())
            part(m_at - 1);
    }

    QStringList lost;
    QStringList bareNames; // those that have to be no words of the server's own

private:
    bool step()
    {
        const QString text = m_server.at(m_at);
        if (text.startsWith(u'`'))
            return stepName(text);
        if (text == m_shown.at(m_shownAt)) {
            ++m_shownAt;
            return true;
        }
        if (!m_server.isText(m_at) || !m_shown.isText(m_shownAt))
            return part(m_at);
        lose(text);
        ++m_shownAt;
        return true;
    }

    bool stepName(const QString &text)
    {
        const QString bare = withoutBackticks(text);
        const bool isBehindDot = m_at > 0 && m_server.at(m_at - 1) == u".";
        const SqlTokens pieces(isBehindDot ? QStringLiteral("a.") + bare : bare, m_mode);
        const std::size_t skipped = isBehindDot ? 2 : 0;
        if (quotedName(bare) != text || pieces.size() != skipped + 1 || !pieces.isWord(skipped)) {
            lose(text);
            // Its signs begin something that swallows what follows.
            static const QString opening = QStringLiteral("'\"#-/");
            if (std::ranges::any_of(bare, [](QChar c) { return opening.contains(c); }))
                return false;
            m_shownAt += pieces.size() - skipped;
            return true;
        }
        if (m_shown.at(m_shownAt) != bare)
            return part(m_at);
        if (!isBehindDot && !bareNames.contains(bare))
            bareNames << bare;
        ++m_shownAt;
        return true;
    }

    void lose(const QString &text)
    {
        if (!lost.contains(text))
            lost << text;
    }

    // From here on the two have nothing in common.
    bool part(std::size_t from)
    {
        constexpr qsizetype shownLength = 60;
        if (lost.isEmpty())
            lost << m_server.text(from, m_server.size()).simplified().left(shownLength);
        return false;
    }

    const SqlTokens &m_server;
    const SqlTokens &m_shown;
    SqlMode m_mode;
    std::size_t m_at = 0, m_shownAt = 0;
};

// Behind AS the server takes any name but its reserved words. Nothing is read.
bool areTaken(Connection &connection, const QStringList &names)
{
    try {
        connection.execute(QStringLiteral("select 0 as ") + names.join(QStringLiteral(",0 as ")));
        return true;
    } catch (const Failure &error) {
        if (error.isConnectionLost() || error.isInterrupted())
            throw;
        return false;
    }
}

// It goes on with every row, and is no part of what the user changes.
QString withoutCounter(QString text)
{
    static const QRegularExpression counter(QStringLiteral(" AUTO_INCREMENT=\\d+"));
    return text.remove(counter);
}

QStringList reservedAmong(Connection &connection, const QStringList &names)
{
    if (names.isEmpty() || areTaken(connection, names))
        return {};
    if (names.size() == 1)
        return {quotedName(names[0])};
    const qsizetype half = names.size() / 2;
    return reservedAmong(connection, names.first(half)) + reservedAmong(connection, names.sliced(half));
}

} // namespace

bool isAsShown(const QString &serverText, const QString &shownText)
{
    const QString shown = withoutCounter(shownText);
    return withoutCounter(shownCreateText(QStringLiteral("Table"), serverText)) == shown ||
           withoutCounter(withCrLf(serverText)) == shown;
}

QString withCounterOf(const QString &serverText, QString text, const QString &shownText)
{
    static const QRegularExpression counter(QStringLiteral(" AUTO_INCREMENT=\\d+"));
    const QString now = counter.match(serverText).captured(), shown = counter.match(shownText).captured();
    const QRegularExpressionMatch given = counter.match(text);
    if (now.isEmpty() || shown.isEmpty() || given.captured() != shown)
        return text;
    return text.replace(given.capturedStart(), given.capturedLength(), now);
}

QStringList lostInShownText(Connection &connection, const QString &serverText, const QString &shownText,
                            const QString &editedText, SqlMode mode)
{
    const SqlTokens server(withoutCounter(serverText), mode), edited(editedText, mode);
    const Comparison comparison(server, SqlTokens(withoutCounter(shownText), mode), mode);
    QStringList lost = comparison.lost + reservedAmong(connection, comparison.bareNames);
    lost.removeIf([&](const QString &text) {
        const qsizetype needed = count(server, text);
        return needed > 0 && count(edited, text) >= needed;
    });
    return lost;
}

std::optional<Outcome> askAboutLosses(CommandContext &context, const QStringList &lost, Reload ownText)
{
    constexpr qsizetype shownAtMost = 12;
    if (lost.isEmpty())
        return {};
    QString list = lost.first(qMin(lost.size(), shownAtMost)).join(QStringLiteral("\n"));
    if (lost.size() > shownAtMost)
        list += QStringLiteral("\n… (全 %1 件)").arg(lost.size());
    const int choice = context.dialogue.choose(
        QStringLiteral("表示している文は、サーバーの定義と同じ意味ではありません。\n"
                       "このまま変更すると、次のものが失われるか、エラーになります。\n\n%1\n\n"
                       "「サーバーの定義」を選ぶと、変更せずに、サーバーの定義をそのまま表示します。")
            .arg(list),
        {QStringLiteral("サーバーの定義"), QStringLiteral("このまま変更")});
    if (choice == 1)
        return {};
    return Outcome{choice == 0 ? ownText : Reload::Nothing};
}
