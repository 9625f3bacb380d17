#include "sheets/historywalk.h"

namespace {

bool isSame(const QString &text, const QString &statement)
{
    QString plain = text.trimmed();
    plain.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    if (plain.endsWith(u';'))
        plain.chop(1);
    return plain == statement.trimmed();
}

} // namespace

QString HistoryWalk::older(const QString &draft)
{
    if (m_place < 0) {
        m_draft = draft;
        m_statements = m_read ? m_read() : QStringList();
        // What was just run still stands in the text: the step goes past it.
        if (!m_statements.isEmpty() && isSame(draft, m_statements.first()))
            m_statements.removeFirst();
    }
    return m_place + 1 < m_statements.size() ? m_statements[++m_place] : QString();
}

QString HistoryWalk::newer()
{
    if (m_place < 0)
        return {};
    return --m_place < 0 ? m_draft : m_statements[m_place];
}
