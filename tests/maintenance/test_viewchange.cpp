#include "ddlfixture.h"
#include "maintenance/tablechange.h"

namespace {

using L = QStringList;

const QString kindTest = QStringLiteral("show create table `d`.v;");
const QString drop = QStringLiteral("drop view `d`.v");
const QString edited = QStringLiteral(" CREATE VIEW d.v AS \r\nselect 2 ");
const QString saved = QStringLiteral("CREATE VIEW d.v AS \r\nselect order");
const QString own = QStringLiteral("CREATE VIEW `d`.`v` AS select `order`");
const QString useIt = QStringLiteral("use `d`");
const QString check = QStringLiteral("\nVIEW `d`.v を確認して下さい。元に戻せていない可能性があります。");

struct Failing {
    int at;
    int number = 1105;
};

} // namespace

Q_DECLARE_METATYPE(QList<Failing>)

class ViewChangeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aViewIsDroppedAndMadeAgain();
    void everyFailureIsUndone_data();
    void everyFailureIsUndone();
};

void ViewChangeTest::aViewIsDroppedAndMadeAgain()
{
    DdlFixture f;
    f.selection.lblTableName = QStringLiteral("v");
    f.selection.txtField = edited;
    f.script.always(kindTest, Reply::table({" View ", "Create View"}, {{"v", own}}));
    f.dialogue.expectConfirm(QStringLiteral("vﾃｰﾌﾞﾙを変更します。"), Icon::Critical, true);
    f.dialogue.expectInform(QStringLiteral("変更しました。"));
    QCOMPARE(f.run(changeTable).reload, Reload::Objects);
    QCOMPARE(f.script.sent, (L{kindTest, drop, edited}));
    QCOMPARE(f.dialogue.progresses, (L{"0/3", "1/3", "2/3", "3/3"}));
    QCOMPARE(f.dialogue.bars, QList<double>{1});
}

void ViewChangeTest::everyFailureIsUndone_data()
{
    QTest::addColumn<QList<Failing>>("failures");
    QTest::addColumn<bool>("isGone"); // what a new connection finds
    QTest::addColumn<L>("sent");
    QTest::addColumn<QString>("report");
    using F = QList<Failing>;
    const L forward{kindTest, drop, edited};
    QTest::newRow("drop") << F{{1}} << false << L{kindTest, drop} << "";
    QTest::newRow("new text") << F{{2}} << false << forward + L{saved} << "";
    QTest::newRow("both texts") << F{{2}, {3}} << false << forward + L{saved, own} << "";
    QTest::newRow("all texts") << F{{2}, {3}, {4}} << false << forward + L{saved, own} << "E4" + check;
    QTest::newRow("saved text, connection lost")
        << F{{2}, {3, 2013}} << false << forward + L{saved} << "E3" + check;
    QTest::newRow("drop lost, not done") << F{{1, 2013}} << false << L{kindTest, drop, useIt, kindTest} << "";
    QTest::newRow("drop lost, done") << F{{1, 2006}} << true << L{kindTest, drop, useIt, kindTest, saved}
                                     << "";
    QTest::newRow("new text lost, done") << F{{2, 2013}} << false << forward + L{useIt, kindTest} << "";
    QTest::newRow("new text lost, not done")
        << F{{2, 2013}} << true << forward + L{useIt, kindTest, saved} << "";
    QTest::newRow("new text lost, server away")
        << F{{2, 2013}, {3}} << true << forward + L{useIt} << "E3" + check;
}

void ViewChangeTest::everyFailureIsUndone()
{
    QFETCH(QList<Failing>, failures);
    QFETCH(bool, isGone);
    QFETCH(QString, report);
    DdlFixture f;
    f.selection.lblTableName = QStringLiteral("v");
    f.selection.txtField = edited;
    f.selection.lblCreateTable = saved;
    f.script.once(kindTest, Reply::table({"View", "Create View"}, {{"v", own}}));
    f.script.always(kindTest, isGone ? Reply::failure(QStringLiteral("gone"), 1146)
                                     : Reply::failure(QStringLiteral("invalid view"), 1356));
    for (const Failing &failing : failures)
        f.script.failAt(failing.at, Reply::failure(QStringLiteral("E%1").arg(failing.at), failing.number));
    f.dialogue.expectConfirm(QStringLiteral("vﾃｰﾌﾞﾙを変更します。"), Icon::Critical, true);
    f.dialogue.expectRefuse(QStringLiteral("ﾃｰﾌﾞﾙの変更に失敗しました。"));
    if (!report.isEmpty())
        f.dialogue.expectRefuse(report);
    QCOMPARE(f.run(changeTable).reload, Reload::Nothing);
    QTEST(f.script.sent, "sent");
    QVERIFY(f.dialogue.lastError.startsWith(QStringLiteral("E%1").arg(failures.first().at)));
    QCOMPARE(f.dialogue.lastError.contains(own), !report.isEmpty());
    QCOMPARE(f.dialogue.bars, QList<double>{0});
}

QTEST_APPLESS_MAIN(ViewChangeTest)
#include "test_viewchange.moc"
