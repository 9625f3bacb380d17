#pragma once

#include "core/command.h"
#include "maintenance/exactsession.h"
#include "support/scriptedconnection.h"
#include "support/scripteddialogue.h"

#include <QDir>
#include <QFile>
#include <QTest>

// Keeps what is told instead of expecting it: for messages that hold words of the system or the server.
struct ListeningDialogue : ScriptedDialogue {
    void tell(const QString &text, Icon icon) override
    {
        told << text;
        isCritical = icon == Icon::Critical;
    }
    QStringList told;
    bool isCritical = false;
};

// The main window's state with the database `d`, and a scripted server beneath it.
struct BatchFixture {
    BatchFixture()
    {
        session.gDbName = selection.database = QStringLiteral("d");
        session.gCn = script.connect();
        selection.lblPreTable = QStringLiteral("0");
        dialogue.setTarget(QStringLiteral("d全ﾃｰﾌﾞﾙ"));
        dialogue.targets.clear();
        // What an ExactSession asks for first.
        const QString read =
            QStringLiteral("SELECT DATABASE(), @@sql_mode, @@time_zone, @@foreign_key_checks, "
                           "@@sql_select_limit, @@sql_quote_show_create");
        script.always(read, Reply::table({"d", "m", "z", "f", "l", "q"},
                                         {{"before", "ANSI", "SYSTEM", "1", "9", "1"}}));
    }

    Outcome run(Outcome (*command)(CommandContext &))
    {
        CommandContext context{session, selection, dialogue};
        const Outcome outcome = command(context);
        if (dialogue.busyDepth != 0)
            QTest::qFail("the hourglass stays", __FILE__, __LINE__);
        return outcome;
    }

    // A server of today: it does not know the statements for backup and restore.
    void beModern() { script.server = {QStringLiteral("8.0.36"), false, 80036}; }

    Script script;
    Session session;
    Selection selection;
    ScriptedDialogue dialogue;
};

inline void put(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        QTest::qFail(qPrintable(path + file.errorString()), __FILE__, __LINE__);
}

inline QByteArray bytesOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}
