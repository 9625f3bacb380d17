#include "core/command/pendingundo.h"
#include "maintenance/tablechange/tablechange.h"
#include "support/cuttingproxy.h"
#include "support/gui/stage.h"

using Cut = CuttingProxy::Cut;

namespace {

const QString changedText =
    "CREATE TABLE t (a int auto_increment primary key, b text, v int as (a+2) virtual)";

// A stop at the n-th statement from now on (from 0), which does what is said.
enum class Stopped {
    NotSent,           // and does nothing
    Done,              // too late: the server answers with a success
    DoneAndInterrupted // the server has done it and says that it was interrupted
};

} // namespace

// The connection breaks at each statement of a change in turn, before the server has it and after it was
// carried out: no row may be lost, and the message has to say where the rows are.
class TableChangeCutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void everyStatementMayBreak_data();
    void everyStatementMayBreak();
    void viewsAndRoutinesAreThereAfterEveryBreak_data();
    void viewsAndRoutinesAreThereAfterEveryBreak();
    void aStopLosesNothing_data();
    void aStopLosesNothing();
    void aKilledProgramIsPutBackAtTheNextStart();

private:
    struct Found {
        QString inOld, inNew, inCopy, copy; // sums of the rows; null: no such table
    };

    void setUp() const;
    QString sumOf(const QString &table) const;
    Found look() const;
    bool hasTrigger() const;
    bool breakAt(int statement, Cut what, RealStage &user, Run command, bool mayReturn);

    // Hundreds of small changes: waiting for the disk would cost minutes.
    TestServer m_server{{"--innodb-flush-method=nosync", "--debug-no-sync"}};
    CuttingProxy m_proxy{m_server.port()};
    const DirectConnection sql{m_server};
    QStringList m_told;
    QString m_lastError;
};

void TableChangeCutTest::setUp() const
{
    for (const char *statement :
         {"create or replace database other", "create table other.t (a int)", "create or replace database d",
          "use d", "set sql_mode='NO_AUTO_VALUE_ON_ZERO'",
          "create table t (a int auto_increment primary key, b varchar(40), v int as (a+1) virtual)",
          "insert into t (b) select concat('行', seq) from seq_1_to_50",
          "insert into t (a,b) values (0,'zero')",
          "create trigger t1 before insert on t for each row set NEW.b=concat(NEW.b,'!')"})
        sql(QString::fromUtf8(statement));
}

QString TableChangeCutTest::sumOf(const QString &table) const
{
    if (sql(QStringLiteral("show tables like '%1'").arg(table)).isEmpty())
        return {};
    return sql("select count(*), sum(crc32(concat(a,'|',b))) from " + table);
}

TableChangeCutTest::Found TableChangeCutTest::look() const
{
    const QString copy = sql("show tables like '%zolt'");
    return {sumOf("t"), sumOf("u"), copy.isEmpty() ? QString() : sumOf(copy), copy};
}

bool TableChangeCutTest::hasTrigger() const
{
    return sql("show triggers").startsWith(u"t1\t");
}

// False when there were not that many statements.
bool TableChangeCutTest::breakAt(int statement, Cut what, RealStage &user, Run command, bool mayReturn)
{
    m_proxy.cutAt(statement, what, mayReturn);
    user.run(command);
    m_told = user.dialogue.told;
    m_told.removeIf([](const QString &text) { return text.startsWith("表示している文は"); }); // a question
    m_lastError = user.dialogue.lastError;
    const bool hasCut = m_proxy.hasCut();
    m_proxy.cutAt(-2, Cut::Request, true);
    return hasCut;
}

void TableChangeCutTest::everyStatementMayBreak_data()
{
    const Rows<QString, QString, bool, bool> row;
    const QString native = nativeDriverName(), renamed = "CREATE TABLE u (b varchar(90), a bigint)";
    const QString refused = "CREATE TABLE t (a int auto_increment primary key, b date)";
    row("changed, server back", native, changedText, true, true);
    row("changed, server away", native, changedText, false, true);
    row("refused, server back", native, refused, true, true);
    row("refused, server away", native, refused, false, true);
    row("renamed and refused", native, "CREATE TABLE u (a int auto_increment primary key, b date)", true,
        true);
    row("renamed, server away", native, renamed, false, true);
    row("renamed, server back, ODBC", odbcDriver(), renamed, true, true);
    row("changed, rows not committed", native, changedText, true, false);
}

void TableChangeCutTest::everyStatementMayBreak()
{
    const auto [driver, text, mayReturn, isCommittedAtOnce] = fetched<QString, QString, bool, bool>();
    int breaks = 0;
    for (const Cut what : {Cut::Request, Cut::Answer}) {
        bool hasCut = true;
        for (int n = 0; hasCut; ++n) {
            setUp();
            const QString whole = sumOf("t");
            RealStage user(m_server, driver, "d", m_proxy.port());
            user.clickTable("t");
            user.selection.txtField = text;
            Connection &connection = user.session.connection();
            connection.execute(QStringLiteral("set autocommit=%1").arg(isCommittedAtOnce));
            connection.execute("use other"); // it has a table of that name too
            hasCut = breakAt(n, what, user, changeTable, mayReturn);
            breaks += hasCut;
            const Found found = look();
            const QString where = QStringLiteral("%1 %2: old %3 new %4 copy %5; %6")
                                      .arg(n)
                                      .arg(what == Cut::Answer ? "answer" : "request", found.inOld,
                                           found.inNew, found.inCopy, m_lastError);
            const QString last = m_told.last();
            const bool isInTable = found.inOld == whole || found.inNew == whole;
            QVERIFY2(isInTable || (!mayReturn && found.inCopy == whole && last.contains(found.copy)),
                     qPrintable(where));
            // A copy that stays behind is named.
            QVERIFY2(found.copy.isEmpty() || (hasCut && last.contains(found.copy)), qPrintable(where));
            QVERIFY2(found.inNew.isNull() || found.inOld.isNull() || last.contains("`d`.u"),
                     qPrintable(where));
            // A trigger that is not back is named with the table that has the rows, or all is said.
            QVERIFY2(hasTrigger() || (hasCut && m_lastError.contains("`t1`")), qPrintable(where));
            if (mayReturn && text == changedText) {
                QVERIFY2(found.inOld == whole && hasTrigger(), qPrintable(where));
                const bool needsWords =
                    last.contains("変更されていません") || last.contains("変更は済んでいます");
                QVERIFY2(m_told.size() == 1 || needsWords, qPrintable(last)); // no false alarm
            }
            QCOMPARE(sql("show tables from other"), "t");
        }
    }
    QVERIFY(breaks >= 16);
}

// What is shown of the old ones has lost the quotes that they need.
void TableChangeCutTest::viewsAndRoutinesAreThereAfterEveryBreak_data()
{
    const Rows<QString, QString, QString, bool> row;
    const QString native = nativeDriverName();
    const QString view = "create view d.v as select 'old, ' as `group`, `order` from d.t";
    const QString routine = "create procedure d.v() select 'old' as `group`";
    row("view refused", native, view, "CREATE VIEW d.v AS select 'new' from nothing", true);
    row("view refused, name taken", native, view, "CREATE VIEW d.u AS select 'new' AS x", true);
    row("view, ODBC", odbcDriver(), view, "CREATE VIEW v AS select 'new' AS x", true);
    row("view, server away", native, view, "CREATE VIEW d.v AS select 'new' AS x", false);
    row("routine refused, ODBC", odbcDriver(), routine, "create procedure v() selekt 'new'", true);
    row("routine refused, name taken", native, routine, "create procedure u() select 'new'", true);
    row("routine", native, routine,
        "Create Definer=demo@localhost Procedure v()\r\nbegin\r\n select 'new'; #\r\nend", true);
    row("routine, server away", native, routine, "create procedure v() select 'new'", false);
}

void TableChangeCutTest::viewsAndRoutinesAreThereAfterEveryBreak()
{
    const auto [driver, old, text, mayReturn] = fetched<QString, QString, QString, bool>();
    const bool isView = old.contains("view");
    const bool isRefused = QByteArray(QTest::currentDataTag()).contains("refused");
    for (const Cut what : {Cut::Request, Cut::Answer}) {
        bool hasCut = true;
        for (int n = 0; hasCut; ++n) {
            for (const QString &statement :
                 {QString("create or replace database d"), QString("create table d.t (`order` int)"),
                  QString("create view d.u as select 1"), QString("create procedure d.u() select 1"), old})
                sql(statement);
            RealStage user(m_server, driver, "d", m_proxy.port());
            user.session.connection().execute("use d");
            isView ? user.clickTable("v") : user.clickRoutine("[PROC]", "v");
            user.session.connection().execute("use mysql"); // what is shown names no database
            user.selection.txtField = user.selection.txtProc = text;
            hasCut = breakAt(n, what, user, isView ? changeTable : changeRoutine, mayReturn);
            const QString found = sql("select view_definition from information_schema.views where "
                                      "table_schema='d' and table_name<>'u' union select "
                                      "routine_definition from information_schema.routines where "
                                      "routine_schema='d' and routine_name<>'u'");
            QVERIFY(sql("show create view d.u").contains("1") &&
                    sql("show create procedure d.u").contains("1"));
            const QString said = found + m_told.join(u'\n') + m_lastError;
            if (found.isEmpty()) {
                QVERIFY2(hasCut && !mayReturn, qPrintable(said));
                QVERIFY2(m_told.last().contains("`d`.v") && m_lastError.contains("元に戻す文:"),
                         qPrintable(said));
            }
            if (hasCut && m_told == QStringList("変更しました。")) { // cut when all was done
                QVERIFY2(found.contains("'new'"), qPrintable(said));
                continue;
            }
            QCOMPARE(said.contains("変更に失敗しました。"), hasCut || isRefused);
            QVERIFY2(!mayReturn || !said.contains("サーバーに接続されていません"), qPrintable(said));
            const bool isDone = hasCut && mayReturn && found.contains("'new'");
            QVERIFY2(m_told.last().contains("`d`.v の変更は済んでいます。") == isDone, qPrintable(said));
            QVERIFY2(m_told.size() == (isDone ? 2 : 1) || !mayReturn, qPrintable(said)); // no false alarm
            if (!hasCut)
                QVERIFY2(found.contains(isRefused ? "'old" : "'new'") && !found.contains(u'\r'),
                         qPrintable(said));
        }
    }
}

void TableChangeCutTest::aStopLosesNothing_data()
{
    const Rows<QString, Run, QString> row;
    row("table", nativeDriverName(), changeTable, QString("t"));
    row("view", nativeDriverName(), changeTable, QString("v"));
    row("routine", nativeDriverName(), changeRoutine, QString("p"));
}

void TableChangeCutTest::aStopLosesNothing()
{
    const auto [driver, command, kind] = fetched<QString, Run, QString>();
    for (const Stopped how : {Stopped::NotSent, Stopped::Done, Stopped::DoneAndInterrupted}) {
        bool isStopped = true;
        for (int n = 0; isStopped; ++n) {
            setUp();
            sql("create view v as select a from t");
            sql("create procedure p() select 'old'");
            const QString whole = sumOf("t");
            RealStage user(m_server, driver);
            kind == u"p" ? user.clickRoutine("[PROC]", "p") : user.clickTable(kind);
            user.session.connection().execute("use d");
            user.selection.txtField = kind == u"v" ? "CREATE VIEW d.v AS select b from t" : changedText;
            user.selection.txtProc = "create procedure p() select 'new'";
            WrappedConnection::into(user.session,
                                    [&, left = n](Connection &inner, const QString &statement) mutable {
                                        if (left-- != 0)
                                            return inner.execute(statement);
                                        if (how == Stopped::NotSent) {
                                            user.session.runner.stop();
                                            throw interruptedError();
                                        }
                                        // Stopped before, it would not be sent at all.
                                        RecordSet rows = inner.execute(statement);
                                        user.session.runner.stop();
                                        if (how == Stopped::DoneAndInterrupted)
                                            throw interruptedError();
                                        return rows;
                                    });
            user.run(command);
            isStopped = user.session.runner.isStopWanted();
            const Found found = look();
            const QString where = QStringLiteral("statement %1, %2: %3, copy %4; %5")
                                      .arg(n)
                                      .arg(static_cast<int>(how))
                                      .arg(found.inOld, found.copy, user.told());
            QVERIFY2(found.inOld == whole && hasTrigger(), qPrintable(where));
            QVERIFY2(found.copy.isEmpty() || user.told().contains(found.copy), qPrintable(where));
            QCOMPARE(sql("show tables like 'v'"), "v");
            QVERIFY2(!sql("show procedure status where db='d'").isEmpty(), qPrintable(where));
        }
    }
}

// Killed at a statement, before it is sent and after it is done: the notes of a later start are those that
// were on the disk then, and nothing that comes afterwards reaches the server. Where nothing but the copy's
// drop is left the change may also be finished.
void TableChangeCutTest::aKilledProgramIsPutBackAtTheNextStart()
{
    using Action = PendingAnswer::Action;
    int pending = 0, finished = 0;
    for (const auto &[isDone, wanted] :
         {std::pair(false, Action::Undo), {true, Action::Undo}, {false, Action::Finish}}) {
        bool isKilled = true;
        for (int n = 0; isKilled; ++n) {
            setUp();
            const QString whole = sumOf("t");
            RealStage killed(m_server, nativeDriverName());
            killed.clickTable("t");
            killed.selection.txtField = changedText;
            isKilled = killedAt(killed, n, isDone, [&] { killed.run(changeTable); });
            bool isPending = !QDir(killed.folder.path()).entryList({"*.undo"}).isEmpty();
            writeFile(killed.folder.filePath("gone.undo.lock"), "999999999\nTarnwell\n\n"); // of no process
            QVERIFY(isKilled || !isPending); // a change that ends leaves none
            pending += isPending;
            QString said;
            if (isDone) { // at first the server refuses
                RealStage refused(m_server, nativeDriverName());
                refused.session.settingsFolder = killed.folder.path();
                refused.dialogue.pendingAction = wanted;
                WrappedConnection::into(refused.session, [](Connection &inner, const QString &statement) {
                    if (!QRegularExpression("^(select|show|set|use|unlock) ").match(statement).hasMatch())
                        throw Failure("refused", 1142);
                    return inner.execute(statement);
                });
                settlePendingUndoLogs(refused.session, refused.dialogue);
                said = refused.told();
                isPending = !pendingUndoLogs(refused.session).empty(); // else it was done
                QVERIFY2(said.contains("次に接続したとき") == isPending, qPrintable(said));
            }

            RealStage next(m_server, nativeDriverName());
            next.session.settingsFolder = killed.folder.path();
            next.dialogue.pendingAction = wanted;
            settlePendingUndoLogs(next.session, next.dialogue);
            QCOMPARE(next.dialogue.pending.size(), std::size_t{isPending});
            const bool isFinished =
                isPending && wanted == Action::Finish && !next.dialogue.pending[0].finishing.isEmpty();
            finished += isFinished;
            // Nothing was tried yet when it was offered.
            QVERIFY(isDone || !isPending || !next.dialogue.pending[0].state.contains("元に戻せ"));
            said += next.told();
            const Found found = look();
            const QString where = QStringLiteral("statement %1, done %2: %3, copy %4; %5")
                                      .arg(n)
                                      .arg(isDone)
                                      .arg(found.inOld, found.copy, said);
            QVERIFY2(found.inOld == whole && found.copy.isEmpty() && hasTrigger(), qPrintable(where));
            // One that turns out to be done is not taken back.
            const bool isChanged = !isKilled || isFinished || said.contains("済んでいます");
            QVERIFY2(sql("show create table t").contains("`a` + 2") == isChanged, qPrintable(where));
            QVERIFY(pendingUndoLogs(next.session).empty());
            QCOMPARE(QDir(killed.folder.path()).entryList(QDir::Files), QStringList());
        }
    }
    QVERIFY(pending > 30);
    QCOMPARE(finished, 2); // the drop was not sent, or its success not noted
}

QTEST_GUILESS_MAIN(TableChangeCutTest)
#include "test_tablechangecut.moc"
