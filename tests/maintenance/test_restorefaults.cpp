#include "maintenance/backup/backup.h"
#include "maintenance/backup/restore.h"
#include "support/gui/stage.h"

namespace {

enum class Fault {
    Refused,     // the server refuses the statement
    RequestLost, // the connection breaks before the server has the statement
    AnswerLost,  // the server carries the statement out, the connection breaks before the answer
    AnswerWrong  // the server carries the statement out and reports an error all the same
};

struct Trouble {
    Fault fault;
    bool isUndone = false; // the last step is refused too, so that all has to be undone
    bool mayReturn = true; // the server can be reached again
    int at = -1;           // among all statements; below 0: none
};

// The index on `up` is named: one that the server made for a key it renames when the key is made again.
const char *const setUp[] = {
    "SET foreign_key_checks=0",
    "CREATE OR REPLACE DATABASE e",
    "CREATE OR REPLACE DATABASE d",
    "USE d",
    "SET foreign_key_checks=1, sql_mode=DEFAULT",
    "CREATE TABLE parent(id INT PRIMARY KEY)",
    "INSERT INTO parent VALUES(1),(2),(3)",
    "CREATE TABLE t(id INT PRIMARY KEY, up INT, v VARCHAR(20), KEY named_index(up), "
    "CONSTRAINT named FOREIGN KEY(up) REFERENCES parent(id), FOREIGN KEY(up) REFERENCES t(id))",
    "CREATE TABLE e.child(id INT PRIMARY KEY, t INT, "
    "CONSTRAINT points FOREIGN KEY(t) REFERENCES d.t(id) ON DELETE CASCADE)",
    "INSERT INTO t VALUES(1,1,'saved'),(2,1,'saved')",
    "INSERT INTO e.child VALUES(1,1),(2,2)",
    "SET sql_mode='ANSI'",
    "CREATE TRIGGER stamp BEFORE INSERT ON t FOR EACH ROW SET NEW.v = CONCAT('touched ', NEW.v)",
    "CREATE TRIGGER stamp2 BEFORE INSERT ON t FOR EACH ROW SET NEW.v = CONCAT(NEW.v, ' twice')"};
// After the backup was made.
const char *const change[] = {"SET foreign_key_checks=0", "DELETE FROM t WHERE id=2",
                              "INSERT INTO t VALUES(3,3,'new')", "UPDATE t SET v='new'",
                              "ALTER TABLE t ADD CONSTRAINT later FOREIGN KEY(id) REFERENCES parent(id)"};
const QString savedRows = "1\t1\tsaved\n2\t1\tsaved";
const QString newRows = "1\t1\tnew\n3\t3\tnew";

} // namespace

Q_DECLARE_METATYPE(Trouble)

// One statement of a restore goes wrong: each in turn, in each way.
class RestoreFaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void noRowIsLost_data();
    void noRowIsLost();

private:
    QString definitions() const;
    QString rowsOf(const QString &table) const;
    void reset() const;
    // Gives the box that ended the restore.
    QString restoreWith(const Trouble &trouble);

    // Hundreds of small changes: waiting for the disk would cost minutes.
    TestServer m_server{{"--debug-no-sync", "--innodb-flush-method=nosync"}};
    const DirectConnection sql{m_server};
    QTemporaryDir m_folder;
    QStringList m_sent;
    QString m_changedDefinitions;
    bool m_isFailure = false;
};

void RestoreFaultsTest::initTestCase()
{
    reset();
    RealStage stage(m_server, nativeDriverName());
    stage.dialogue.choice.folder = m_folder.path();
    stage.selection.tables = QStringList{"[TABLE]\tt"};
    stage.run(backUpTables);
    QVERIFY2(!stage.dialogue.isCritical, qPrintable(stage.told()));
    for (const char *statement : change)
        sql(statement);
    m_changedDefinitions = definitions();
}

// Tables, foreign keys and triggers; the order of the keys is nobody's business.
QString RestoreFaultsTest::definitions() const
{
    QStringList texts{
        sql("SELECT TRIGGER_NAME, ACTION_TIMING, EVENT_MANIPULATION, ACTION_ORDER, EVENT_OBJECT_TABLE, "
            "ACTION_STATEMENT, SQL_MODE, DEFINER FROM information_schema.TRIGGERS "
            "WHERE TRIGGER_SCHEMA='d'"),
        sql("SHOW CREATE TABLE e.child")};
    for (const QString &table : sql("SHOW TABLES").split('\n'))
        texts << sql("SHOW CREATE TABLE `" + table + "`");
    QStringList lines = texts.join('\n').replace(",\n", "\n").split('\n');
    lines.sort();
    return lines.join('\n');
}

QString RestoreFaultsTest::rowsOf(const QString &table) const
{
    return sql("SELECT id, up, v FROM `" + table + "` ORDER BY 1");
}

void RestoreFaultsTest::reset() const
{
    for (const char *statement : setUp)
        sql(statement);
}

QString RestoreFaultsTest::restoreWith(const Trouble &trouble)
{
    reset();
    for (const char *statement : change)
        sql(statement);
    RealStage stage(m_server, nativeDriverName());
    stage.dialogue.choice = {{"t"}, m_folder.path()};
    m_sent.clear();
    WrappedConnection::into(stage.session, [&](Connection &inner, const QString &statement) {
        m_sent << statement;
        const bool isRefused = trouble.isUndone && statement.startsWith("DROP TABLE `d`.`t_old");
        if (m_sent.size() - 1 != trouble.at && !isRefused)
            return inner.execute(statement);
        if (trouble.fault == Fault::Refused || isRefused)
            throw Failure("refused", 1142);
        if (trouble.fault != Fault::RequestLost)
            inner.execute(statement);
        if (trouble.fault == Fault::AnswerWrong)
            throw Failure("interrupted", 1317);
        inner.close();
        throw Failure("Lost connection to server during query", 2013);
    });
    if (!trouble.mayReturn)
        stage.session.gPort = "1";
    stage.run(restoreTables);
    m_isFailure = stage.dialogue.isCritical;
    return stage.told();
}

void RestoreFaultsTest::noRowIsLost_data()
{
    const Rows<Trouble> row;
    row("refused", Trouble{Fault::Refused});
    row("request lost", Trouble{Fault::RequestLost});
    row("request lost while undoing", Trouble{Fault::RequestLost, true});
    row("answer lost", Trouble{Fault::AnswerLost});
    row("answer lost while undoing", Trouble{Fault::AnswerLost, true});
    row("answer lost, server away", Trouble{Fault::AnswerLost, false, false});
    row("answer wrong", Trouble{Fault::AnswerWrong});
}

void RestoreFaultsTest::noRowIsLost()
{
    auto [trouble] = fetched<Trouble>();
    const QString ended = restoreWith(trouble);
    QVERIFY2(m_isFailure == trouble.isUndone, qPrintable(ended));
    QCOMPARE(rowsOf("t"), trouble.isUndone ? newRows : savedRows);
    // The foreign key that the backup does not know is there too; child and triggers are as they were.
    QCOMPARE(definitions(), m_changedDefinitions);
    const QStringList whole = m_sent;
    const auto count = whole.size();
    QVERIFY(count > 25);
    // What comes before the undoing is tried without it.
    const auto first = trouble.isUndone ? whole.indexOf(QRegularExpression("^DROP TABLE.*")) : 0;
    for (int &at = trouble.at = static_cast<int>(first); at < count; ++at) {
        // A break before a statement that only reads is the same as one behind the change before it.
        if (trouble.fault != Fault::Refused && whole[at].contains(QRegularExpression("^(SELECT|SHOW)")))
            continue;
        const QString told = restoreWith(trouble);
        const QByteArray where = QStringLiteral("%1 \"%2\": %3").arg(at).arg(whole[at], told).toUtf8();
        const QString rows = sql("SHOW TABLES LIKE 't'").isEmpty() ? QString() : rowsOf("t");
        if (!m_isFailure) { // only the settings were not put back, or the cluster's variables not told
            QVERIFY2(rows == savedRows && (at > count - 4 || whole[at].startsWith("show global")), where);
            continue;
        }
        const QString aside = sql("SHOW TABLES LIKE 't\\_old\\_%'");
        const QString present = definitions();
        const bool isRestored = rows == savedRows && told.contains("復元できています");
        if (trouble.mayReturn)
            QVERIFY2(aside.isEmpty() && present == m_changedDefinitions, where);
        if (aside.isEmpty())
            QVERIFY2(rows == newRows || isRestored, where);
        else
            QVERIFY2(rowsOf(aside) == newRows && told.contains(aside), where);
        // Whatever is off now is in the message as a statement.
        for (const char *tie : {"stamp", "stamp2", "points", "later", "named"})
            QVERIFY2(present.contains(tie) || told.contains(tie), where);
    }
}

QTEST_GUILESS_MAIN(RestoreFaultsTest)
#include "test_restorefaults.moc"
