#include "maintenance/tablechange.h"
#include "stage.h"
#include "support/cuttingproxy.h"

using Cut = CuttingProxy::Cut;

// The connection breaks at each statement of a change in turn, before the server has it and after it was
// carried out: no row may be lost, and the message has to say where the rows are.
class TableChangeCutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void everyStatementMayBreak_data();
    void everyStatementMayBreak();
    void killingTheConnectionIsALoss();
    void aViewIsThereAfterEveryBreak();

private:
    struct Found {
        QString inOld, inNew, inCopy, copy; // sums of the rows; null: no such table
    };

    // The first row's values, by a connection of the test's own.
    QString sql(const QString &statement) const;
    void setUp() const;
    QString sumOf(const QString &table) const;
    Found look() const;
    bool hasTrigger() const;
    bool breakAt(int statement, Cut what, const QString &driver, const QString &text, bool mayReturn);

    // Hundreds of small changes: waiting for the disk would cost minutes.
    TestServer m_server{{"--innodb-flush-method=nosync", "--debug-no-sync"}};
    CuttingProxy m_proxy{m_server.port()};
    BlockingPump m_pump;
    std::unique_ptr<Connection> m_direct;
    QStringList m_told;
    QString m_lastError;
};

void TableChangeCutTest::initTestCase()
{
    m_direct = createConnection(m_server.nativeString(), m_pump);
    m_direct->open();
}

QString TableChangeCutTest::sql(const QString &statement) const
{
    RecordSet rows = m_direct->execute(statement);
    QStringList values;
    for (int i = 0; rows.isOpen() && !rows.isEof() && i < rows.fieldCount(); ++i)
        values << rows.text(i);
    return values.join(u' ');
}

void TableChangeCutTest::setUp() const
{
    for (const char *statement :
         {"create or replace database d", "use d", "set sql_mode='NO_AUTO_VALUE_ON_ZERO'",
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
    return sql("show triggers").startsWith(u"t1 ");
}

// A change of `t` to the text; false when there were not that many statements.
bool TableChangeCutTest::breakAt(int statement, Cut what, const QString &driver, const QString &text,
                                 bool mayReturn)
{
    setUp();
    RealStage user(m_server, driver, "d", m_proxy.port());
    user.clickTable("t");
    user.selection.txtField = text;
    m_proxy.cutAt(statement, what, mayReturn);
    user.run(changeTable);
    m_told = user.dialogue.told;
    m_lastError = user.dialogue.lastError;
    const bool hasCut = m_proxy.hasCut();
    m_proxy.cutAt(-2, Cut::Request, true);
    return hasCut;
}

void TableChangeCutTest::everyStatementMayBreak_data()
{
    QTest::addColumn<QString>("driver");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("mayReturn");
    const QString native = nativeDriverName(), renamed = "CREATE TABLE u (b varchar(90), a bigint)";
    const QString changed =
        "CREATE TABLE t (a int auto_increment primary key, b text, v int as (a+2) virtual)";
    const QString refused = "CREATE TABLE t (a int auto_increment primary key, b date)";
    row("changed, server back", native, changed, true);
    row("changed, server away", native, changed, false);
    row("refused, server back", native, refused, true);
    row("refused, server away", native, refused, false);
    row("renamed, server away", native, renamed, false);
    row("renamed, server back, ODBC", odbcDriver(), renamed, true);
}

void TableChangeCutTest::everyStatementMayBreak()
{
    QFETCH(QString, driver);
    QFETCH(QString, text);
    QFETCH(bool, mayReturn);
    setUp();
    const QString whole = sumOf("t");
    int breaks = 0;
    for (const Cut what : {Cut::Request, Cut::Answer}) {
        for (int n = 0; breakAt(n, what, driver, text, mayReturn); ++n, ++breaks) {
            const Found found = look();
            const QString where = QStringLiteral("%1 %2: old %3 new %4 copy %5; %6")
                                      .arg(n)
                                      .arg(what == Cut::Answer ? "answer" : "request", found.inOld.trimmed(),
                                           found.inNew.trimmed(), found.inCopy.trimmed(), m_lastError);
            const QString last = m_told.value(m_told.size() - 1);
            const bool isInTable = found.inOld == whole || found.inNew == whole;
            QVERIFY2(isInTable || (found.inCopy == whole && last.contains(found.copy)), qPrintable(where));
            // A copy that stays behind is named.
            QVERIFY2(found.copy.isEmpty() || last.contains(found.copy), qPrintable(where));
            QVERIFY2(found.inNew.isNull() || found.inOld.isNull() || last.contains("`d`.u"),
                     qPrintable(where));
            // A trigger that is not back is named with the table that has the rows, or all is said.
            QVERIFY2(hasTrigger() || m_lastError.contains("`t1`"), qPrintable(where));
            if (mayReturn && text.contains("TABLE t") && !text.contains("date"))
                QVERIFY2(found.inOld == whole && hasTrigger(), qPrintable(where));
        }
    }
    QVERIFY(breaks >= 16);
}

void TableChangeCutTest::killingTheConnectionIsALoss()
{
    setUp();
    sql("alter table t engine=InnoDB");
    sql("insert into t (b) select concat('行', seq) from seq_1_to_200000");
    const QString whole = sumOf("t");
    RealStage user(m_server, nativeDriverName(), "d");
    user.clickTable("t");
    user.selection.txtField.replace("varchar(40)", "longtext");
    std::jthread killer([this](const std::stop_token &stop) {
        while (!stop.stop_requested()) {
            const QString id = m_server.run(
                "select id from information_schema.processlist where info like 'insert into `d`.t(%'");
            if (!id.isEmpty()) {
                m_server.run("kill " + id);
                return;
            }
        }
    });
    user.run(changeTable);
    killer.request_stop();
    killer.join();
    QCOMPARE(user.dialogue.told, QStringList{"ﾃｰﾌﾞﾙの変更に失敗しました。"});
    QCOMPARE(sumOf("t"), whole);
    QVERIFY(hasTrigger());
}

void TableChangeCutTest::aViewIsThereAfterEveryBreak()
{
    for (const auto &[driver, text] : {std::pair(nativeDriverName(), "CREATE VIEW d.v AS select nothing"),
                                       std::pair(odbcDriver(), "CREATE VIEW d.v AS select 2 AS x")}) {
        for (const Cut what : {Cut::Request, Cut::Answer}) {
            bool hasCut = true;
            for (int n = 0; hasCut; ++n) {
                sql("create or replace database d");
                sql("create view d.v as select 1 as x");
                RealStage user(m_server, driver, "d", m_proxy.port());
                user.clickTable("v");
                user.selection.txtField = text;
                m_proxy.cutAt(n, what, true);
                user.run(changeTable);
                hasCut = m_proxy.hasCut();
                m_proxy.cutAt(-2, Cut::Request, true);
                const QString said = user.dialogue.told.join(u'\n');
                QVERIFY2(sql("show tables from d") == u"v" || said.contains("VIEW `d`.v"), qPrintable(said));
                if (hasCut)
                    QVERIFY(said.startsWith("ﾃｰﾌﾞﾙの変更に失敗しました。"));
            }
        }
    }
}

QTEST_GUILESS_MAIN(TableChangeCutTest)
#include "test_tablechangecut.moc"
