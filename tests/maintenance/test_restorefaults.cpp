#include "faultyconnection.h"
#include "maintenance/backup.h"
#include "maintenance/restore.h"
#include "realfixture.h"

#include <QRegularExpression>

namespace {

// The index on `up` is named: one that the server made for a key it renames when the key is made again.
const char *const setUp = R"(
    DROP DATABASE IF EXISTS d; CREATE DATABASE d; USE d;
    CREATE TABLE parent(id INT PRIMARY KEY); INSERT INTO parent VALUES(1),(2),(3);
    CREATE TABLE t(id INT PRIMARY KEY, up INT, v VARCHAR(20), KEY named_index(up),
        CONSTRAINT named FOREIGN KEY(up) REFERENCES parent(id), FOREIGN KEY(up) REFERENCES t(id));
    CREATE TABLE child(id INT PRIMARY KEY, t INT, CONSTRAINT points FOREIGN KEY(t) REFERENCES t(id) ON DELETE CASCADE);
    INSERT INTO t VALUES(1,1,'saved'),(2,1,'saved');
    INSERT INTO child VALUES(1,1),(2,2);
    CREATE TRIGGER stamp BEFORE INSERT ON t FOR EACH ROW SET NEW.v = CONCAT('touched ', NEW.v);
    CREATE TRIGGER stamp2 AFTER DELETE ON t FOR EACH ROW DELETE FROM parent WHERE id = 99;
)";
// After the backup was made.
const char *const change = "SET foreign_key_checks=0; DELETE FROM t WHERE id=2; "
                           "INSERT INTO t VALUES(3,3,'new'); UPDATE t SET v='new';"
                           "ALTER TABLE t ADD CONSTRAINT later FOREIGN KEY(id) REFERENCES parent(id)";
const QString savedRows = QStringLiteral("1\t1\tsaved\n2\t1\tsaved\n");
const QString newRows = QStringLiteral("1\t1\tnew\n3\t3\tnew\n");

// Tables, foreign keys and triggers; the order of the keys is nobody's business.
QString definitions(const TestServer &server)
{
    QString statements = "SELECT TRIGGER_NAME, ACTION_TIMING, EVENT_MANIPULATION, EVENT_OBJECT_TABLE, "
                         "ACTION_STATEMENT, SQL_MODE, DEFINER FROM information_schema.TRIGGERS "
                         "WHERE TRIGGER_SCHEMA='d';";
    for (const QString &table : server.run("SHOW TABLES", "d").split('\n', Qt::SkipEmptyParts))
        statements += "SHOW CREATE TABLE `" + table + "`;";
    QStringList lines = server.run(statements, "d").replace(",\\n", "\\n").replace("\\n", "\n").split('\n');
    lines.sort();
    return lines.join('\n');
}

QString rowsOf(const TestServer &server, const QString &table)
{
    return server.run("SELECT id, up, v FROM `" + table + "` ORDER BY 1", "d");
}

} // namespace

Q_DECLARE_METATYPE(Fault)

// One statement of a restore goes wrong: each in turn, in each way.
class RestoreFaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void withoutFaultEverythingIsRestored();
    void noRowIsLost_data();
    void noRowIsLost();

private:
    // Gives the box that ended the restore.
    QString restoreWith(int faultAt, Fault fault);

    TestServer m_server;
    QTemporaryDir m_folder;
    QStringList m_sent;
    QString m_changedDefinitions;
    bool m_isFailure = false;
};

void RestoreFaultsTest::initTestCase()
{
    m_server.run(setUp);
    RealFixture fixture(m_server, m_server.nativeString());
    fixture.choice.folder = m_folder.path();
    fixture.selection.lblPreTable = QStringLiteral("1");
    fixture.selection.table = QStringLiteral("[TABLE]\tt");
    fixture.run(backUpTables);
    QVERIFY(!fixture.isFailure);
    m_server.run(change, "d");
    m_changedDefinitions = definitions(m_server);
}

QString RestoreFaultsTest::restoreWith(int faultAt, Fault fault)
{
    m_server.run(QByteArray(setUp) + change);
    RealFixture fixture(m_server, m_server.nativeString());
    fixture.choice = {{"t"}, m_folder.path()};
    const QString session = fixture.session.gCn->execute("SELECT CONNECTION_ID()").text(0);
    auto faulty = std::make_unique<FaultyConnection>(std::move(fixture.session.gCn), faultAt, fault,
                                                     [&] { m_server.run("KILL " + session); });
    const FaultyConnection &connection = *faulty;
    fixture.session.gCn = std::move(faulty);
    const QString told = fixture.run(restoreTables);
    m_sent = connection.sent;
    m_isFailure = fixture.isFailure;
    return told;
}

void RestoreFaultsTest::withoutFaultEverythingIsRestored()
{
    const QString told = restoreWith(-1, Fault::Refused);
    QVERIFY2(!m_isFailure, qPrintable(told));
    QCOMPARE(rowsOf(m_server, "t"), savedRows);
    // The foreign key that the backup does not know is there too; child and triggers are as they were.
    QCOMPARE(definitions(m_server), m_changedDefinitions);
}

void RestoreFaultsTest::noRowIsLost_data()
{
    QTest::addColumn<Fault>("fault");
    QTest::newRow("refused") << Fault::Refused;
    QTest::newRow("session killed") << Fault::Killed;
    QTest::newRow("answer lost") << Fault::AnswerLost;
    QTest::newRow("answer wrong") << Fault::AnswerWrong;
}

void RestoreFaultsTest::noRowIsLost()
{
    QFETCH(Fault, fault);
    restoreWith(-1, fault);
    const auto count = m_sent.size();
    QVERIFY(count > 25);
    for (int at = 0; at < count; ++at) {
        const QString told = restoreWith(at, fault);
        const QByteArray where = QStringLiteral("%1 \"%2\": %3").arg(at).arg(m_sent[at], told).toUtf8();
        const QString rows =
            m_server.run("SHOW TABLES LIKE 't'", "d").isEmpty() ? QString() : rowsOf(m_server, "t");
        if (!m_isFailure) { // only the settings were not put back
            QVERIFY2(rows == savedRows && at > count - 4, where);
            continue;
        }
        if (fault == Fault::Refused) {
            QVERIFY2(rows == newRows, where);
            QVERIFY2(definitions(m_server) == m_changedDefinitions, where);
            continue;
        }
        const QString aside = m_server.run("SHOW TABLES LIKE 't\\_old\\_%'", "d").trimmed();
        if (aside.isEmpty()) {
            const bool isRestored = rows == savedRows && told.contains("復元できています");
            QVERIFY2(rows == newRows || isRestored, where);
        } else {
            QVERIFY2(rowsOf(m_server, aside) == newRows && told.contains(aside), where);
        }
        if (fault == Fault::AnswerWrong)
            continue;
        // Whatever is off now is in the message as a statement.
        const QString present = definitions(m_server);
        for (const char *tie : {"stamp", "stamp2", "points", "later", "named"})
            QVERIFY2(present.contains(tie) || told.contains(tie), where);
    }
}

QTEST_GUILESS_MAIN(RestoreFaultsTest)
#include "test_restorefaults.moc"
