// The main window's commands: its own and those of the rooms.
#include "about/frmAbout.h"
#include "browser/frmTarnwell.h"
#include "console/frmSql.h"
#include "controls/window/building.h"
#include "controls/window/narrow.h"
#include "core/session/basconnection.h"
#include "inout/frmInOut.h"
#include "maintenance/commands.h"
#include "maintenance/frmCreateDB.h"
#include "server/serverwindow.h"
#include "transfer/commands.h"
#include "users/frmUserAdd.h"

#include <QAction>
#include <QApplication>

std::span<const frmTarnwell::WindowCommand> frmTarnwell::windowCommands()
{
    constexpr Needs localTable = Needs::Table | Needs::LocalServer;
    using W = frmTarnwell;
    static constexpr WindowCommand commands[] = {
        {{"cmdConnect", u"接続", "Alt+C", Menu::Connection, Needs::NoConnection}, &W::cmdConnect_Click},
        {{"openConnections", u"接続先", "Ctrl+K", Menu::Connection, Needs::Nothing}, &W::openConnections},
        {{"cmdClose", u"切断", "Alt+D", Menu::Connection, Needs::Connection}, &W::cmdClose_Click},
        {{"cmdEnd", u"終了", "Ctrl+Q", Menu::Connection, Needs::Nothing}, &W::cmdEnd_Click},
        {{"cmdShowDb", u"ﾃﾞｰﾀﾍﾞｰｽ表示", "Alt+L", Menu::Database, Needs::Connection}, &W::cmdShowDb_Click},
        {{"cmdCreateDb", u"ﾃﾞｰﾀﾍﾞｰｽ作成", "Alt+N", Menu::Database, Needs::Connection | Needs::MayWrite},
         &W::cmdCreateDb_Click},
        {{"openDump", u"ダンプ...", "Ctrl+Shift+D", Menu::Database, Needs::Databases}, &W::openDump},
        {{"openCopy", u"別の接続へコピー...", "", Menu::Database, Needs::Databases}, &W::openCopy},
        {{"openLoad", u"SQL ファイルの読み込み...", "", Menu::Database, Needs::Connection | Needs::MayWrite},
         &W::openLoad},
        {{"openCsvImport", u"CSV の取り込み...", "", Menu::Table, Needs::Databases | Needs::MayWrite},
         &W::openCsvImport},
        {{"openTableDump", u"テーブルのダンプ...", "", Menu::Table, Needs::Table}, &W::openTableDump},
        {{"openTableCopy", u"テーブルを別の接続へコピー...", "", Menu::Table, Needs::Table},
         &W::openTableCopy},
        {{"cmdDataGet", u"ﾃﾞｰﾀ表示", "F6", Menu::Table, Needs::Table}, &W::cmdDataGet_Click},
        {{"applyDefinition", u"編集した定義で変更", "Ctrl+S", Menu::Table,
          Needs::Connection | Needs::MayWrite},
         &W::applyDefinition},
        {{"showAlter", u"ALTER文を表示", "Ctrl+Shift+S", Menu::Table, Needs::Table}, &W::showAlter},
        {{"openCompare", u"データベースの比較...", "Ctrl+Shift+K", Menu::Database, Needs::Databases},
         &W::openCompare},
        {{"showOwnTable", u"サーバーの定義", "", Menu::Table, Needs::Table}, &W::showOwnTable},
        {{"showOwnRoutine", u"ﾙｰﾁﾝのサーバーの定義", "", Menu::Table, Needs::Routine}, &W::showOwnRoutine},
        {{"cmdInOut", u"ﾃﾞｰﾀ入出力", "", Menu::Table, localTable}, &W::cmdInOut_Click},
        {{"cmdExec", u"ｸｴﾘ実行", "F9", Menu::Sql, Needs::Databases}, &W::cmdExec_Click},
        {{"openSheets", u"SQLシート", "Ctrl+T", Menu::Sql, Needs::Nothing}, &W::openSheets},
        {{"openHistory", u"SQLの履歴", "Ctrl+R", Menu::Sql, Needs::Nothing}, &W::openHistory},
        {{"cmdCreateUser", u"ﾕｰｻﾞｰ設定", "Alt+U", Menu::Server, Needs::Connection}, &W::cmdCreateUser_Click},
        {{"openServer", u"サーバー", "Ctrl+F8", Menu::Server, Needs::Connection}, &W::openServer},
        {{"openSearch", u"検索", "Ctrl+Shift+F", Menu::View, Needs::Connection}, &W::openSearch},
        {{"showSurroundings", u"周辺", "F4", Menu::View, Needs::Connection}, &W::toggleSurroundings},
        {{"renameTable", u"名前の変更...", "F2", Menu::Table, Needs::Table | Needs::MayWrite},
         &W::renameShown},
        {{"openDiagram", u"図", "Ctrl+Shift+R", Menu::Database, Needs::Databases}, &W::openDiagram},
        {{"refreshShown", u"最新の情報に更新", "F5", Menu::View, Needs::Connection}, &W::refreshShown},
        {{"showLog", u"SQLログ", "F12", Menu::View, Needs::Nothing}, &W::toggleLog},
        {{"openPalette", u"コマンドとオブジェクトを探す", "Ctrl+P", Menu::View, Needs::Nothing},
         &W::openPalette},
        {{"Command1", u"ﾊﾞｰｼﾞｮﾝ情報", "F1", Menu::Help, Needs::Nothing}, &W::Command1_Click},
    };
    return commands;
}

void frmTarnwell::offerCommands()
{
    for (const WindowCommand &command : windowCommands())
        m_menus.add(command, [this, &command] { (this->*command.run)(); });
    for (const std::span<const Command> &room : {maintenanceCommands()})
        for (const Command &command : room) {
            CommandRow row = command;
            if (command.writes)
                row.needs = row.needs | Needs::MayWrite;
            m_menus.add(row, [this, &command] { run(command); });
        }

    m_menus.extend(Menu::Connection, [this](QMenu &menu) { offerLastConnections(menu); });

    // From every window of the program.
    for (const char *name : {"action_openSheets", "action_openHistory", "action_openServer"})
        findChild<QAction *>(QLatin1String(name))->setShortcutContext(Qt::ApplicationShortcut);

    // In the grids this key edits a cell.
    auto *rename = findChild<QAction *>(QStringLiteral("action_renameTable"));
    rename->setShortcutContext(Qt::WidgetShortcut);
    removeAction(rename);
    m_controls.lstTables->addAction(rename);

    const auto isOfRoutine = [](const CommandRow &row) { return includes(row.needs, Needs::Routine); };
    m_menus.addContextMenu(*m_controls.lstDb, [](const CommandRow &row) {
        return row.menu == Menu::Database || row.menu == Menu::Sql;
    });
    m_menus.addContextMenu(*m_controls.lstTables, [isOfRoutine](const CommandRow &row) {
        return row.menu == Menu::Table && !isOfRoutine(row);
    });
    m_menus.addContextMenu(*m_controls.lstProcFunc, isOfRoutine);
}

void frmTarnwell::cmdEnd_Click()
{
    close();
}

void frmTarnwell::cmdShowDb_Click()
{
    if (!m_rows.mayLeave())
        return;
    m_dialogue.setLastError({}, true);
    reload(Reload::Databases);
    m_controls.lstDb->setFocus(); // one of them is what comes next
}

void frmTarnwell::showOwnTable()
{
    m_dialogue.setLastError({}, true);
    reload(Reload::OwnTableText);
}

void frmTarnwell::showOwnRoutine()
{
    m_dialogue.setLastError({}, true);
    reload(Reload::OwnRoutineText);
}

void frmTarnwell::cmdCreateDb_Click()
{
    if (m_session.runner.isRunning() || !m_rows.mayLeave())
        return;
    TarnwellControls &c = m_controls;
    ChosenList &objects = c.optTP[1]->isChecked() ? *c.lstProcFunc : *c.lstTables;
    const QString database = c.lstDb->currentText(), object = objects.currentText();
    const bool isMade = showCreateDatabase(this, m_session, m_dialogue);
    reload(Reload::Databases);
    if (isMade)
        return;
    c.lstDb->choose(database); // whoever cancels goes on where he was
    objects.choose(object);
}

void frmTarnwell::cmdCreateUser_Click()
{
    if (const std::optional<Account> account = showUserWindow(this, m_session)) {
        openServer();
        m_server->showAccount(account->user, account->host);
    }
}

void frmTarnwell::cmdExec_Click()
{
    if (m_session.gDsn == noDataSource() && m_session.gDbName.isEmpty()) {
        m_dialogue.refuse(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽが選択されていません。"));
        return;
    }
    m_panel.takeTexts();
    // One that was closed lives until the event loop is back where it was closed.
    if (!m_console || !m_session.gSqlOpen) {
        m_console = new frmSql(m_session, [this] { return !m_panel.connect(); });
        connect(m_console, &frmSql::ran, this, [this](const HistoryEntry &note) { m_sheets.remember(note); });
        offerExport(*m_console, m_session);
    }
    bringToFront(*m_console);
}

void frmTarnwell::openSheets()
{
    m_panel.takeTexts();
    m_sheets.open();
}

void frmTarnwell::openHistory()
{
    QWidget *active = QApplication::activeWindow();
    std::function<void(const QString &)> put;
    if (m_console && active == m_console)
        put = [console = m_console](const QString &statement) {
            if (console)
                console->propose(statement);
        };
    const QString failure =
        m_sheets.isActive() ? m_sheets.openOwnHistory() : m_sheets.openHistory(active ? active : this, put);
    if (!failure.isEmpty())
        m_dialogue.refuse(failure);
}

void frmTarnwell::openServer()
{
    // One window; another server takes the place of the last one.
    if (m_server && !m_server->isOf(m_session))
        delete m_server;
    if (!m_server)
        m_server =
            new ServerWindow(m_session, {[this](const QString &statement) { m_sheets.propose(statement); },
                                         savedConnections()});
    bringToFront(*m_server);
}

void frmTarnwell::showInConsole(const QString &statement)
{
    if (m_controls.cmdExec->isEnabled())
        cmdExec_Click();
    if (m_console)
        m_console->propose(statement);
}

void frmTarnwell::cmdInOut_Click()
{
    if (!m_session.runner.isRunning())
        showInOutWindow(this, m_session, m_controls.lstTables->currentText(), m_dialogue);
}

void frmTarnwell::cmdDataGet_Click()
{
    QPushButton *button = m_controls.cmdDataGet;
    if (m_session.runner.isRunning(button)) {
        m_session.runner.stop();
    } else if (m_rows.mayLeave()) {
        m_controls.optField[3]->setChecked(true);
        runAlone(button, button->text(), [this] { m_viewer.cmdDataGet_Click(); });
        // From the list, too, where the keys of the rows would mean the table.
        if (!m_controls.rowsPane->isAncestorOf(focusWidget()))
            m_controls.flGrid_Data->setFocus();
    }
}

void frmTarnwell::openRows(const QString &database, const QString &table, const QString &condition)
{
    TarnwellControls &c = m_controls;
    if (c.lstDb->currentText() != database)
        c.lstDb->choose(database);
    for (const QString &item : c.lstTables->texts()) {
        if (c.lstDb->currentText() != database || ListItem::parse(item).name != table)
            continue;
        c.lstTables->choose(item);
        m_rows.showCondition(database, table, condition);
        c.cmdDataGet->click();
        return;
    }
    m_dialogue.refuse(QStringLiteral("テーブルが一覧にありません: ") + database + u'.' + table);
}

void frmTarnwell::Command1_Click()
{
    showAboutBox(this);
}

void frmTarnwell::applyDefinition()
{
    if (m_controls.optTP[0]->isChecked() && m_controls.optField[3]->isChecked())
        return m_rows.saveRows();
    (m_controls.optTP[0]->isChecked() ? m_controls.cmdCreateTable : m_controls.cmdCreateProc)->click();
}

void frmTarnwell::refreshShown()
{
    TarnwellControls &c = m_controls;
    if (!c.cmdShowDb->isEnabled())
        return;
    const QWidget *const focus = focusWidget();
    for (ChosenList *const list : {c.lstDb, c.lstTables, c.lstProcFunc})
        if (focus && (focus == list || focus->objectName() == list->objectName() + QStringLiteral("_Filter")))
            return refreshList(*list);
    if (c.optTP[1]->isChecked() && c.lstProcFunc->currentItem())
        Q_EMIT c.lstProcFunc->chosen();
    else if (c.lblPreTable->text() == u"1" && c.lstTables->currentItem())
        Q_EMIT c.lstTables->chosen();
    else
        reload(c.lblPreTable->text() == u"0" ? Reload::Objects : Reload::Databases);
}

// What others have made meanwhile; what was chosen is chosen again.
void frmTarnwell::refreshList(ChosenList &list)
{
    if (m_session.runner.isRunning() || !m_rows.mayLeave())
        return;
    const QString chosen = list.currentText();
    reload(&list != m_controls.lstDb && m_controls.lstDb->currentItem() ? Reload::Objects
                                                                        : Reload::Databases);
    list.choose(chosen);
}

void frmTarnwell::toggleLog()
{
    m_controls.log->setVisible(m_controls.showLog->isChecked());
    if (m_controls.log->isVisible())
        bringIntoSight(*m_controls.log);
}

void frmTarnwell::openPalette()
{
    std::vector<PaletteEntry> entries = m_menus.paletteEntries();
    addConnections(entries);
    CommandPalette palette(std::move(entries), this);
    palette.exec();
    if (const PaletteEntry *entry = palette.chosen())
        entry->choose();
}

void frmTarnwell::openDump()
{
    openDumpWindow(m_session, selection(), false);
}

void frmTarnwell::openTableDump()
{
    openDumpWindow(m_session, selection(), true);
}

void frmTarnwell::openCopy()
{
    openCopyWindow(m_session, selection(), false, savedConnections());
}

void frmTarnwell::openTableCopy()
{
    openCopyWindow(m_session, selection(), true, savedConnections());
}

void frmTarnwell::openLoad()
{
    openLoadWindow(m_session);
}

void frmTarnwell::openCsvImport()
{
    openCsvImportWindow(m_session, selection());
}
