#include "ddlfixture.h"
#include "maintenance/routines.h"

namespace {

using L = QStringList;

const QString show = QStringLiteral("show create procedure `d`.p;");
const QString drop = QStringLiteral("DROP PROCEDURE `d`.p");
const QString created = QStringLiteral("CREATE PROCEDURE `d`.p()\nselect 2");
const QString old = QStringLiteral("CREATE PROCEDURE `d`.p()\nselect order");
const QString own = QStringLiteral("CREATE PROCEDURE `p`()\nselect `order`");
const QString useIt = QStringLiteral("use `d`");
const QString check = QStringLiteral("\n`d`.p を確認して下さい。元に戻せていない可能性があります。");
const QString question = QStringLiteral("[PROC]\tpを変更します。");

struct Failing {
    int at;
    int number = 1105;
};

struct RoutineFixture : DdlFixture {
    RoutineFixture()
    {
        selection.routine = QStringLiteral("[PROC]\tp");
        selection.txtProc = QStringLiteral(" create definer=me procedure p()\r\nselect 2 ");
        selection.lblCreateProc = QStringLiteral("CREATE DEFINER=me@% PROCEDURE p()\r\nselect order");
        script.once(show, Reply::table({"Procedure", "sql_mode", "Create Procedure"}, {{"p", "", own}}));
    }
};

} // namespace

Q_DECLARE_METATYPE(QList<Failing>)

class RoutinesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void textsAreShownAndSent_data();
    void textsAreShownAndSent();
    void aRoutineIsReplaced();
    void nothingIsDoneWithoutTextOrConsent();
    void everyFailureIsUndone_data();
    void everyFailureIsUndone();
    void aRoutineIsDropped();
    void aRefusedDropIsLeftToTheWindow();
};

void RoutinesTest::textsAreShownAndSent_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("statement");
    QTest::newRow("procedure") << "[PROC]"
                               << "CREATE PROCEDURE p() select 1"
                               << "CREATE PROCEDURE `d`.p() select 1";
    QTest::newRow("function, lower case") << "[FUNC]"
                                          << "create function  f() returns int return 1 "
                                          << "CREATE FUNCTION `d`.f() returns int return 1";
    QTest::newRow("any other tag is a function") << "[X]"
                                                 << "Function f()"
                                                 << "CREATE FUNCTION `d`.f()";
    QTest::newRow("first keyword only") << "[PROC]"
                                        << "Procedure a() call procedure b()"
                                        << "CREATE PROCEDURE `d`.a() call procedure b()";
    // Cut at the place that the missing keyword's length gives.
    QTest::newRow("no keyword") << "[PROC]"
                                << "create p() select 1"
                                << "CREATE PROCEDURE `d`.() select 1";
    QTest::newRow("no keyword, short") << "[FUNC]"
                                       << "x"
                                       << "CREATE FUNCTION `d`.";
}

void RoutinesTest::textsAreShownAndSent()
{
    QFETCH(QString, kind);
    QFETCH(QString, text);
    QTEST(createRoutineStatement(kind, QStringLiteral("d"), text), "statement");
    QCOMPARE(shownRoutineText(QStringLiteral("CREATE `p`\nselect `a`")),
             QStringLiteral("CREATE p\r\nselect a"));
}

void RoutinesTest::aRoutineIsReplaced()
{
    RoutineFixture f;
    f.dialogue.expectConfirm(question, Icon::Critical, true);
    f.dialogue.expectInform(QStringLiteral("変更しました。"));
    QCOMPARE(f.run(changeRoutine).reload, Reload::Objects);
    QCOMPARE(f.script.sent, (L{show, drop, created}));
}

void RoutinesTest::nothingIsDoneWithoutTextOrConsent()
{
    RoutineFixture f;
    f.dialogue.expectConfirm(question, Icon::Critical, false);
    f.run(changeRoutine);
    f.selection.txtProc = QStringLiteral("  ");
    f.run(changeRoutine);
    QVERIFY(f.script.sent.isEmpty());
}

void RoutinesTest::everyFailureIsUndone_data()
{
    QTest::addColumn<QList<Failing>>("failures");
    QTest::addColumn<bool>("isGone"); // what a new connection finds
    QTest::addColumn<L>("sent");
    QTest::addColumn<QString>("report");
    using F = QList<Failing>;
    const L forward{show, drop, created};
    QTest::newRow("reading") << F{{0}} << false << L{show} << "";
    QTest::newRow("drop") << F{{1}} << false << L{show, drop} << "";
    QTest::newRow("create") << F{{2}} << false << forward + L{old} << "";
    QTest::newRow("create, then as shown") << F{{2}, {3}} << false << forward + L{old, useIt, own} << "";
    QTest::newRow("create, then neither text")
        << F{{2}, {3}, {5}} << false << forward + L{old, useIt, own} << "E5" + check;
    QTest::newRow("drop lost, not done") << F{{1, 2013}} << false << L{show, drop, useIt, show} << "";
    QTest::newRow("drop lost, done") << F{{1, 2013}} << true << L{show, drop, useIt, show, old} << "";
    QTest::newRow("create lost, done") << F{{2, 2013}} << false << forward + L{useIt, show} << "";
    QTest::newRow("create lost, not done") << F{{2, 2013}} << true << forward + L{useIt, show, old} << "";
    QTest::newRow("create lost, server away")
        << F{{2, 2013}, {3}} << true << forward + L{useIt} << "E3" + check;
}

void RoutinesTest::everyFailureIsUndone()
{
    QFETCH(QList<Failing>, failures);
    QFETCH(bool, isGone);
    QFETCH(QString, report);
    RoutineFixture f;
    if (isGone)
        f.script.always(show, Reply::failure(QStringLiteral("gone"), 1305));
    for (const Failing &failing : failures)
        f.script.failAt(failing.at, Reply::failure(QStringLiteral("E%1").arg(failing.at), failing.number));
    f.dialogue.expectConfirm(question, Icon::Critical, true);
    f.dialogue.expectRefuse(QStringLiteral("変更に失敗しました。"));
    if (!report.isEmpty())
        f.dialogue.expectRefuse(report);
    QCOMPARE(f.run(changeRoutine).reload, Reload::Nothing);
    QTEST(f.script.sent, "sent");
    QVERIFY(f.dialogue.lastError.startsWith(QStringLiteral("E%1").arg(failures.first().at)));
    QCOMPARE(f.dialogue.lastError.contains(own), !report.isEmpty());
}

void RoutinesTest::aRoutineIsDropped()
{
    DdlFixture f;
    f.selection.routine = QStringLiteral("[FUNC]\t関数");
    f.dialogue.expectConfirm(QStringLiteral("[FUNC]\t関数を削除します。"), Icon::Critical, true);
    f.dialogue.expectInform(QStringLiteral("削除しました。"));
    QCOMPARE(f.run(dropRoutine).reload, Reload::Objects);
    QCOMPARE(f.script.sent, L{"DROP FUNCTION `d`.関数"});
    f.dialogue.expectConfirm(QStringLiteral("[FUNC]\t関数を削除します。"), Icon::Critical, false);
    QCOMPARE(f.run(dropRoutine).reload, Reload::Nothing);
    QCOMPARE(f.script.sent.size(), 1);
}

void RoutinesTest::aRefusedDropIsLeftToTheWindow()
{
    RoutineFixture f;
    f.script.failAt(0, Reply::failure(QStringLiteral("denied"), 1370));
    f.dialogue.expectConfirm(QStringLiteral("[PROC]\tpを削除します。"), Icon::Critical, true);
    QVERIFY_THROWS_EXCEPTION(SqlError, f.run(dropRoutine));
    f.selection.routine.clear();
    QVERIFY_THROWS_EXCEPTION(SqlError, f.run(dropRoutine));
}

QTEST_APPLESS_MAIN(RoutinesTest)
#include "test_routines.moc"
