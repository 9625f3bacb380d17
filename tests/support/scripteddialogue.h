#pragma once

#include "core/command/dialogue.h"

#include <deque>

// A user before a command. Answers its questions from a list and fails the test on a question that is not the
// next one expected, and on answers that nobody asked for; or agrees to everything and keeps what was said,
// for words of the system or the server. No box is ever shown, so nothing can hang.
class ScriptedDialogue : public Dialogue {
public:
    ~ScriptedDialogue() override; // fails the test when something expected did not come

    void expectConfirm(const QString &text, Icon icon, bool answer)
    {
        expect({line("confirm", text, icon), answer});
    }
    void expectAsk(const QString &text, bool answer) { expect({"ask: " + text, answer}); }
    // Choices: "first|second".
    void expectChoice(const QString &text, const QString &choices, int answer)
    {
        expect({.line = "choose(" + choices + "): " + text, .choice = answer});
    }
    void expectTell(const QString &text, Icon icon) { expect({line("tell", text, icon)}); }
    void expectInform(const QString &text) { expectTell(text, Icon::Information); }
    void expectRefuse(const QString &text) { expectTell(text, Icon::Critical); }
    void expectFolder(const QString &title, const QString &answer)
    {
        expect({.line = "folder: " + title, .folder = answer});
    }
    void expectBackups(const RestoreChoice &answer) { expect({.line = "backups", .backups = answer}); }
    // A question that is agreed to, and the end that it comes to.
    void expectDone(const QString &question, const QString &end, Icon icon = Icon::Information)
    {
        expectConfirm(question, icon, true);
        expectInform(end);
    }
    void expectFailure(const QString &question, const QString &end, Icon icon = Icon::Information)
    {
        expectConfirm(question, icon, true);
        expectRefuse(end);
    }

    // How one behaves who agrees to everything.
    bool agrees = false;
    int mostAgreed = 1000; // questions
    int chosen = 1;        // among the choices of a question
    RestoreChoice choice;
    PendingAnswer::Action pendingAction = PendingAnswer::Action::Later; // at first, then later
    // What was said to him.
    int questions = 0;
    QString lastQuestion;
    QStringList told;
    std::vector<PendingChange> pending;
    bool isCritical = false;

    bool warn(const QString &question) override { return confirm(question, Icon::Critical); }
    bool confirm(const QString &question, Icon icon) override
    {
        return agrees ? isAgreed(question) : take(line("confirm", question, icon)).answer;
    }
    bool askCarefully(const QString &question) override { return ask(question); }
    bool ask(const QString &question) override
    {
        return agrees ? isAgreed(question) : take("ask: " + question).answer;
    }
    int choose(const QString &question, const QStringList &choices) override;
    void tell(const QString &text, Icon icon) override;
    QString chooseFolder(const QString &title, const QString &) override
    {
        return agrees ? choice.folder : take("folder: " + title).folder;
    }
    RestoreChoice chooseBackups() override { return agrees ? choice : take("backups").backups; }
    PendingAnswer askPending(const std::vector<PendingChange> &changes) override;
    void progress(int total, int current) override
    {
        progresses << QStringLiteral("%1/%2").arg(current).arg(total);
    }
    void progressBar(double fraction) override { bars << fraction; }
    QString target() const override { return targets.value(targets.size() - 1); }
    void setTarget(const QString &name) override { targets << name; }
    void setLastError(const QString &description, bool withTip) override;
    void setBusy(bool isBusy) override { m_busyDepth += isBusy ? 1 : -1; }
    void refresh() override { ++refreshes; }

    QStringList targets; // every text that setTarget() was given
    QStringList progresses;
    QList<double> bars;
    QString lastError, lastTip;
    int refreshes = 0;

private:
    struct Expected {
        QString line;
        bool answer = false;
        QString folder = {};
        RestoreChoice backups = {};
        int choice = -1;
    };
    static QString line(const char *kind, const QString &text, Icon icon)
    {
        return QLatin1String(kind) + (icon == Icon::Critical ? "(critical): " : "(info): ") + text;
    }
    void expect(Expected expected) { m_expected.push_back(std::move(expected)); }
    Expected take(const QString &line);
    bool isAgreed(const QString &question);

    std::deque<Expected> m_expected;
    int m_busyDepth = 0;
};
