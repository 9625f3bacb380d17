#pragma once

#include "batchfixture.h"
#include "core/connect.h"
#include "support/testserver.h"

#include <QTemporaryDir>

// The window's state on a real server with the database `d`; the user agrees to everything.
struct RealFixture {
    RealFixture(const TestServer &server, const QString &connectionString)
    {
        session.gDbName = selection.database = QStringLiteral("d");
        selection.lblPreTable = QStringLiteral("0");
        for (const QString &line : server.run("SHOW FULL TABLES FROM d").split('\n', Qt::SkipEmptyParts)) {
            const QStringList cells = line.split('\t');
            selection.tables << (cells[1] == "VIEW" ? "[VIEW]\t" : "[TABLE]\t") + cells[0];
        }
        session.gCn = createConnection(connectionString, pump);
        session.gCn->open();
    }

    // The box that ends the command.
    QString run(Outcome (*command)(CommandContext &))
    {
        struct Agreeing : ListeningDialogue {
            bool confirm(const QString &, Icon) override { return true; }
            QString chooseFolder(const QString &, const QString &) override { return folder; }
            RestoreChoice chooseBackups() override { return choice; }
            QString folder;
            RestoreChoice choice;
        } dialogue;
        dialogue.folder = choice.folder;
        dialogue.choice = choice;
        CommandContext context{session, selection, dialogue};
        command(context);
        isFailure = dialogue.isCritical;
        progresses = dialogue.progresses;
        return dialogue.told.join('|');
    }

    BlockingPump pump;
    Session session;
    Selection selection;
    RestoreChoice choice;
    bool isFailure = false;
    QStringList progresses;
};
