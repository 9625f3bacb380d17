#pragma once

#include "browser/frmTarnwell.h"
#include "support/gui/boxes.h"
#include "support/gui/stage.h"

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
