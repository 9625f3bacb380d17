#pragma once

#include "browser/dataviewer.h"
#include "browser/frmTarnwellControls.h"
#include "browser/objectlists.h"
#include "browser/tabledetail.h"
#include "controls/widgetdialogue.h"
#include "core/command.h"

#include <QPointer>
#include <QWidget>

class frmSql;

// The program's first window: connection, lists, detail and the buttons of every command. Closing it saves
// the settings, closes the connection and ends the program.
class frmTarnwell : public QWidget {
    Q_OBJECT

public:
    // The session outlives the window.
    explicit frmTarnwell(Session &session);
    ~frmTarnwell() override;

    void sConnectMode(bool connected);
    void GetDSNsAndDrivers();

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    static constexpr QSize standardSize{1024, 700};
    static inline const QString sizeKey = QStringLiteral("main");

    void Form_Load();
    void Form_Activate();
    void connectSignals();
    void addKeys();
    void refreshShown();

    void cboDSNList_Click();
    void cmdConnect_Click();
    void cmdClose_Click();
    void cmdExec_Click();
    void showInConsole(const QString &statement);
    void cmdCreateDb_Click();
    void cmdInOut_Click();
    QString missingEntry() const;
    void showConnected();

    void choose(ChosenList *list);
    void serveChoice(const ChosenList &list);
    // Edited definitions that are about to be replaced go into the console's history. True when it took any.
    bool keepEdits(bool ofTable, bool ofRoutine);
    // Errors that the action leaves to the window are shown with the server's words.
    void guarded(const Runner::Action &action);
    // The same as the one thing that runs; a click that comes while another runs is dropped.
    void runAlone(const QObject *control, const QString &what, const Runner::Action &action);
    void run(const Command &command);
    void reload(Reload what);
    Selection selection() const;

    void disconnectNow();

    Session &m_session;
    TarnwellControls m_controls;
    WidgetDialogue m_dialogue;
    ObjectLists m_lists;
    TableDetail m_detail;
    DataViewer m_viewer;
    QPointer<frmSql> m_console;
};
