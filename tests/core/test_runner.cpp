#include "core/session/basconnection.h"
#include "core/session/session.h"
#include "support/scriptedconnection.h"

#include <QTest>

// One thing runs at a time, and a stop is never taken for an answer.
class RunnerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void oneThingRunsAndOneChoiceOfEachOwnerWaits();
    void whoeverLeavesGoesWhenWhatRanHasEnded();
    void afterAStopOnlyUndoingIsSent();
    void aConnectionUnderWayIsStopped();
    void aSiblingRunsAndStopsForItself();
    void aFailureEndsTheRun();

private:
    void run(const Runner::Action &action) { m_session->runner.run(this, "x", action); }
    void choose(QObject *owner, const QString &name)
    {
        m_session->runner.choose(owner, name, [this, name] { m_done << name; });
    }
    bool isRefused(const QString &statement)
    {
        try {
            m_session->gCn->execute(statement);
            return false;
        } catch (const Failure &error) {
            return error.isInterrupted();
        }
    }

    Script m_script;
    std::unique_ptr<Session> m_session;
    QStringList m_done;
};

void RunnerTest::init()
{
    m_session = std::make_unique<Session>();
    m_session->connectBy(m_script.factory());
    m_session->gCn = m_session->makeConnection({});
    m_session->gCn->open();
    m_script.sent.clear();
    m_done.clear();
}

void RunnerTest::oneThingRunsAndOneChoiceOfEachOwnerWaits()
{
    QObject list, other;
    auto gone = std::make_unique<QObject>();
    choose(&list, "at once");
    QCOMPARE(m_done, QStringList("at once"));
    run([&] {
        QVERIFY(!m_session->runner.run(&list, "y", [] { QFAIL("two at a time"); }));
        choose(&list, "early");
        choose(gone.get(), "of nobody");
        choose(&other, "other");
        choose(&list, "late");
        gone.reset();
        QCOMPARE(m_done.size(), 1);
    });
    QTRY_COMPARE(m_done, (QStringList{"at once", "other", "late"}));
}

void RunnerTest::whoeverLeavesGoesWhenWhatRanHasEnded()
{
    QObject window, another;
    QObject list(&window);
    Runner &runner = m_session->runner;
    run([&] {
        choose(&list, "in the window");
        choose(&another, "elsewhere");
        runner.leave(&window, [&] {
            m_done << "left";
            QVERIFY(!runner.isRunning() && !runner.isStopWanted());
        });
        choose(&list, "in a window that is being left");
        QVERIFY(runner.isStopWanted() && m_done.isEmpty());
    });
    QVERIFY(!runner.run(&another, "y", [] { QFAIL("something begins"); }));
    QTRY_COMPARE(m_done, (QStringList{"left", "elsewhere"}));
    runner.leave(&window, [&] { m_done << "at once"; });
    QCOMPARE(m_done.last(), "at once");
}

void RunnerTest::afterAStopOnlyUndoingIsSent()
{
    m_script.always("optimize", Reply::noted("the session's variables are gone"));
    run([&] {
        m_session->gCn->execute("optimize");
        m_session->runner.stop();
        QVERIFY(isRefused("forward"));
        {
            const Undoing undoing(*m_session);
            QVERIFY(!isRefused("back"));
        }
        QVERIFY(isRefused("forward"));
        QVERIFY_THROWS_EXCEPTION(Failure, m_session->connection());
        QVERIFY_THROWS_EXCEPTION(Failure, m_session->requireGoingOn());
    });
    run([&] {
        QCOMPARE(m_session->runner.notes(), "");
        QVERIFY(!isRefused("next"));
    });
    QCOMPARE(m_script.sent, (QStringList{"optimize", "back", "next"}));
    QCOMPARE(m_session->statementLog->entries().size(), std::size_t{3});
}

void RunnerTest::aConnectionUnderWayIsStopped()
{
    struct Waiting : Connection {
        int &cancels;
        explicit Waiting(int &count)
            : cancels(count)
        {
        }
        void open() override {}
        void close() override {}
        bool isOpen() const override { return false; }
        QString connectionString() const override { return {}; }
        ServerInfo server() const override { return {}; }
        RecordSet execute(const QString &) override { return {}; }
        bool isBusy() const override { return true; }
        void cancel() override { ++cancels; }
    };
    int cancels = 0;
    m_session->connectBy([&](const QString &) { return std::make_unique<Waiting>(cancels); });
    auto opening = m_session->makeConnection({});
    m_session->runner.stop();
    QCOMPARE(cancels, 1);
    {
        const Undoing undoing(*m_session);
        m_session->runner.stop();
    }
    QCOMPARE(cancels, 1); // what is put back is not given up
    opening.reset();
    m_session->runner.stop();
    QCOMPARE(cancels, 1);
}

void RunnerTest::aSiblingRunsAndStopsForItself()
{
    Session &first = *m_session;
    first.gDsn = noDataSource();
    first.gPass = "secret";
    first.gDbName = "d";
    const std::unique_ptr<Session> sibling = siblingOf(first, "e");
    BlockingPump pump;
    const std::unique_ptr<Session> quiet = siblingOf(first, "e", pump);
    run([&] {
        first.runner.stop();
        QVERIFY(isRefused("first"));
        for (Session *other : {sibling.get(), quiet.get()}) {
            QVERIFY(fConnect(*other));
            QVERIFY(other->runner.run(this, "x", [&] { other->connection().execute("second"); }));
        }
    });
    QCOMPARE(m_script.sent, (QStringList{"second", "second"}));
    QCOMPARE(m_script.connectionStrings.last(), connectionStringOf(first).replace("=d", "=e"));
    QCOMPARE(first.statementLog->entries().size(), std::size_t{1}); // without those of another thread
}

void RunnerTest::aFailureEndsTheRun()
{
    QVERIFY_THROWS_EXCEPTION(Failure, run([] { throw Failure("x"); }));
    QVERIFY(!m_session->runner.isRunning());
}

QTEST_GUILESS_MAIN(RunnerTest)
#include "test_runner.moc"
