#pragma once

#include "core/command/dialogue.h"

#include <deque>

// Answers a command's questions from a list and fails the test on a question that is not the next one
// expected, and on answers that nobody asked for. No box is ever shown, so nothing can hang.
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

    bool confirm(const QString &question, Icon icon) override
    {
        return take(line("confirm", question, icon)).answer;
    }
    bool ask(const QString &question) override { return take("ask: " + question).answer; }
    int choose(const QString &question, const QStringList &choices) override
    {
        return take("choose(" + choices.join('|') + "): " + question).choice;
    }
    void tell(const QString &text, Icon icon) override { take(line("tell", text, icon)); }
    QString chooseFolder(const QString &title, const QString &start) override
    {
        startFolder = start;
        return take("folder: " + title).folder;
    }
    RestoreChoice chooseBackups() override { return take("backups").backups; }
    PendingAnswer askPending(const std::vector<PendingChange> &) override
    {
        take("pending");
        return {};
    }
    void progress(int total, int current) override;
    void progressBar(double fraction) override { bars << fraction; }
    QString target() const override { return m_target; }
    void setTarget(const QString &name) override;
    void setLastError(const QString &description, bool withTip) override;
    void setBusy(bool isBusy) override { busyDepth += isBusy ? 1 : -1; }
    void refresh() override { ++refreshes; }

    QStringList log;     // everything that happened, one line each: "confirm: ...", "progress: 1/3", ...
    QStringList targets; // every text that setTarget() was given
    QStringList progresses;
    QList<double> bars;
    QString lastError, lastTip, startFolder;
    int busyDepth = 0;
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

    std::deque<Expected> m_expected;
    QString m_target;
};
