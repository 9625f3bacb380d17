#pragma once

#include "core/basconnection.h"
#include "core/command.h"
#include "core/connect.h"
#include "core/statements.h"
#include "maintenance/routines.h"
#include "support/testserver.h"

#include <QTest>

// Says OK and Yes to everything and keeps what it was told.
class WillingDialogue : public Dialogue {
public:
    bool confirm(const QString &, Icon) override { return true; }
    bool ask(const QString &) override { return true; }
    void tell(const QString &text, Icon) override { told << text; }
    QString chooseFolder(const QString &, const QString &) override { return {}; }
    RestoreChoice chooseBackups() override { return {}; }
    void progress(int, int) override {}
    void progressBar(double) override {}
    QString target() const override { return {}; }
    void setTarget(const QString &) override {}
    void setLastError(const QString &description, bool) override { lastError = description; }
    void setBusy(bool) override {}
    void refresh() override {}

    QStringList told;
    QString lastError;
};

// A user at the window: what clicks leave in the session and the detail, and what commands make of it.
struct DdlUser {
    DdlUser(const TestServer &server, const QString &driver, const QString &database, int port = 0)
    {
        session.makeConnection = [this](const QString &string) { return createConnection(string, pump); };
        session.gDsn = noDataSource();
        session.gDriver = driver;
        session.gServer = QStringLiteral("127.0.0.1");
        session.gUser = session.gPass = QStringLiteral("demo");
        session.gPort = QString::number(port > 0 ? port : server.port());
        QString why;
        // As when the user connects: no default database yet.
        if (!fConnect(session, &why))
            qFatal("%s", qPrintable(why));
        session.gDbName = selection.database = database;
    }

    void clickTable(const QString &name)
    {
        selection.lblTableName = name;
        session.gOldFields.assign(1, {});
        const QString table = qualifiedName(session.gDbName, name);
        RecordSet rows =
            session.connection().execute(QStringLiteral("show full fields from ") + table + u';');
        for (; !rows.isEof(); rows.moveNext()) {
            FieldRec record;
            record.Field = u' ' + rows.text(QStringLiteral("Field"));
            session.gOldFields.push_back(record);
        }
        rows = session.connection().execute(QStringLiteral("show create table ") + table + u';');
        selection.txtField = selection.lblCreateTable =
            rows.isEof() ? QString() : shownCreateText(rows.fieldName(0), rows.text(1));
    }
    void clickRoutine(const QString &tag, const QString &name)
    {
        selection.routine = tag + u'\t' + name;
        RecordSet rows = session.connection().execute(routineShowStatement(tag, selection.database, name));
        selection.txtProc = selection.lblCreateProc =
            rows.isEof() ? QString() : shownRoutineText(rows.text(2));
    }
    Outcome run(Outcome (*command)(CommandContext &))
    {
        dialogue.told.clear();
        dialogue.lastError.clear();
        CommandContext context{session, selection, dialogue};
        return command(context);
    }

    BlockingPump pump;
    Session session;
    Selection selection;
    WillingDialogue dialogue;
};

// Both kinds of connection.
inline QStringList drivers()
{
    return {nativeDriverName(), QStringLiteral("MySQL ODBC 3.51 Driver")};
}

inline void driverRows()
{
    QTest::addColumn<QString>("driver");
    for (const QString &driver : drivers())
        QTest::newRow(qPrintable(driver)) << driver;
}
