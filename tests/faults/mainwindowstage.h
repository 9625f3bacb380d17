#pragma once

#include "browser/frmTarnwell.h"
#include "support/gui/stage.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>

#include <memory>

// The main window on a real server.
struct MainWindowStage : Stage {
    std::unique_ptr<frmTarnwell> window;

    MainWindowStage()
        : Stage(Server::Real)
        , window(std::make_unique<frmTarnwell>(session))
    {
        window->show();
    }

    template <class Control>
    Control *control(const char *name) const
    {
        return &::control<Control>(*window, name);
    }
    // The one that cmdExec has opened.
    QWidget *console() const
    {
        for (QWidget *each : QApplication::topLevelWidgets())
            if (each->objectName() == u"frmSql")
                return each;
        return nullptr;
    }
    void click(const char *name) const { QTest::mouseClick(control<QPushButton>(name), Qt::LeftButton); }
    void choose(const char *name, const QString &text) const { clickItem(*control<ChosenList>(name), text); }
    void enter(const QString &driver, int port, const QString &user = "demo",
               const QString &password = "demo") const
    {
        control<QComboBox>("cboDSNList")->setCurrentIndex(0);
        control<QComboBox>("cboDrivers")->setEditText(driver);
        control<QLineEdit>("txtServer")->setText("127.0.0.1");
        control<QLineEdit>("txtUser")->setText(user);
        control<QLineEdit>("txtPass")->setText(password);
        control<QLineEdit>("txtPort")->setText(QString::number(port));
    }
};

inline void bothConnections()
{
    QTest::addColumn<QString>("driver");
    QTest::newRow("ODBC") << "MySQL ODBC 3.51 Driver";
    QTest::newRow("built in") << nativeDriverName();
}
