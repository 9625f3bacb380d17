#pragma once

#include "controls/lists/chosenlist.h"
#include "controls/window/windowpump.h"
#include "core/driver/connect.h"
#include "core/session/basconnection.h"
#include "support/gui/control.h"
#include "support/scriptedconnection.h"
#include "support/testserver.h"

#include <QAbstractButton>
#include <QTemporaryDir>
#include <QTest>

// What a window of the program stands on: a session in a program folder of its own, and a server, which is
// scripted unless a real one is asked for.
struct Stage {
    enum class Server { Scripted, Real };

    explicit Stage(Server server = Server::Scripted)
    {
        session.programFolder = folder.path();
        session.gIniPath = folder.filePath("Tarnwell.ini");
        if (server == Server::Scripted)
            session.connectBy(script.factory());
        else
            session.connectBy(createConnection, pump);
    }

    QTemporaryDir folder;
    Script script;
    WindowPump pump;
    Session session;
};

// A user's hands.

// The user goes from another window of the program to this one.
inline void goTo(QWidget &window)
{
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QCoreApplication::processEvents();
}

inline void press(const QWidget &window, std::initializer_list<const char *> buttons)
{
    for (const char *name : buttons)
        control<QAbstractButton>(window, name).click();
}

inline void clickItem(ChosenList &list, QListWidgetItem &item)
{
    list.scrollToItem(&item);
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualItemRect(&item).center());
}

inline void clickItem(ChosenList &list, const QString &text)
{
    const QList<QListWidgetItem *> items = list.findItems(text, Qt::MatchExactly);
    QVERIFY2(!items.isEmpty(), qPrintable(text));
    clickItem(list, *items.first());
}
