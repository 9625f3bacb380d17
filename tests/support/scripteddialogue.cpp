#include "support/scripteddialogue.h"

#include <QTest>

ScriptedDialogue::~ScriptedDialogue()
{
    for (const Expected &expected : m_expected)
        QTest::qFail(qPrintable(QStringLiteral("never came: ") + expected.line), __FILE__, __LINE__);
    if (m_busyDepth != 0)
        QTest::qFail("the hourglass stays", __FILE__, __LINE__);
}

int ScriptedDialogue::choose(const QString &question, const QStringList &choices)
{
    if (!agrees)
        return take("choose(" + choices.join('|') + "): " + question).choice;
    told << question;
    return chosen;
}

PendingAnswer ScriptedDialogue::askPending(const std::vector<PendingChange> &changes)
{
    using Action = PendingAnswer::Action;
    if (!agrees)
        take("pending");
    pending.insert(pending.end(), changes.begin(), changes.end());
    const Action action = std::exchange(pendingAction, Action::Later);
    return {action == Action::Finish && changes[0].finishing.isEmpty() ? Action::Undo : action};
}

void ScriptedDialogue::tell(const QString &text, Icon icon)
{
    if (!agrees)
        take(line("tell", text, icon));
    told << text;
    isCritical = icon == Icon::Critical;
}

void ScriptedDialogue::setLastError(const QString &description, bool withTip)
{
    lastError = description;
    if (withTip)
        lastTip = description;
}

ScriptedDialogue::Expected ScriptedDialogue::take(const QString &line)
{
    if (m_expected.empty() || m_expected.front().line != line) {
        const QString wanted = m_expected.empty() ? "nothing" : m_expected.front().line;
        QTest::qFail(qPrintable(QStringLiteral("asked: %1\n   expected: %2").arg(line, wanted)), __FILE__,
                     __LINE__);
        return {};
    }
    Expected expected = std::move(m_expected.front());
    m_expected.pop_front();
    return expected;
}

bool ScriptedDialogue::isAgreed(const QString &question)
{
    lastQuestion = question;
    return ++questions <= mostAgreed;
}
