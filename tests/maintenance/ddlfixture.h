#pragma once

#include "core/basconnection.h"
#include "core/command.h"
#include "maintenance/tablechangetext.h"
#include "support/scriptedconnection.h"
#include "support/scripteddialogue.h"

#include <QTest>

// A window's state and a scripted server with the database `d`, for commands that change definitions.
struct DdlFixture {
    DdlFixture()
    {
        session.makeConnection = script.factory();
        session.gDsn = noDataSource();
        session.gDbName = selection.database = QStringLiteral("d");
        session.gCn = script.connect();
        script.connectionStrings.clear();
    }

    // Runs a command as a click does.
    Outcome run(Outcome (*command)(CommandContext &))
    {
        CommandContext context{session, selection, dialogue};
        const Outcome outcome = command(context);
        if (dialogue.busyDepth != 0)
            QTest::qFail("the hourglass stays", __FILE__, __LINE__);
        return outcome;
    }

    Script script;
    Session session;
    Selection selection;
    ScriptedDialogue dialogue;
};

// The copy's name holds the minute: a test that expects it does not start at the end of one.
inline QString copyOf(const QString &table, const QString &database = QStringLiteral("d"))
{
    if (QTime::currentTime().second() > 56)
        QTest::qSleep(4000);
    return copyName(database, table, QDateTime::currentDateTime());
}
