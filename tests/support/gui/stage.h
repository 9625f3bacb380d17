#pragma once

#include "controls/lists/chosenlist.h"
#include "controls/window/windowpump.h"
#include "core/command/command.h"
#include "core/driver/connect.h"
#include "core/session/basconnection.h"
#include "core/sql/statements.h"
#include "maintenance/routines.h"
#include "support/files.h"
#include "support/gui/boxes.h"
#include "support/gui/control.h"
#include "support/rows.h"
#include "support/scriptedconnection.h"
#include "support/scripteddialogue.h"
#include "support/testserver.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTimer>

class frmTarnwell;

using Run = Outcome (*)(CommandContext &);
Q_DECLARE_METATYPE(Run)

inline QString odbcDriver()
{
    return "MySQL ODBC 3.51 Driver";
}

inline QString driverOf(bool isBuiltIn)
{
    return isBuiltIn ? nativeDriverName() : odbcDriver();
}

// The rows of tests that both kinds of connection have to pass.
inline void bothConnections()
{
    QTest::addColumn<QString>("driver");
    row("ODBC", odbcDriver());
    row("built in", nativeDriverName());
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

// What a window or a command of the program stands on: a session in a program folder of its own, what is
// chosen in the main window, a user, and a server, which is scripted unless a real one is asked for.
struct Stage {
    enum class Server { Scripted, Real };

    explicit Stage(Server server = Server::Scripted)
    {
        session.programFolder = folder.path();
        session.gIniPath = folder.filePath("Tarnwell.ini");
        session.gDsn = noDataSource();
        if (server == Server::Scripted)
            session.connectBy(script.factory());
        else
            session.connectBy(createConnection, pump);
    }
    // Connected to a real server, as the main window's other windows find it.
    explicit Stage(const QString &connectionString)
        : Stage(Server::Real)
    {
        session.gCn = session.makeConnection(connectionString);
        session.gCn->open();
    }
    virtual ~Stage() { delete window; }
    Stage(const Stage &) = delete;
    Stage &operator=(const Stage &) = delete;

    // The entries of a connection.
    void enter(const QString &driver, int port, const QString &account, const QString &password)
    {
        session.gDriver = driver;
        session.gServer = "127.0.0.1";
        session.gUser = account;
        session.gPass = password;
        session.gPort = QString::number(port);
    }

    // Runs a command; `chosen` is what the window holds.
    template <class Result, class Context, class Chosen>
    Result run(Result (*command)(Context &), const Chosen &chosen)
    {
        dialogue.told.clear();
        dialogue.lastError.clear();
        Context context{session, chosen, dialogue};
        return command(context);
    }
    Outcome run(Run command) { return run(command, selection); }
    // The boxes that ended the last command.
    QString told() const { return dialogue.told.join('|'); }

    // A user's hands on the window.
    QWidget &open(QWidget *opened)
    {
        delete window;
        window = opened;
        window->show();
        return *window;
    }
    template <class Control>
    Control *control(const char *name) const
    {
        return &::control<Control>(*window, name);
    }
    void click(const char *name) const { QTest::mouseClick(control<QPushButton>(name), Qt::LeftButton); }
    // Clicks what asks a question and comes to that end.
    void does(const QString &question, const char *button, const QString &end, Icon icon = Icon::Information)
    {
        dialogue.expectDone(question, end, icon);
        click(button);
    }
    void fails(const QString &question, const char *button, const QString &end)
    {
        dialogue.expectFailure(question, end);
        click(button);
    }
    void choose(const char *list, int row) const
    {
        clickItem(*control<ChosenList>(list), *control<ChosenList>(list)->item(row));
    }
    void choose(const char *list, const QString &text) const
    {
        const auto row = items(list).indexOf(text);
        QVERIFY2(row >= 0, qPrintable(text));
        choose(list, static_cast<int>(row));
    }
    void type(const char *box, const QString &text) const { control<QLineEdit>(box)->setText(text); }
    void check(const char *box, bool isOn = true) const { control<QCheckBox>(box)->setChecked(isOn); }
    bool isChecked(const char *box) const { return control<QCheckBox>(box)->isChecked(); }
    bool isEnabled(const char *name) const { return control<QWidget>(name)->isEnabled(); }
    QStringList items(const char *list) const { return control<ChosenList>(list)->texts(); }
    QString chosen(const char *list) const { return control<ChosenList>(list)->currentText(); }

    QTemporaryDir folder;
    Script script;
    WindowPump pump;
    Session session;
    Selection selection;
    ScriptedDialogue dialogue;
    QPointer<QWidget> window;
};

// For commands: connected, with the database `d` chosen.
struct ScriptedStage : Stage {
    ScriptedStage()
    {
        session.gDbName = selection.database = "d";
        session.gCn = script.connect();
        selection.lblPreTable = "0";
        dialogue.targets << "d全ﾃｰﾌﾞﾙ";
    }
};

// For commands: a user who agrees to everything, connected to a real server.
struct RealStage : Stage {
    RealStage(const TestServer &server, const QString &driver, const QString &database = "d", int port = 0,
              const QString &account = "demo")
    {
        session.programFolder.clear(); // and with it no notes of what is pending
        session.connectBy(createConnection, blockingPump);
        enter(driver, port > 0 ? port : server.port(), account, "demo");
        QString why;
        // As when the user connects: no default database yet.
        if (!fConnect(session, &why))
            qFatal("%s", qPrintable(why));
        session.gDbName = selection.database = database;
        selection.lblPreTable = "0";
        dialogue.agrees = true;
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

    BlockingPump blockingPump;
};

// The main window on a real server.
template <class MainWindow>
struct MainStage : Stage {
    MainStage()
        : Stage(Server::Real)
    {
        open(new MainWindow(session));
    }

    void enter(const QString &driver, int port, const QString &user = "demo",
               const QString &password = "demo") const
    {
        control<QComboBox>("cboDSNList")->setCurrentIndex(0);
        control<QComboBox>("cboDrivers")->setEditText(driver);
        for (const auto &[box, text] : {std::pair<const char *, QString>{"txtServer", "127.0.0.1"},
                                        {"txtUser", user},
                                        {"txtPass", password},
                                        {"txtPort", QString::number(port)}})
            type(box, text);
    }
};
using MainWindowStage = MainStage<frmTarnwell>;

// Any window, on a scripted server with a database, a table, a routine and an account.
struct WindowStage : Stage {
    WindowStage()
    {
        session.gDbName = "d";
        says("show databases;", {"Database"}, {"d"});
        says("show tables from `d`;", {"Tables_in_d"}, {"t"});
        says("show create table `d`.t;", {"Table", "Create Table"}, {"t", "CREATE TABLE `t` (`a` int)"});
        says("show full fields from `d`.t;", {"Field", "Type"}, {"a", "int"});
        says("show procedure status ;", {"Db", "Name"}, {"d", "p"});
        says("show create procedure `d`.p;", {"Procedure", "sql_mode", "Create"},
             {"p", "", "CREATE PROCEDURE p() x"});
        says("select * from mysql.user;", {"Host", "User"}, {"%", "tanaka"});
    }
    void says(const char *statement, const QStringList &fields, const QStringList &row)
    {
        std::vector<std::optional<QString>> values;
        for (const QString &value : row)
            values.push_back(value == u"NULL" ? std::nullopt : std::optional(value));
        script.always(statement, Reply::table(fields, {values}));
    }
    void connect(const QString &server = "localhost") const
    {
        for (const char *box : {"txtServer", "txtUser"})
            type(box, server);
        press(*window, {"cmdConnect"});
    }
    // The main window with everything chosen.
    template <class MainWindow>
    QWidget &connected()
    {
        open(new MainWindow(session));
        connect();
        press(*window, {"cmdShowDb"});
        for (const char *list : {"lstDb", "lstProcFunc", "lstTables"})
            control<ChosenList>(list)->setCurrentRow(0);
        return *window;
    }

    Boxes boxes; // none is expected
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

// Runs an action as a program does that is killed at its n-th statement (from 0), before the statement is
// sent or once it is done: nothing that comes later reaches the server, and the notes are those of that
// moment. False: there were not that many statements.
template <class Action>
bool killedAt(RealStage &killed, int statement, bool isDone, Action action)
{
    const QDir notes(killed.folder.path());
    const auto remove = [&] {
        for (const QString &name : notes.entryList({"*.undo"}))
            QFile::remove(notes.filePath(name));
    };
    killed.session.settingsFolder = notes.path();
    WrappedConnection::into(killed.session, [&killed, isDone, notes, left = statement](
                                                Connection &inner, const QString &text) mutable {
        if (left-- > 0)
            return inner.execute(text);
        if (left == -1) {
            try {
                if (isDone)
                    inner.execute(text);
            } catch (const Failure &) {
                // Refused, and nobody is left to hear of it.
            }
            for (const QString &name : notes.entryList({"*.undo"}))
                QFile::copy(notes.filePath(name), notes.filePath("kept"));
            killed.session.gPort = "1";
        }
        inner.close();
        throw Failure("killed", 2013);
    });
    action();
    const bool isKilled = killed.session.gPort == u"1";
    if (isKilled)
        remove();
    QFile::rename(notes.filePath("kept"), notes.filePath("kept.undo"));
    return isKilled;
}

// The test's own look at the server: faster than the client program where hundreds of changes are tried.
class DirectConnection {
public:
    explicit DirectConnection(const TestServer &server)
        : m_connection(createConnection(server.nativeString(), m_pump))
    {
        m_connection->open();
    }
    RecordSet rows(const QString &statement) const { return m_connection->execute(statement); }
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
