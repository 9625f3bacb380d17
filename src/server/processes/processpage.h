#pragma once

#include "server/keyedrows.h"
#include "server/processes/processreading.h"
#include "server/serverpage.h"

class KeyedList;
class QCheckBox;
class QLabel;
class QLineEdit;
class QPushButton;
class SqlTextBox;

// The sessions of the server: what they do, and how to stop them.
class ProcessPage : public ServerPage {
    Q_OBJECT

public:
    explicit ProcessPage(const ServerSurroundings &around);

    // Shows the session, whatever the filter hides; as soon as it is read, when it is not there yet.
    void goTo(const QString &id);

protected:
    void refresh() override;

private:
    struct Reading {
        ProcessList list;
        KeyedTable table; // of its sessions, in the same order
    };

    void buildLayout();
    void connectControls();
    void show(Reading reading);
    void showChoice();
    void showWhole(const Process &process);
    const Process *process(const QString &id) const;
    const Process *current() const;
    // Whether this can be done to the session; the chosen ones of that kind.
    bool isTarget(const QString &id, Kill kill) const;
    QStringList targets(Kill kill) const;
    void kill(Kill kill);
    QString question(Kill kill, const QStringList &ids) const;
    void tellOutcomes(const std::vector<KillOutcome> &outcomes, Kill kill);
    void explain();

    // Used in the connection's thread alone.
    const std::shared_ptr<ProcessReader> m_reader = std::make_shared<ProcessReader>();
    ProcessList m_list;
    KeyedList *m_table;
    QLineEdit *m_filter;
    QCheckBox *m_onlyRunning;
    QPushButton *m_killStatement, *m_killSession, *m_explain, *m_toSheet, *m_copy;
    QLabel *m_note;
    SqlTextBox *m_statement;
    QString m_wanted;                  // to be gone to once it is read
    QString m_shown, m_shownExecution; // whose statement stands below
};
