#include "support/scripteddialogue.h"

#include <QTest>

namespace {

QString line(const char *kind, const QString &text, Icon icon)
{
    return QStringLiteral("%1(%2): %3")
        .arg(QLatin1String(kind), icon == Icon::Critical ? "critical" : "info", text);
}

} // namespace

ScriptedDialogue::~ScriptedDialogue()
{
    for (const Expected &expected : m_expected)
        QTest::qFail(qPrintable(QStringLiteral("never came: ") + expected.line), __FILE__, __LINE__);
}

void ScriptedDialogue::expectConfirm(const QString &text, Icon icon, bool answer)
{
    m_expected.push_back({line("confirm", text, icon), answer, {}, {}});
}

void ScriptedDialogue::expectAsk(const QString &text, bool answer)
{
    m_expected.push_back({"ask: " + text, answer, {}, {}});
}

void ScriptedDialogue::expectChoice(const QString &text, const QString &choices, int answer)
{
    m_expected.push_back({"choose(" + choices + "): " + text, false, {}, {}, answer});
}

void ScriptedDialogue::expectTell(const QString &text, Icon icon)
{
    m_expected.push_back({line("tell", text, icon), false, {}, {}});
}

void ScriptedDialogue::expectFolder(const QString &title, const QString &answer)
{
    m_expected.push_back({"folder: " + title, false, answer, {}});
}

void ScriptedDialogue::expectBackups(const RestoreChoice &answer)
{
    m_expected.push_back({"backups", false, {}, answer});
}

bool ScriptedDialogue::confirm(const QString &question, Icon icon)
{
    return take(line("confirm", question, icon)).answer;
}

bool ScriptedDialogue::ask(const QString &question)
{
    return take("ask: " + question).answer;
}

int ScriptedDialogue::choose(const QString &question, const QStringList &choices)
{
    return take("choose(" + choices.join('|') + "): " + question).choice;
}

void ScriptedDialogue::tell(const QString &text, Icon icon)
{
    take(line("tell", text, icon));
}

QString ScriptedDialogue::chooseFolder(const QString &title, const QString &start)
{
    startFolder = start;
    return take("folder: " + title).folder;
}

RestoreChoice ScriptedDialogue::chooseBackups()
{
    return take("backups").backups;
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
