#include "structure/alter/restoredtext.h"

#include "core/sql/statements.h"

#include <QStringList>

#include <map>

namespace {

QString withoutComma(const QString &line)
{
    const QString text = line.trimmed();
    return text.endsWith(u',') ? text.chopped(1) : text;
}

// A line up to its name, "`a`" or "UNIQUE KEY `k`"; of one that has none before its parenthesis nothing, but
// for the line that ends the columns.
QString beginning(const QString &line, SqlMode mode)
{
    if (line.startsWith(u')'))
        return line.left(1);
    for (const Token &token : sqlTokens(line, mode)) {
        if (token.kind == TokenKind::Name)
            return line.left(token.start + token.length);
        if (line[token.start] == u'(')
            break;
    }
    return {};
}

bool isWordPart(QChar c)
{
    return c.isLetterOrNumber() || c == u'_' || c == u'$';
}

class Restorer {
public:
    Restorer(const QString &serverText, const QString &shownText, SqlMode mode)
        : m_mode(mode)
        , m_server(serverText.split(u'\n'))
        , m_shown(withLf(shownText).split(u'\n'))
        , m_isTaken(static_cast<std::size_t>(m_server.size()))
    {
        if (m_server.size() != m_shown.size())
            m_server.clear(), m_shown.clear();
        for (qsizetype at = 0; at < m_server.size(); ++at) {
            const QString shown = withoutComma(m_shown[at]);
            const auto [place, isFirst] = m_places.try_emplace(shown, at);
            // Two of the server's lines that look the same as they are shown.
            if (!isFirst && place->second >= 0 && m_server[place->second] != m_server[at])
                place->second = -1;
        }
    }

    RestoredText restore(const QString &editedText)
    {
        QStringList lines = withLf(editedText).split(u'\n');
        std::vector<bool> isEdited(static_cast<std::size_t>(lines.size()), true);
        for (qsizetype at = 0; at < lines.size(); ++at) {
            const auto found = m_places.find(withoutComma(lines[at]));
            if (found == m_places.end() || found->second < 0)
                continue;
            const bool hasComma = lines[at].trimmed().endsWith(u',');
            lines[at] = QStringLiteral("  ") + withoutComma(m_server[found->second]) +
                        (hasComma ? QStringLiteral(",") : QString());
            m_isTaken[static_cast<std::size_t>(found->second)] = true;
            isEdited[static_cast<std::size_t>(at)] = false;
        }
        RestoredText restored;
        for (qsizetype at = 0; at < lines.size(); ++at)
            if (isEdited[static_cast<std::size_t>(at)])
                restoreName(lines[at], restored);
        restored.text = lines.join(u'\n');
        return restored;
    }

private:
    // Of a line that was edited: the longest name that it may begin with is the one that it has kept.
    void restoreName(QString &line, RestoredText &restored)
    {
        const QString text = line.trimmed();
        qsizetype best = -1, length = 0;
        QString name;
        for (qsizetype at = 0; at < m_server.size(); ++at) {
            if (m_isTaken[static_cast<std::size_t>(at)])
                continue;
            const QString own = beginning(m_server[at].trimmed(), m_mode);
            for (const QString &shown : {withoutBackticks(own), own}) {
                // A definition follows every name.
                const bool ends =
                    shown == u")" || (text.size() > shown.size() && !isWordPart(text[shown.size()]));
                if (shown.size() > length && text.startsWith(shown) && ends)
                    best = at, length = shown.size(), name = own;
            }
        }
        if (best < 0)
            return;
        line = QStringLiteral("  ") + name + text.mid(length);
        m_isTaken[static_cast<std::size_t>(best)] = true;
        restored.serverLines += m_server[best] + u'\n';
        restored.shownLines += m_shown[best] + u'\n';
        restored.editedLines += line + u'\n';
    }

    const SqlMode m_mode;
    QStringList m_server, m_shown;
    std::vector<bool> m_isTaken;           // lines of the server's that stand in the edited text
    std::map<QString, qsizetype> m_places; // by what is shown of them; -1: it may be several
};

} // namespace

RestoredText restoredText(const QString &serverText, const QString &shownText, const QString &editedText,
                          SqlMode mode)
{
    return Restorer(serverText, shownText, mode).restore(editedText);
}
