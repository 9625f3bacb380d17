#include "maintenance/boundobject.h"
#include "support/gui/stage.h"

// Triggers and events, changed on servers of each brand.
class BoundObjectTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void aChangeKeepsWhatTheTextDoesNotSay_data() { TestServers::addRows(); }
    void aChangeKeepsWhatTheTextDoesNotSay();
    void aRefusedChangeLeavesEverything_data() { TestServers::addRows(); }
    void aRefusedChangeLeavesEverything();
    void aCutInTheMiddleLeavesTheOldOrTheNew_data() { TestServers::addRows(); }
    void aCutInTheMiddleLeavesTheOldOrTheNew();

private:
    TestServers m_servers{
        {"--event-scheduler=OFF"}, [](TestServer &server) {
            server.run(
                "create database d; use d; create table t(a int, b int); create user boss@localhost; "
                "grant all on *.* to boss@localhost; set sql_mode='ANSI_QUOTES,NO_BACKSLASH_ESCAPES'; "
                "create definer=boss@localhost trigger trg before insert on t for each row set new.b = 1;"
                "set time_zone='+03:00'; create definer=boss@localhost event e on schedule at "
                "'2037-01-01 12:00:00' do delete from t; create definer=boss@localhost event later "
                "on schedule every 1 day do delete from t; set timestamp=1000000000; "
                "create event past on schedule at now() + interval 1 hour do delete from t;");
        }};
    const BoundObject m_trigger{true, "d", "trg"}, m_event{false, "d", "e"}, m_past{false, "d", "past"};
};

void BoundObjectTest::aChangeKeepsWhatTheTextDoesNotSay()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    TestServer &server = m_servers.of(brand);
    RealStage stage(server, nativeDriverName());
    for (const auto &[object, from, to] :
         {std::tuple(m_trigger, "= 1", "= 2"), {m_event, "delete from t", "delete from t where a=1"}}) {
        const QString shown = readBoundObject(stage.session, object);
        QString edited = shown;
        QVERIFY2(edited.contains(from), qPrintable(shown));
        edited.replace(from, to);
        QVERIFY2(changeBoundObject(stage.session, stage.dialogue, object, shown, edited),
                 qPrintable(stage.told()));
        QCOMPARE(readBoundObject(stage.session, object), edited);
        // Somebody else has the old text.
        QVERIFY(!changeBoundObject(stage.session, stage.dialogue, object, shown, edited));
    }
    QCOMPARE(server.run("select definer, sql_mode from information_schema.triggers where trigger_name='trg'"),
             "boss@localhost\tANSI_QUOTES,NO_BACKSLASH_ESCAPES\n");
    QCOMPARE(server.run("select definer, time_zone, execute_at from information_schema.events where "
                        "event_name='e'"),
             "boss@localhost\t+03:00\t2037-01-01 12:00:00\n");
}

void BoundObjectTest::aRefusedChangeLeavesEverything()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    RealStage stage(m_servers.of(brand), nativeDriverName());
    const QRegularExpression table(" on [`\"]?t[`\"]? ", QRegularExpression::CaseInsensitiveOption);
    for (const BoundObject &object : {m_trigger, m_event, m_past}) {
        const QString shown = readBoundObject(stage.session, object);
        for (const QString &wrong :
             {shown + " )", QString("DROP TABLE t"),
              QString(object.isTrigger ? shown : "x").replace(table, " on gone "),
              QString("create event later on schedule every 1 day do delete from t"),
              QString("create event e on schedule at '2020-01-01' do delete from t"),
              QString("create event past on schedule at '2037-01-01' do delete from t")}) {
            QVERIFY2(!changeBoundObject(stage.session, stage.dialogue, object, shown, wrong),
                     qPrintable(wrong + stage.told()));
            QCOMPARE(readBoundObject(stage.session, object), shown);
        }
    }
    QCOMPARE(
        m_servers.of(brand).run("select definer from information_schema.events where event_name='later'"),
        "boss@localhost\n");
    QVERIFY(!createBoundObject(stage.session, stage.dialogue, {false, "d", {}},
                               "create event over on schedule at '2020-01-01' do delete from t"));
    const BoundObject made{true, "d", {}};
    QVERIFY(!createBoundObject(stage.session, stage.dialogue, made, "create table d.x(a int)"));
    QVERIFY(createBoundObject(stage.session, stage.dialogue, made,
                              "create trigger second after delete on t for each row set @x = 1"));
    QVERIFY(dropBoundObject(stage.session, stage.dialogue, {true, "d", "second"}));
    QVERIFY_EXCEPTION_THROWN(readBoundObject(stage.session, {true, "d", "second"}), Failure);
}

// The old one is dropped by then.
void BoundObjectTest::aCutInTheMiddleLeavesTheOldOrTheNew()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    RealStage stage(m_servers.of(brand), nativeDriverName());
    for (const auto &[object, from, to] :
         {std::tuple(m_trigger, "new.b", "new.a"), {m_event, "delete from t", "delete low_priority from t"}})
        for (const bool isMade : {false, true}) {
            const QString shown = readBoundObject(stage.session, object);
            QString edited = shown;
            edited.replace(from, to);
            WrappedConnection::into(
                stage.session, [&, text = QString(to)](Connection &inner, const QString &statement) {
                    const bool isNew = statement.startsWith("CREATE") && statement.contains(text);
                    if (isNew && !isMade)
                        inner.close();
                    RecordSet rows = inner.execute(statement);
                    if (isNew) {
                        inner.close();
                        throw Failure("Lost connection", 2013);
                    }
                    return rows;
                });
            QCOMPARE(changeBoundObject(stage.session, stage.dialogue, object, shown, edited), isMade);
            QCOMPARE(readBoundObject(stage.session, object), isMade ? edited : shown);
        }
}

QTEST_MAIN(BoundObjectTest)
#include "test_boundobject.moc"
