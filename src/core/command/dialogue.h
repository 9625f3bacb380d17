#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <vector>

// Which files the user picked in the restore dialog.
struct RestoreChoice {
    QStringList names = {QString()}; // table names; one empty element: nothing chosen
    QString folder;                  // empty: nothing chosen
};

// A change that an earlier start of the program did not live to end.
struct PendingChange {
    QString what;
    QDateTime begun;
    QString state; // where the rows are now
    QStringList undoing;
    QString finishing; // empty: it can only be undone
};
struct PendingAnswer {
    enum class Action { Later, Undo, Finish, Forget };
    Action action = Action::Later;
    std::size_t change = 0; // its place in the list
};

enum class Icon { Information, Critical };

// The only way for a command to reach the user. The boxes carry the window's caption as title.
class Dialogue {
public:
    virtual ~Dialogue() = default;

    virtual bool confirm(const QString &question, Icon icon) = 0; // OK and Cancel; true: OK
    // Critical icon; OK and Cancel, and Enter is Cancel: for what nobody may do by habit.
    virtual bool warn(const QString &question) = 0;
    virtual bool ask(const QString &question) = 0;          // Yes and No, question icon; true: Yes
    virtual bool askCarefully(const QString &question) = 0; // the same, and Enter is No
    // Question icon, a button for each choice, and Cancel: the choice's index; -1: cancelled.
    virtual int choose(const QString &question, const QStringList &choices) = 0;
    virtual void tell(const QString &text, Icon icon) = 0; // OK
    void inform(const QString &text) { tell(text, Icon::Information); }
    void refuse(const QString &text) { tell(text, Icon::Critical); }

    // A folder that exists, without a separator at its end ("/" excepted); a null text: cancelled.
    virtual QString chooseFolder(const QString &title, const QString &startFolder) = 0;
    virtual RestoreChoice chooseBackups() = 0;
    // Shows all of them with their statements, and asks what to do with one.
    virtual PendingAnswer askPending(const std::vector<PendingChange> &changes) = 0;

    virtual void progress(int total, int current) = 0; // sProgress: "3/12", events, the bar
    virtual void progressBar(double fraction) = 0;     // sProgressBar on picStatus
    virtual QString target() const = 0;                // lblCkTableName
    virtual void setTarget(const QString &name) = 0;
    // txtError; with the tip, Label13's tool tip as well.
    virtual void setLastError(const QString &description, bool withTip) = 0;
    virtual void setBusy(bool isBusy) = 0; // the hourglass pointer; calls nest
    virtual void refresh() = 0;            // repaints the window
};

// The hourglass for as long as it lives.
class BusyPointer {
public:
    explicit BusyPointer(Dialogue &dialogue)
        : m_dialogue(dialogue)
    {
        m_dialogue.setBusy(true);
    }
    ~BusyPointer() { m_dialogue.setBusy(false); }
    BusyPointer(const BusyPointer &) = delete;
    BusyPointer &operator=(const BusyPointer &) = delete;

private:
    Dialogue &m_dialogue;
};
