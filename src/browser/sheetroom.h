#pragma once

#include "core/session/historystore.h"
#include "sheets/sheetwindow.h"

#include <QPointer>

#include <functional>

// The SQL sheets and the history of statements, as the main window offers them: nothing of them is made
// before it is first wanted.
class SheetRoom {
public:
    explicit SheetRoom(Session &session)
        : m_session(session)
    {
    }
    ~SheetRoom();

    // In front; another sheet when it is in front already.
    void open();
    // False: its user stays.
    bool close();
    // What the program's connection is called and may do, for the sheets that work on the same one.
    void takeMarks(const ConnectionProfile &profile);
    // Over the window that is active; what is chosen goes to the function, or into a new sheet. Says why
    // there is none: empty where it opened.
    QString openHistory(QWidget *parent, std::function<void(const QString &)> put);
    // Into a sheet of the window, which is opened for it; with settings into one that works with them.
    void propose(const QString &statement, std::unique_ptr<Session> there = {});
    QString openOwnHistory() { return m_window->openHistory(); }
    bool isActive() const { return m_window && m_window->isActiveWindow(); }
    // With time and server; none that holds a password.
    void remember(HistoryEntry entry);

private:
    void show();
    HistoryStore *history(const QString &justRun = {});
    SheetServices services();
    QStringList lastStatements();

    Session &m_session;
    QPointer<SheetWindow> m_window;
    std::unique_ptr<HistoryStore> m_history;
    QString m_whyNoHistory; // empty: not tried yet, or there is one
};
