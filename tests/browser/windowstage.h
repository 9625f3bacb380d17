#pragma once

#include "about/frmAbout.h"
#include "browser/frmTarnwell.h"
#include "console/frmSql.h"
#include "console/frmTextEditer.h"
#include "controls/cellviewer.h"
#include "controls/findbar.h"
#include "inout/frmInOut.h"
#include "maintenance/frmCreateDB.h"
#include "maintenance/frmRestore.h"
#include "support/gui/boxes.h"
#include "support/gui/stage.h"
#include "support/scripteddialogue.h"
#include "users/frmUserAdd.h"

#include <QApplication>

// Any window on a scripted server with a database, a table, a routine and an account.
struct WindowStage : Stage {
    WindowStage();

    QWidget &shown(QWidget *window)
    {
        opened.reset(window);
        window->show();
        return *window;
    }
    frmTarnwell &mainWindow() { return static_cast<frmTarnwell &>(shown(new frmTarnwell(session))); }
    void says(const char *statement, const QStringList &fields, const QStringList &row)
    {
        std::vector<std::optional<QString>> values;
        for (const QString &value : row)
            values.push_back(value == u"NULL" ? std::nullopt : std::optional(value));
        script.always(statement, Reply::table(fields, {values}));
    }
    void connect(const QString &server = "localhost");
    frmTarnwell &connected();
    frmSql &console(const char *view);

    ScriptedDialogue dialogue;
    Boxes boxes; // none is expected
    std::unique_ptr<QWidget> opened;
};

inline WindowStage::WindowStage()
{
    session.gDbName = QStringLiteral("d");
    says("show databases;", {"Database"}, {"d"});
    says("show tables from `d`;", {"Tables_in_d"}, {"t"});
    says("show create table `d`.t;", {"Table", "Create Table"}, {"t", "CREATE TABLE `t` (`a` int)"});
    says("show full fields from `d`.t;", {"Field", "Type"}, {"a", "int"});
    says("show procedure status ;", {"Db", "Name"}, {"d", "p"});
    says("show create procedure `d`.p;", {"Procedure", "sql_mode", "Create"},
         {"p", "", "CREATE PROCEDURE p() x"});
    says("select * from mysql.user;", {"Host", "User"}, {"%", "tanaka"});
}

inline void WindowStage::connect(const QString &server)
{
    for (const char *box : {"txtServer", "txtUser"})
        control<QLineEdit>(*opened, box).setText(server);
    press(*opened, {"cmdConnect"});
}

inline frmTarnwell &WindowStage::connected()
{
    frmTarnwell &window = mainWindow();
    connect();
    press(window, {"cmdShowDb"});
    for (const char *list : {"lstDb", "lstProcFunc", "lstTables"})
        control<ChosenList>(window, list).setCurrentRow(0);
    return window;
}

inline frmSql &WindowStage::console(const char *view)
{
    session.gCn = script.connect();
    auto &window = static_cast<frmSql &>(shown(new frmSql(
        session, [] { return true; }, std::make_unique<ScriptedDialogue>())));
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    press(window, {view, "ckMemo_0"});
    return window;
}

using Open = std::function<QWidget *(WindowStage &)>;

// A window, or a state of it that shows other controls.
struct Scene {
    const char *name;
    Open open;
};

inline Scene mainPage(const char *name, const char *button)
{
    return {name, [button](WindowStage &stage) {
                frmTarnwell &window = stage.connected();
                press(window, {button});
                return &window;
            }};
}

inline Scene consoleView(const char *name, const char *view)
{
    return {name, [view](WindowStage &stage) { return &stage.console(view); }};
}

inline QWidget *findBar(WindowStage &stage)
{
    frmSql &window = stage.console("optRecord_1");
    control<FlexGrid>(window, "flgrid_Record").findChild<FindBar *>()->open({});
    return &window;
}

inline Scene users(const char *name, int row)
{
    return {name, [row](WindowStage &stage) {
                stage.session.gCn = stage.script.connect();
                QWidget &window = stage.shown(new frmUserAdd(stage.session, nullptr, &stage.dialogue));
                control<ChosenList>(window, "lstUser").setCurrentRow(row);
                return &window;
            }};
}

inline Scene inOut(const char *name, const char *direction)
{
    return {name, [direction](WindowStage &stage) {
                QWidget &window =
                    stage.shown(new frmInOut(stage.session, "[TABLE]\tt", nullptr, stage.dialogue));
                press(window, {direction});
                return &window;
            }};
}

inline QWidget *cellViewer(WindowStage &stage)
{
    auto *viewer = new CellViewer(nullptr);
    viewer->setAttribute(Qt::WA_DeleteOnClose, false);
    viewer->showValue({"a"}, {"x"}, 1);
    return &stage.shown(viewer);
}

inline std::vector<Scene> scenes()
{
    return {
        {"main, not connected", [](WindowStage &stage) { return &stage.mainWindow(); }},
        mainPage("main, text", "optField_0"),
        mainPage("main, grid", "optField_1"),
        mainPage("main, status", "optField_2"),
        mainPage("main, data", "optField_3"),
        mainPage("main, routine", "optTP_1"),
        mainPage("main, log", "showLog"),
        consoleView("console, text", "optRecord_0"),
        consoleView("console, grid", "optRecord_1"),
        consoleView("console, plan", "optRecord_2"),
        consoleView("console, variables", "optRecord_3"),
        {"find bar", findBar},
        {"text editor",
         [](WindowStage &stage) { return &stage.shown(new frmTextEditer(stage.session, nullptr)); }},
        {"restore", [](WindowStage &stage) { return &stage.shown(new frmRestore); }},
        {"create database",
         [](WindowStage &stage) {
             return &stage.shown(new frmCreateDB(nullptr, stage.session, stage.dialogue));
         }},
        users("users, new", 0),
        users("users, account", 1),
        inOut("out", "optInOut_0"),
        inOut("in", "optInOut_1"),
        {"about", [](WindowStage &stage) { return &stage.shown(new frmAbout(nullptr)); }},
        {"cell", cellViewer},
    };
}
