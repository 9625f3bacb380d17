#pragma once

#include "about/frmabout.h"
#include "browser/frmTarnwell.h"
#include "console/frmSql.h"
#include "console/frmTextEditer.h"
#include "controls/cellviewer.h"
#include "controls/findbar.h"
#include "controls/messagebox.h"
#include "controls/windowpump.h"
#include "inout/frminout.h"
#include "maintenance/frmCreateDB.h"
#include "maintenance/frmRestore.h"
#include "support/gui/boxes.h"
#include "support/gui/control.h"
#include "support/scriptedconnection.h"
#include "support/scripteddialogue.h"
#include "users/frmuseradd.h"

#include <QApplication>
#include <QBuffer>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

// What the windows stand on: a scripted server with a database, a table, a routine and an account.
struct Stage {
    Stage();

    QWidget &shown(QWidget *window)
    {
        opened.reset(window);
        window->show();
        return *window;
    }
    frmTarnwell &mainWindow()
    {
        session.makeConnection = script.factory();
        return static_cast<frmTarnwell &>(shown(new frmTarnwell(session, pump)));
    }
    void says(const char *statement, const QStringList &fields, const QStringList &row)
    {
        std::vector<std::optional<QString>> values;
        for (const QString &value : row)
            values.push_back(value == u"NULL" ? std::nullopt : std::optional(value));
        script.always(statement, Reply::table(fields, {values}));
    }
    void connect();
    frmTarnwell &connected();
    frmSql &console(const char *view);

    QTemporaryDir folder;
    Script script;
    WindowPump pump;
    Session session;
    ScriptedDialogue dialogue;
    Boxes boxes; // none is expected
    std::unique_ptr<QWidget> opened;
};

inline void press(const QWidget &window, std::initializer_list<const char *> buttons)
{
    for (const char *name : buttons)
        control<QAbstractButton>(window, name).click();
}

inline Stage::Stage()
{
    session.programFolder = folder.path();
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

inline void Stage::connect()
{
    for (const char *box : {"txtServer", "txtUser"})
        control<QLineEdit>(*opened, box).setText("localhost");
    press(*opened, {"cmdConnect"});
}

inline frmTarnwell &Stage::connected()
{
    frmTarnwell &window = mainWindow();
    connect();
    press(window, {"cmdShowDb"});
    for (const char *list : {"lstDb", "lstProcFunc", "lstTables"})
        control<ChosenList>(window, list).setCurrentRow(0);
    return window;
}

inline frmSql &Stage::console(const char *view)
{
    session.gCn = script.connect();
    auto &window = static_cast<frmSql &>(shown(new frmSql(
        session, [] { return true; }, std::make_unique<ScriptedDialogue>())));
    window.setAttribute(Qt::WA_DeleteOnClose, false);
    press(window, {view, "ckMemo_0"});
    return window;
}

inline std::string png()
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImage image(3, 2, QImage::Format_RGB32);
    image.fill(Qt::red); // whatever memory holds would be seen as letters for which there is no font
    image.save(&buffer, "png");
    return bytes.toStdString();
}

using Visit = std::function<void(QWidget &)>;
using Open = std::function<void(Stage &, const Visit &)>;

// A window, or a state of it that shows other controls.
struct Scene {
    const char *name;
    Open open;
};

inline Open mainPage(const char *button)
{
    return [button](Stage &stage, const Visit &visit) {
        frmTarnwell &window = stage.connected();
        press(window, {button});
        visit(window);
    };
}

inline Open consoleView(const char *view)
{
    return [view](Stage &stage, const Visit &visit) { visit(stage.console(view)); };
}

inline Open findBar()
{
    return [](Stage &stage, const Visit &visit) {
        frmSql &window = stage.console("optRecord_1");
        control<FlexGrid>(window, "flgrid_Record").findChild<FindBar *>()->open({});
        visit(window);
    };
}

inline Open users(int row)
{
    return [row](Stage &stage, const Visit &visit) {
        stage.session.gCn = stage.script.connect();
        QWidget &window = stage.shown(new frmUserAdd(stage.session, nullptr, &stage.dialogue));
        control<ChosenList>(window, "lstUser").setCurrentRow(row);
        visit(window);
    };
}

inline Open inOut(const char *direction)
{
    return [direction](Stage &stage, const Visit &visit) {
        QWidget &window = stage.shown(new frmInOut(stage.session, "[TABLE]\tt", nullptr, stage.dialogue));
        press(window, {direction});
        visit(window);
    };
}

inline Open cell(const std::string &value)
{
    return [value](Stage &stage, const Visit &visit) {
        auto *viewer = new CellViewer(nullptr);
        viewer->setAttribute(Qt::WA_DeleteOnClose, false);
        viewer->showValue({"a"}, {value}, 1);
        visit(stage.shown(viewer));
    };
}

inline Open longMessage()
{
    return [](Stage &stage, const Visit &visit) {
        stage.boxes.setPaused(true);
        QTimer::singleShot(0, [&visit] {
            QWidget *box = QApplication::activeModalWidget();
            visit(*box);
            box->close();
        });
        showBox(nullptr, QMessageBox::Warning, QString(2000, u'x'), QMessageBox::Ok | QMessageBox::Cancel);
    };
}

// A dialog that is shown as it is made.
template <class Make>
Open plain(Make make)
{
    return [make](Stage &stage, const Visit &visit) { visit(stage.shown(make(stage))); };
}

inline std::vector<Scene> scenes()
{
    return {
        {"main, not connected", [](Stage &stage, const Visit &visit) { visit(stage.mainWindow()); }},
        {"main, text", mainPage("optField_0")},
        {"main, grid", mainPage("optField_1")},
        {"main, status", mainPage("optField_2")},
        {"main, data", mainPage("optField_3")},
        {"main, routine", mainPage("optTP_1")},
        {"main, log", mainPage("showLog")},
        {"console, text", consoleView("optRecord_0")},
        {"console, grid", consoleView("optRecord_1")},
        {"console, plan", consoleView("optRecord_2")},
        {"console, variables", consoleView("optRecord_3")},
        {"find bar", findBar()},
        {"text editor", plain([](Stage &stage) { return new frmTextEditer(stage.session, nullptr); })},
        {"restore", plain([](Stage &) { return new frmRestore; })},
        {"create database",
         plain([](Stage &stage) { return new frmCreateDB(nullptr, stage.session, stage.dialogue); })},
        {"users, new", users(0)},
        {"users, account", users(1)},
        {"out", inOut("optInOut_0")},
        {"in", inOut("optInOut_1")},
        {"about", plain([](Stage &) { return new frmAbout(nullptr); })},
        {"cell, text", cell("x")},
        {"cell, picture", cell(png())},
        {"long message", longMessage()},
    };
}
