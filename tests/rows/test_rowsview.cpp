#include "rows/rowsstage.h"
#include "support/rows.h"

#include <QHeaderView>
#include <QPushButton>

// The rows of a table in a pane, by a user's hands, over a real server: which of them are shown.
class RowsViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_server.refill(); }
    void conditionsThatCannotBeSent_data();
    void conditionsThatCannotBeSent();
    void pagesGoOnBehindAnyRow_data();
    void pagesGoOnBehindAnyRow();
    void sortingAPageSaysThatItIsOne();
    void whatCannotBeEditedSaysWhy();

private:
    RowsServer m_server;
};

void RowsViewTest::conditionsThatCannotBeSent_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("isAllowed");
    row("a=1 -- note", QString("a=1 -- note"), true);
    row("a in (select 1)", QString("a in (select 1)"), true);
    row("a=')'", QString("a=')'"), true);
    row("a=1; drop table t", QString("a=1; drop table t"), false);
    row("a='x", QString("a='x"), false);
    row("a=1 /*", QString("a=1 /*"), false);
    row("1) or (1", QString("1) or (1"), false);
    row("(1", QString("(1"), false);
}

void RowsViewTest::conditionsThatCannotBeSent()
{
    QFETCH(QString, text);
    QFETCH(bool, isAllowed);
    QCOMPARE(whyNoCondition(text).isEmpty(), isAllowed);
}

void RowsViewTest::pagesGoOnBehindAnyRow_data()
{
    QTest::addColumn<QString>("order");
    QTest::addColumn<QStringList>("pages"); // of three rows, by id
    row("id desc", QString("id desc"), QStringList{"7 6 5", "4 3 2", "1"});
    row("name", QString("name"), QStringList{"3 2 5", "1 4 6", "7"});
    row("`n` DESC, name", QString("`n` DESC, name"), QStringList{"5 3 1", "6 2 4", "7"});
    row("n", QString("n"), QStringList{"4 7 2", "1 3 6", "5"});
    row("length(name), id", QString("length(name), id"), QStringList{"3 1 2", "4 5 6", "7"}); // counted
    row("e", QString("e"), QStringList{"3 6 2", "5 4 1", "7"});
    row("e desc", QString("e desc"), QStringList{"1 7 4", "2 5 3", "6"});
    row("b", QString("b"), QStringList{"4 5 3", "7 2 6", "1"});
    row("", QString(), QStringList{"1 2 3", "4 5 6", "7"});
    row("as it is stored", QString(), QStringList{"7 1 2", "3 4 5", "6"});
}

void RowsViewTest::pagesGoOnBehindAnyRow()
{
    QFETCH(QString, order);
    QFETCH(QStringList, pages);
    if (QTest::currentDataTag() == QByteArray("as it is stored"))
        m_server.run(
            "alter table d.t engine=MyISAM; create table d.s like d.t; insert into d.s select * from d.t "
            "order by id=7 desc, id; drop table d.t; rename table d.s to d.t");
    RowsStage viewer(m_server);
    viewer.pane.rowsOrder->setText(order);
    viewer.read("t");
    for (const QString &page : pages) {
        QCOMPARE(viewer.column(0), page);
        viewer.pane.nextRows->setFocus();
        viewer.pane.nextRows->click();
        QCOMPARE(viewer.pane.focusWidget(), &viewer.pane.grid); // and not what takes savings back
    }
    LastConditions otherStart(viewer.session);
    QCOMPARE(otherStart.of("d", "t").orders.join(' '), order);
    QVERIFY(!viewer.pane.nextRows->isEnabled());
    viewer.pane.previousRows->click();
    QCOMPARE(viewer.column(0), pages[1]);
    viewer.pane.previousRows->click();
    QCOMPARE(viewer.column(0), pages[0]);
    QVERIFY(!viewer.pane.previousRows->isEnabled());
}

void RowsViewTest::sortingAPageSaysThatItIsOne()
{
    RowsStage viewer(m_server);
    viewer.read("t");
    const QHeaderView &header = *viewer.pane.grid.horizontalHeader();
    QTest::mouseClick(header.viewport(), Qt::LeftButton, {}, {header.sectionViewportPosition(1) + 9, 5});
    QTRY_VERIFY2(viewer.state().contains("行だけの並べ替え"), qPrintable(viewer.state()));
}

void RowsViewTest::whatCannotBeEditedSaysWhy()
{
    RowsStage viewer(m_server);
    for (const auto &[table, words] : {std::pair("v", "ビュー"), std::pair("keyless", "キー")}) {
        viewer.read(table);
        QVERIFY2(viewer.state().contains(words), qPrintable(viewer.state()));
        viewer.press("Ctrl+Ins");
        QVERIFY(!viewer.pane.saveRows->isEnabled());
    }
}

QTEST_MAIN(RowsViewTest)
#include "test_rowsview.moc"
