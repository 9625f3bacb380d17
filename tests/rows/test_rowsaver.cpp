#include "core/driver/connect.h"
#include "core/session/basconnection.h"
#include "rows/rowreading.h"
#include "rows/rowsaver.h"
#include "support/cuttingproxy.h"
#include "support/rows.h"
#include "support/testserver.h"

using Brand = TestServer::Brand;
using Cut = CuttingProxy::Cut;
using Ending = SaveReport::Ending;
using Kind = RowChange::Kind;

namespace {

const char *const setUp =
    "drop database if exists d; create database d default character set utf8mb4; use d;"
    "create table t (id int not null auto_increment primary key, name varchar(10) default 'neu', f float, "
    "at timestamp(6) null default null on update current_timestamp(6), price decimal(8,2), bits bit(9)) "
    "engine=%1;";
const char *const rows = "set sql_mode='NO_AUTO_VALUE_ON_ZERO';"
                         "insert into d.t (id, name, f, price, bits) values (0, 'a', 0.1, 1, b'101'), (1, "
                         "'b', 16777217, 2, null), "
                         "(2, 'A', 3e-7, 3, b'0'), (3, 'c', null, 4, b'1');";

} // namespace

// Saving rows and taking it back, on real servers: all or nothing, and never over what somebody else did.
class RowSaverTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestServers::addConnectionRows(); }
    void init();
    void whatIsSavedCanBeTakenBack();
    void whatSomebodyElseChangedStays();
    void aRefusedValueLeavesNothing_data();
    void aRefusedValueLeavesNothing();
    void whatTheUserHasSetDoesNoHarm_data();
    void whatTheUserHasSetDoesNoHarm();
    void aTransactionOfTheUsersIsNotEnded();
    void withoutTransactionsTheFirstFailureStops();
    void everyStatementMayBreak();

private:
    void make(const char *engine) { m_server->run(QString(setUp).arg(engine) + rows); }
    // Everything, and all digits.
    QString contents() const { return m_server->run("select *, f+0e0, bits+0 from d.t order by id"); }
    void connectTo(int port);
    TableShape shape() { return readTableShape(m_session.connection(), "d", "t"); }
    RowChange changeOf(const TableShape &table, Kind kind, int id, std::map<int, RowValue> values = {});
    // One of each sort: a value, a key, a value that stays as it is, a new row, a deleted one.
    std::vector<RowChange> someOfEach(const TableShape &table);
    SaveReport save(const std::vector<RowChange> &changes) { return save(changes, shape()); }
    SaveReport save(const std::vector<RowChange> &changes, const TableShape &table);

    // Hundreds of small changes: waiting for the disk would cost minutes.
    TestServers m_servers{{"--loose-debug-no-sync"}};
    TestServer *m_server = nullptr;
    std::unique_ptr<CuttingProxy> m_proxy;
    BlockingPump m_pump;
    Session m_session;
    TableShape m_keptTable;
    std::vector<RowChange> m_kept; // what takes the last saving back
};

void RowSaverTest::init()
{
    QFETCH_GLOBAL(Brand, brand);
    SKIP_WITHOUT(brand);
    m_server = &m_servers.of(brand);
    m_kept.clear();
    make("InnoDB");
    connectTo(m_server->port());
}

void RowSaverTest::connectTo(int port)
{
    QFETCH_GLOBAL(bool, isBuiltIn);
    m_session.connectBy(createConnection, m_pump);
    m_session.gDsn = noDataSource();
    m_session.gDriver = isBuiltIn ? nativeDriverName() : QStringLiteral("MySQL ODBC 3.51 Driver");
    m_session.gServer = "127.0.0.1";
    m_session.gUser = m_session.gPass = "demo";
    m_session.gPort = QString::number(port);
    QVERIFY(fConnect(m_session));
}

RowChange RowSaverTest::changeOf(const TableShape &table, Kind kind, int id, std::map<int, RowValue> values)
{
    const auto rows = selectRows(m_session.connection(), table, QStringLiteral(" where id=%1").arg(id));
    return {kind, id, rows.at(0), std::move(values)};
}

std::vector<RowChange> RowSaverTest::someOfEach(const TableShape &table)
{
    return {changeOf(table, Kind::Deleted, 1),
            changeOf(table, Kind::Changed, 2, {{1, "日本'\\"}, {2, "7.5"}}),
            changeOf(table, Kind::Changed, 3, {{0, "30"}, {5, QByteArray("\x01\x01", 2)}}),
            changeOf(table, Kind::Changed, 0, {{4, "1.000"}}),
            {Kind::Added, 9, {}, {{2, "0.25"}, {5, {}}}}};
}

SaveReport RowSaverTest::save(const std::vector<RowChange> &changes, const TableShape &table)
{
    return RowSaver(m_session, table, changes)
        .save([this](const TableShape &whole, const std::vector<RowChange> &inverse) {
            m_keptTable = whole;
            m_kept = inverse;
        });
}

void RowSaverTest::whatIsSavedCanBeTakenBack()
{
    const QString before = contents();
    const SaveReport report = save(someOfEach(shape()));
    QCOMPARE(report.words, QString());
    QCOMPARE(report.ending, Ending::Saved);
    QVERIFY(report.saved.at(0).empty());
    QVERIFY(report.saved.at(1).at(3)); // the time that the server has set
    QCOMPARE(*report.saved.at(2).at(0), "30");
    QCOMPARE(*report.saved.at(4).at(1), "neu");
    const QStringList rows = contents().split('\n');
    QVERIFY2(rows.value(1).contains("日本'\\"), qPrintable(rows.join('\n')));
    QVERIFY(contents().contains("\n30\tc\tNULL\t") && contents().contains("\t257\n"));

    QCOMPARE(m_kept.size(), 4u); // what stayed as it was needs no way back
    const QString after = contents();
    const SaveReport back = save(m_kept);
    QCOMPARE(back.ending, Ending::Saved);
    QCOMPARE(contents(), before);
    QCOMPARE(save(m_kept).ending, Ending::Saved); // and forward again, which takes back the taking back
    QCOMPARE(contents().count('\n'), after.count('\n'));
}

void RowSaverTest::whatSomebodyElseChangedStays()
{
    const TableShape table = shape();
    const std::vector<RowChange> changes = someOfEach(table);
    m_server->run("update d.t set price=9 where id=3; delete from d.t where id=1; "
                  "update d.t set name='B' where id=2");
    const QString before = contents();
    const SaveReport report = save(changes);
    QCOMPARE(report.ending, Ending::Conflicts);
    QCOMPARE(contents(), before);
    QCOMPARE(report.conflicts.size(), 3u);
    QVERIFY(report.conflicts[0].theirs.empty());
    QCOMPARE(*report.conflicts[1].theirs[1], "B");
    QCOMPARE(report.conflicts[2].change, 2u);
    QVERIFY(m_kept.empty());
}

void RowSaverTest::aRefusedValueLeavesNothing_data()
{
    QTest::addColumn<QString>("column");
    QTest::addColumn<QByteArray>("value");
    const auto add = [](const char *column, const QByteArray &value) { row(value, QString(column), value); };
    add("n varchar(3)", "abcd");
    add("n varchar(3) character set latin1", "日本");
    add("n tinyint", "128");
    add("n tinyint", "1 or 1=1");
    add("n date", "2021-02-29");
    add("n enum('a')", "b");
    add("n int not null", "NULL"); // as text
    add("n bit(2)", "\xff");
    add("n int, unique (n)", "5");
}

void RowSaverTest::aRefusedValueLeavesNothing()
{
    QFETCH(QString, column);
    QFETCH(QByteArray, value);
    m_server->run(
        "set global sql_mode=''; drop table d.t; create table d.t (id int primary key, other int, " + column +
        "); insert into d.t (id, n) values (1, 0+0), (2, 0+5)");
    m_session.gCn.reset();
    connectTo(m_server->port());
    if (column.contains("enum"))
        m_server->run("update d.t set n='a'");
    if (column.contains("date"))
        m_server->run("update d.t set n='2020-01-01'");
    const QString before = m_server->run("select * from d.t");
    const TableShape table = shape();
    const SaveReport report = save(
        {changeOf(table, Kind::Changed, 2, {{1, "1"}}), changeOf(table, Kind::Changed, 1, {{2, value}})});
    QCOMPARE(report.ending, Ending::Refused);
    QCOMPARE(report.refused, std::optional<std::size_t>(1));
    QVERIFY(!report.words.isEmpty());
    QCOMPARE(m_server->run("select * from d.t"), before);
    RecordSet mode = m_session.connection().execute("select @@sql_mode");
    QCOMPARE(mode.text(0), QString());
}

void RowSaverTest::whatTheUserHasSetDoesNoHarm_data()
{
    QTest::addColumn<QString>("setting");
    for (const char *setting : {"names latin1", "names cp932", "character_set_results=null",
                                "sql_select_limit=1", "completion_type=1", "completion_type=2",
                                "sql_mode='ANSI_QUOTES,NO_BACKSLASH_ESCAPES,PIPES_AS_CONCAT'",
                                "sql_safe_updates=1", "time_zone='+09:00'"})
        row(setting, QString(setting));
}

void RowSaverTest::whatTheUserHasSetDoesNoHarm()
{
    QFETCH(QString, setting);
    const QString before = contents();
    const TableShape table = shape();
    const std::vector<RowChange> changes = someOfEach(table);
    try {
        m_session.connection().execute("set " + setting);
    } catch (const Failure &error) {
        QSKIP(qPrintable(error.description()));
    }
    const auto variables = [this] {
        RecordSet rows = m_session.connection().execute(
            "select concat_ws(';', @@character_set_client, ifnull(@@character_set_results, 'NULL'), "
            "@@collation_connection, @@sql_select_limit, @@completion_type, @@sql_mode)");
        return rows.text(0);
    };
    const QString set = variables();
    QCOMPARE(save(changes, table).words, QString());
    QVERIFY2(contents().contains("日本'\\"), qPrintable(contents()));
    QCOMPARE(save(m_kept, table).words, QString());
    QCOMPARE(contents(), before);
    QCOMPARE(variables(), set);
}

void RowSaverTest::aTransactionOfTheUsersIsNotEnded()
{
    m_session.connection().execute("set autocommit=0");
    m_session.connection().execute("update d.t set name='open' where id=0");
    const SaveReport report = save({changeOf(shape(), Kind::Deleted, 1)});
    QCOMPARE(report.ending, Ending::Refused);
    QVERIFY2(report.words.contains("autocommit"), qPrintable(report.words));
    const auto open = [this](const char *name) {
        return m_session.connection()
            .execute(QStringLiteral("select count(*) from d.t where name='%1'").arg(name))
            .text(0);
    };
    QVERIFY(!contents().contains("open"));
    QCOMPARE(open("open"), "1");
    // A sheet's saving joins it, and what is refused takes back nothing but itself.
    const auto join = [this](std::vector<RowChange> changes) {
        return RowSaver(m_session, shape(), std::move(changes), {.joinsTransaction = true})
            .save([](auto &&...) { QFAIL("its rollback takes it back"); });
    };
    const RowChange good = changeOf(shape(), Kind::Changed, 2, {{1, "joined"}});
    QCOMPARE(join({good, changeOf(shape(), Kind::Changed, 3, {{0, "0"}})}).ending, Ending::Refused);
    QCOMPARE(open("open") + open("joined"), "10");
    QCOMPARE(join({good}).words, QString());
    QCOMPARE(open("open") + open("joined"), "11");
    QVERIFY(!contents().contains("joined"));
    m_session.connection().execute("rollback");
    QCOMPARE(open("open") + open("joined"), "00");
    m_session.connection().execute("rollback"); // what the question has begun
}

void RowSaverTest::withoutTransactionsTheFirstFailureStops()
{
    make("MyISAM");
    const TableShape table = shape();
    QVERIFY(!table.isTransactional);
    std::vector<RowChange> changes = someOfEach(table);
    changes[2].values[1] = "far too long a name";
    const SaveReport report = save(changes);
    QCOMPARE(report.ending, Ending::Refused);
    QCOMPARE(report.saved.size(), 2u);
    QCOMPARE(report.refused, std::optional<std::size_t>(2));
    QCOMPARE(m_kept.size(), 2u);
    const QString done = contents();
    QVERIFY(!done.contains("\n1\t") && done.contains("日本") && done.contains("\n3\t"));
}

// Whatever is lost, the report tells the truth: all of it is there, or nothing.
void RowSaverTest::everyStatementMayBreak()
{
    const TableShape table = shape();
    const std::vector<RowChange> changes = someOfEach(table);
    const QString before = contents();
    m_proxy = std::make_unique<CuttingProxy>(m_server->port());
    struct Breaking {
        Cut what;
        bool mayReturn;
    };
    for (const auto &[what, mayReturn] :
         {Breaking{Cut::Request, true}, Breaking{Cut::Answer, true}, Breaking{Cut::Answer, false}}) {
        bool hasCut = true;
        for (int statement = 0; hasCut; ++statement) {
            m_server->run("delete from d.t;" + QString(rows));
            m_proxy->cutAt(-2, Cut::Request, true);
            m_session.gCn.reset();
            connectTo(m_proxy->port());
            m_proxy->cutAt(statement, what, mayReturn);
            const SaveReport report = RowSaver(m_session, table, changes).save([](auto &&...) {});
            hasCut = m_proxy->hasCut();
            const QByteArray where = QByteArray::number(statement) + " " + report.words.toUtf8();
            if (report.ending == Ending::Unknown)
                QVERIFY2(!mayReturn, where.constData());
            else
                QVERIFY2((contents() == before) == (report.ending == Ending::Refused), where.constData());
            QVERIFY2(report.ending == Ending::Saved || hasCut, where.constData());
            QVERIFY2(report.ending != Ending::Conflicts, where.constData());
            QVERIFY2(report.ending == Ending::Saved || !report.words.isEmpty(), where.constData());
        }
    }
    m_session.gCn.reset();
    m_proxy.reset();
}

QTEST_GUILESS_MAIN(RowSaverTest)
#include "test_rowsaver.moc"
