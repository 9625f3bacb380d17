#pragma once

#include "core/command/command.h"
#include "core/driver/connect.h"
#include "core/session/basconnection.h"
#include "core/sql/statements.h"
#include "maintenance/routines.h"
#include "support/rows.h"
#include "support/scriptedconnection.h"
#include "support/scripteddialogue.h"
#include "support/testserver.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

using Run = Outcome (*)(CommandContext &);
Q_DECLARE_METATYPE(Run)

// Says OK and Yes to everything and keeps what it is told instead of expecting it: for messages that hold
// words of the system or the server.
struct AgreeingDialogue : ScriptedDialogue {
    bool confirm(const QString &question, Icon) override
    {
        lastQuestion = question;
        return ++questions <= mostAgreed;
    }
    bool ask(const QString &) override { return ++questions > 0; }
    int choose(const QString &question, const QStringList &) override
    {
        told << question;
        return chosen;
    }
    QString chooseFolder(const QString &, const QString &) override { return choice.folder; }
    RestoreChoice chooseBackups() override { return choice; }
    PendingAnswer askPending(const std::vector<PendingChange> &changes) override
    {
        using Action = PendingAnswer::Action;
        pending.insert(pending.end(), changes.begin(), changes.end());
        const Action action = std::exchange(pendingAction, Action::Later);
        return {action == Action::Finish && changes[0].finishing.isEmpty() ? Action::Undo : action};
    }
    void tell(const QString &text, Icon icon) override
    {
        told << text;
        isCritical = icon == Icon::Critical;
    }
    RestoreChoice choice;
    PendingAnswer::Action pendingAction = PendingAnswer::Action::Later; // at first, then later
    std::vector<PendingChange> pending;
    QStringList told;
    QString lastQuestion;
    bool isCritical = false;
    int questions = 0, mostAgreed = 1000;
    int chosen = 1; // among the choices of a question
};

// The main window's state with the database `d`, a scripted server beneath it and a scripted user before it.
struct ScriptedStage {
    ScriptedStage()
    {
        session.connectBy(script.factory());
        session.gDsn = noDataSource();
        session.gDbName = selection.database = "d";
        session.gCn = script.connect();
        script.connectionStrings.clear();
        selection.lblPreTable = "0";
        dialogue.setTarget("d全ﾃｰﾌﾞﾙ");
        dialogue.targets.clear();
    }

    Outcome run(Run command) { return run(command, dialogue); }
    Outcome run(Run command, ScriptedDialogue &user)
    {
        CommandContext context{session, selection, user};
        const Outcome outcome = command(context);
        if (user.busyDepth != 0)
            QTest::qFail("the hourglass stays", __FILE__, __LINE__);
        return outcome;
    }

    Script script;
    Session session;
    Selection selection;
    ScriptedDialogue dialogue;
};

// A real connection whose statements a test looks at, holds back or answers itself.
class WrappedConnection : public Connection {
public:
    using Execute = std::function<RecordSet(Connection &inner, const QString &statement)>;
    // In the place of the session's own.
    static void into(Session &session, Execute execute)
    {
        session.gCn = std::make_unique<WrappedConnection>(std::move(session.gCn), std::move(execute));
    }
    WrappedConnection(std::unique_ptr<Connection> inner, Execute execute)
        : m_inner(std::move(inner))
        , m_execute(std::move(execute))
    {
    }
    void open() override { m_inner->open(); }
    void close() override { m_inner->close(); }
    bool isOpen() const override { return m_inner->isOpen(); }
    QString connectionString() const override { return m_inner->connectionString(); }
    ServerInfo server() const override { return m_inner->server(); }
    bool isBusy() const override { return m_inner->isBusy(); }
    void cancel() override { m_inner->cancel(); }
    RecordSet execute(const QString &statement) override { return m_execute(*m_inner, statement); }

private:
    std::unique_ptr<Connection> m_inner;
    Execute m_execute;
};

// A user who agrees to everything, at the window's state on a real server.
struct RealStage {
    RealStage(const TestServer &server, const QString &driver, const QString &database = "d", int port = 0,
              const QString &account = "demo")
    {
        session.connectBy(createConnection, pump);
        session.gDsn = noDataSource();
        session.gDriver = driver;
        session.gServer = "127.0.0.1";
        session.gUser = account;
        session.gPass = "demo";
        session.gPort = QString::number(port > 0 ? port : server.port());
        QString why;
        // As when the user connects: no default database yet.
        if (!fConnect(session, &why))
            qFatal("%s", qPrintable(why));
        session.gDbName = selection.database = database;
        selection.lblPreTable = "0";
    }

    // What clicks leave in the session and the selection.
    void listTables(const TestServer &server)
    {
        const QStringList lines =
            server.run("SHOW FULL TABLES", session.gDbName).split('\n', Qt::SkipEmptyParts);
        for (const QString &line : lines)
            selection.tables << (line.endsWith("VIEW") ? "[VIEW]\t" : "[TABLE]\t") + line.section('\t', 0, 0);
    }
    void clickTable(const QString &name)
    {
        selection.lblTableName = name;
        session.gOldFields.assign(1, {});
        const QString table = qualifiedName(session.gDbName, name);
        RecordSet rows = session.connection().execute("show full fields from " + table + u';');
        for (; !rows.isEof(); rows.moveNext()) {
            FieldRec record;
            record.Field = u' ' + rows.text(QStringLiteral("Field"));
            session.gOldFields.push_back(record);
        }
        rows = session.connection().execute("show create table " + table + u';');
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
    // Replaces what stands in `text`: pairs of a piece and its successor.
    static void edit(QString &text, const QStringList &pieces)
    {
        for (qsizetype i = 0; i + 1 < pieces.size(); i += 2) {
            QVERIFY2(text.contains(pieces[i]), qPrintable(text));
            text.replace(pieces[i], pieces[i + 1]);
        }
    }

    Outcome run(Run command)
    {
        dialogue.told.clear();
        dialogue.lastError.clear();
        CommandContext context{session, selection, dialogue};
        return command(context);
    }
    // The boxes that ended the last command.
    QString told() const { return dialogue.told.join('|'); }

    BlockingPump pump;
    Session session;
    Selection selection;
    AgreeingDialogue dialogue;
};

// The test's own look at the server: faster than the client program where hundreds of changes are tried.
class DirectConnection {
public:
    explicit DirectConnection(const TestServer &server)
        : m_connection(createConnection(server.nativeString(), m_pump))
    {
        m_connection->open();
    }
    // A row a line.
    QString operator()(const QString &statement) const
    {
        RecordSet rows = m_connection->execute(statement);
        QStringList lines;
        for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
            QStringList values;
            for (int i = 0; i < rows.fieldCount(); ++i)
                values << rows.text(i);
            lines << values.join(u'\t');
        }
        return lines.join(u'\n');
    }

private:
    BlockingPump m_pump;
    std::unique_ptr<Connection> m_connection;
};

inline QString odbcDriver()
{
    return "MySQL ODBC 3.51 Driver";
}

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

inline QStringList filesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden);
}
