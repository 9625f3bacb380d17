#pragma once

#include "browser/commandmenus.h"
#include "browser/connectionpanel.h"
#include "browser/dataviewer.h"
#include "browser/frmTarnwellControls.h"
#include "browser/objectlists.h"
#include "browser/sheetroom.h"
#include "browser/tabledetail.h"
#include "controls/dialogue/savedconnections.h"
#include "controls/dialogue/widgetdialogue.h"
#include "controls/window/serverstrip.h"
#include "core/command/command.h"
#include "rows/rowsview.h"

#include <QPointer>
#include <QWidget>

class ConnectionStore;
class KeepAlive;
class QSessionManager;
class DiagramWindow;
class ServerWindow;
class SearchWindow;
class SurroundingsPane;
class frmSql;
struct RelatedThing;
struct SearchHit;

// The program's first window: connection, lists, detail and every command. Closing it saves the settings,
// closes the connection and ends the program.
class frmTarnwell : public QWidget {
    Q_OBJECT

public:
    // The session outlives the window.
    explicit frmTarnwell(Session &session);
    ~frmTarnwell() override;

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    // A command that needs the window itself.
    struct WindowCommand : CommandRow {
        void (frmTarnwell::*run)();
    };

    static constexpr QSize standardSize{1024, 700};
    static inline const QString sizeKey = QStringLiteral("main");

    void Form_Load();
    void connectSignals();
    void sConnectMode(bool connected);
    bool mayStopTransfers();
    void endWithDesktop(QSessionManager &desktop);

    // frmTarnwellCommands: what the window itself does at a click.
    static std::span<const WindowCommand> windowCommands();
    void offerCommands();
    void cmdEnd_Click();
    void cmdShowDb_Click();
    void showOwnTable();
    void showOwnRoutine();
    void cmdCreateDb_Click();
    void cmdCreateUser_Click();
    void cmdExec_Click();
    void openSheets();
    void openHistory();
    void openServer();
    void showInConsole(const QString &statement);
    void cmdInOut_Click();
    void cmdDataGet_Click();
    void openRows(const QString &database, const QString &table, const QString &condition);
    void Command1_Click();
    void applyDefinition();
    void refreshShown();
    void refreshList(ChosenList &list);
    void toggleLog();
    void openPalette();
    void openDump();
    void openTableDump();
    void openCopy();
    void openTableCopy();
    void openLoad();
    void openCsvImport();

    // frmTarnwellConnections: connecting, disconnecting, and the saved connections.
    void cmdConnect_Click();
    void connectNow();
    void askAgain(const Failure &failure);
    bool renewsPassword();
    void settlePending();
    void showConnected();
    void cmdClose_Click();
    void disconnectNow();
    void openConnections();
    void takeMarks(const ConnectionProfile &saved);
    void takeEdits(const ConnectionStore &store);
    void showEdits(const ConnectionProfile &saved);
    ConnectionStore readConnections();
    void offerLastConnections(QMenu &menu);
    void addConnections(std::vector<PaletteEntry> &entries);
    void useConnection(const ConnectionProfile &profile, const QString &password, bool connectsNow);
    bool mayLeaveFor(const ConnectionProfile &profile, bool connectsNow);
    bool completeProfile();
    SavedConnections savedConnections();
    void findProfile();
    void noteConnectionUsed();
    QString keepPassword();
    void showPassword(const QString &password);

    // frmTarnwellReconnecting: the connection that is to last.
    void keepAlive();
    void comeBack();
    void comeBackWhenIdle();

    // frmTarnwellRunning: how commands and choices in lists are run, and what is read anew behind them.
    void choose(ChosenList *list);
    void keepShownChoice(ChosenList *list);
    void serveChoice(const ChosenList &list);
    // Edited definitions that are about to be replaced go into the console's history. True when it took any.
    bool keepEdits(bool ofTable, bool ofRoutine);
    // As the one thing that runs; a click that comes while another runs is dropped. Errors that the action
    // leaves to the window are shown with the server's words.
    void runAlone(const QObject *control, const QString &what, const Runner::Action &action);
    void run(const Command &command);
    void reload(Reload what);
    Selection selection() const;

    // frmTarnwellStructure: changing, comparing and searching, and going to what was found.
    void showAlter();
    void openCompare();
    void openSearch();
    void openHit(const SearchHit &hit);
    void toggleSurroundings();
    void showSurroundings();
    void editRelated(const RelatedThing &thing);
    void dropRelated(const RelatedThing &thing);
    void renameShown();
    void openDiagram();

    Session &m_session;
    TarnwellControls m_controls;
    WidgetDialogue m_dialogue;
    ConnectionPanel m_panel;
    ObjectLists m_lists;
    TableDetail m_detail;
    RowsView m_rows;
    DataViewer m_viewer;
    CommandMenus m_menus;
    QPointer<frmSql> m_console;
    QString m_keepsPasswordOf; // saved connection whose password is kept anew once it has proven right
    bool m_hasTriedToComeBack = false; // or given it up, since something ran last
    bool m_hasComeBack = false;        // and it was not looked yet for what is pending there
    KeepAlive *m_keepAlive = nullptr;
    ServerStrips *m_strips = nullptr; // made for the first saved connection
    SheetRoom m_sheets;
    QPointer<ServerWindow> m_server;
    QPointer<SearchWindow> m_search;
    QPointer<DiagramWindow> m_diagram;
    QPointer<SurroundingsPane> m_surroundings; // made when first shown
};
