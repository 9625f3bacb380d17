#include "ddlclicks.h"
#include "maintenance/tablechange.h"
#include "support/cuttingproxy.h"

#include <QRegularExpression>

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
    void aViewIsThereAfterEveryBreak_data();
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

    std::unique_ptr<TestServer> m_server;
    std::unique_ptr<CuttingProxy> m_proxy;
    BlockingPump m_pump;
    std::unique_ptr<Connection> m_direct;
    QStringList m_told;
    QString m_lastError;
};

void TableChangeCutTest::initTestCase()
{
    // Hundreds of small changes: waiting for the disk would cost minutes.
    m_server = std::make_unique<TestServer>(
        QStringList{QStringLiteral("--innodb-flush-method=nosync"), QStringLiteral("--debug-no-sync")});
    m_proxy = std::make_unique<CuttingProxy>(m_server->port());
    m_direct = createConnection(m_server->nativeString(), m_pump);
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
    return sql(QStringLiteral("select count(*), sum(crc32(concat(a,'|',b))) from ") + table);
}

TableChangeCutTest::Found TableChangeCutTest::look() const
{
    const QString copy = sql(QStringLiteral("show tables like '%zolt'"));
    return {sumOf(QStringLiteral("t")), sumOf(QStringLiteral("u")), copy.isEmpty() ? QString() : sumOf(copy),
            copy};
}

bool TableChangeCutTest::hasTrigger() const
{
    return sql(QStringLiteral("show triggers")).startsWith(u"t1 ");
}

// A change of `t` to the text; false when there were not that many statements.
bool TableChangeCutTest::breakAt(int statement, Cut what, const QString &driver, const QString &text,
                                 bool mayReturn)
{
    setUp();
    DdlUser user(*m_server, driver, QStringLiteral("d"), m_proxy->port());
    user.clickTable(QStringLiteral("t"));
    user.selection.txtField = text;
    m_proxy->cutAt(statement, what, mayReturn);
    user.run(changeTable);
    m_told = user.dialogue.told;
    m_lastError = user.dialogue.lastError;
    const bool hasCut = m_proxy->hasCut();
    m_proxy->cutAt(-2, Cut::Request, true);
    return hasCut;
}

void TableChangeCutTest::everyStatementMayBreak_data()
{
    QTest::addColumn<QString>("driver");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("mayReturn");
    const std::pair<const char *, const char *> texts[] = {
        {"changed", "CREATE TABLE t (a int auto_increment primary key, b text, v int as (a+2) virtual)"},
        {"renamed", "CREATE TABLE u (b varchar(90), a bigint)"},
        {"refused", "CREATE TABLE t (a int auto_increment primary key, b date)"}};
    for (const auto &[name, text] : texts)
        for (const bool mayReturn : {true, false})
            QTest::addRow("%s, server %s", name, mayReturn ? "back" : "away")
                << nativeDriverName() << text << mayReturn;
    for (const bool mayReturn : {true, false})
        QTest::addRow("ODBC, server %s", mayReturn ? "back" : "away")
            << drivers().last() << texts[1].second << mayReturn;
}

void TableChangeCutTest::everyStatementMayBreak()
{
    QFETCH(QString, driver);
    QFETCH(QString, text);
    QFETCH(bool, mayReturn);
    setUp();
    const QString whole = sumOf(QStringLiteral("t"));
    int breaks = 0;
    for (const Cut what : {Cut::Request, Cut::Answer}) {
        for (int n = 0; breakAt(n, what, driver, text, mayReturn); ++n, ++breaks) {
            const Found found = look();
            const QString where =
                QStringLiteral("%1 %2: old %3 new %4 copy %5; %6")
                    .arg(n)
                    .arg(what == Cut::Answer ? QStringLiteral("answer") : QStringLiteral("request"),
                         found.inOld.trimmed(), found.inNew.trimmed(), found.inCopy.trimmed(), m_lastError);
            const QString last = m_told.value(m_told.size() - 1);
            const bool isInTable = found.inOld == whole || found.inNew == whole;
            QVERIFY2(isInTable || (found.inCopy == whole && last.contains(found.copy)), qPrintable(where));
            // A copy that stays behind is named.
            QVERIFY2(found.copy.isEmpty() || last.contains(found.copy), qPrintable(where));
            QVERIFY2(found.inNew.isNull() || found.inOld.isNull() || last.contains(QStringLiteral("`d`.u")),
                     qPrintable(where));
            // A trigger that is not back is named with the table that has the rows, or all is said.
            QVERIFY2(hasTrigger() || m_lastError.contains(QStringLiteral("`t1`")), qPrintable(where));
            if (mayReturn && text.contains(QStringLiteral("TABLE t")) &&
                !text.contains(QStringLiteral("date")))
                QVERIFY2(found.inOld == whole && hasTrigger(), qPrintable(where));
        }
    }
    QVERIFY(breaks >= 16);
}

void TableChangeCutTest::killingTheConnectionIsALoss()
{
    setUp();
    sql(QStringLiteral("insert into t (b) select concat('行', seq) from seq_1_to_200000"));
    const QString whole = sumOf(QStringLiteral("t"));
    DdlUser user(*m_server, nativeDriverName(), QStringLiteral("d"));
    user.clickTable(QStringLiteral("t"));
    user.selection.txtField.replace(QStringLiteral("varchar(40)"), QStringLiteral("longtext"));
    std::jthread killer([this](const std::stop_token &stop) {
        while (!stop.stop_requested()) {
            const QString id = m_server->run(QStringLiteral(
                "select id from information_schema.processlist where info like 'insert into `d`.t(%'"));
            if (!id.isEmpty()) {
                m_server->run(QStringLiteral("kill ") + id);
                return;
            }
        }
    });
    user.run(changeTable);
    killer.request_stop();
    killer.join();
    QCOMPARE(user.dialogue.told, QStringList{QStringLiteral("ﾃｰﾌﾞﾙの変更に失敗しました。")});
    QCOMPARE(sumOf(QStringLiteral("t")), whole);
    QVERIFY(hasTrigger());
}

void TableChangeCutTest::aViewIsThereAfterEveryBreak_data()
{
    QTest::addColumn<QString>("text");
    QTest::newRow("changed") << "CREATE VIEW d.v AS select 2 AS x";
    QTest::newRow("refused") << "CREATE VIEW d.v AS select nothing";
}

void TableChangeCutTest::aViewIsThereAfterEveryBreak()
{
    QFETCH(QString, text);
    for (const QString &driver : drivers()) {
        for (const Cut what : {Cut::Request, Cut::Answer}) {
            bool hasCut = true;
            for (int n = 0; hasCut; ++n) {
                m_server->run(
                    QStringLiteral("create or replace database d; create view d.v as select 1 as x"));
                DdlUser user(*m_server, driver, QStringLiteral("d"), m_proxy->port());
                user.clickTable(QStringLiteral("v"));
                user.selection.txtField = text;
                m_proxy->cutAt(n, what, true);
                user.run(changeTable);
                hasCut = m_proxy->hasCut();
                m_proxy->cutAt(-2, Cut::Request, true);
                const QString tables = sql(QStringLiteral("show tables from d"));
                const QString said = user.dialogue.told.join(u'\n');
                QVERIFY2(tables == u"v" || said.contains(QStringLiteral("VIEW `d`.v")), qPrintable(said));
                if (hasCut)
                    QVERIFY(said.startsWith(QStringLiteral("ﾃｰﾌﾞﾙの変更に失敗しました。")));
            }
        }
    }
}

QTEST_GUILESS_MAIN(TableChangeCutTest)
#include "test_tablechangecut.moc"
