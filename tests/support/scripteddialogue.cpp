#include "support/scripteddialogue.h"

#include <QTest>

ScriptedDialogue::~ScriptedDialogue()
{
    for (const Expected &expected : m_expected)
        QTest::qFail(qPrintable(QStringLiteral("never came: ") + expected.line), __FILE__, __LINE__);
}

void ScriptedDialogue::progress(int total, int current)
{
    progresses << QStringLiteral("%1/%2").arg(current).arg(total);
    log << "progress: " + progresses.last();
}

void ScriptedDialogue::setTarget(const QString &name)
{
    m_target = name;
    targets << name;
}

void ScriptedDialogue::setLastError(const QString &description, bool withTip)
{
    lastError = description;
    if (withTip)
        lastTip = description;
}

ScriptedDialogue::Expected ScriptedDialogue::take(const QString &line)
{
    log << line;
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
