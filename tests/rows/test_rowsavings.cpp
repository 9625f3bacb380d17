#include "rows/rowsstage.h"
#include "support/files.h"

#include <QPushButton>
#include <QTreeWidget>

namespace {

QStringList linesOf(const QTreeWidget &tree)
{
    QStringList lines;
    for (QTreeWidgetItemIterator item(const_cast<QTreeWidget *>(&tree)); *item; ++item) {
        QStringList cells;
        for (int column = 0; column < tree.columnCount(); ++column)
            cells << (*item)->text(column);
        lines << cells.join('|');
    }
    return lines;
}

} // namespace

// Rows that were edited in a grid are saved, and taken back.
class RowSavingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_server.refill(); }
    void whatIsEditedIsSavedAndTakenBack();
    void halfASavingTakesNoOtherAlong();
    void whoChangedTheRowIsAskedFor();
    void aConflictAfterRowsThatAreSaved();
    void aRefusedRowStaysEdited();

private:
    RowsServer m_server;
};

void RowSavingsTest::whatIsEditedIsSavedAndTakenBack()
{
    m_server.run("alter table d.t add at timestamp null default '2020-01-01 00:00:00'");
    RowsStage viewer(m_server);
    viewer.pane.rowsWhere->setText("id between 1 and 3");
    viewer.read("t", 100);
    const QString before = m_server.run("select * from d.t");
    viewer.grid.sortByColumn(0, Qt::DescendingOrder); // ids 3 2 1
    viewer.type(0, 1, "new");
    viewer.choose(1, 2);
    viewer.press("Ctrl+0");
    viewer.choose(2, 0);
    viewer.press("Ctrl+D");
    viewer.press("Del"); // the copy goes at once
    viewer.choose(2, 0);
    viewer.press("Del");
    viewer.press("Ctrl+Ins");
    viewer.type(3, 1, "add");
    QVERIFY2(viewer.state().contains("4件の変更"), qPrintable(viewer.state()));
    QCOMPARE(m_server.run("select * from d.t"), before);

    viewer.press("Ctrl+S");
    QVERIFY2(viewer.state().contains("4件を保存しました"), qPrintable(viewer.state()));
    QCOMPARE(m_server.run("select id, name, n from d.t where id<4 or id>7"),
             QString("2\ta\tNULL\n3\tnew\t2\n8\tadd\tNULL\n"));
    QCOMPARE(viewer.column(0), QString("8 3 2")); // still sorted
    const auto savings = RowHistory(viewer.session).savings();
    QCOMPARE(savings.size(), 1u);
    const QFileInfo file(viewer.folder.path() + '/' +
                         QDir(viewer.folder.path()).entryList({"*.undo"}).value(0));
    QVERIFY(!(file.permissions() & (QFileDevice::ReadGroup | QFileDevice::ReadOther)));

    viewer.session.connection().execute("set time_zone='+03:00'"); // of the rows that come back
    QTimer::singleShot(0, qApp, [] {
        QWidget *dialog = qApp->activeModalWidget();
        control<QAbstractButton>(*dialog, "undoSaving").click();
    });
    viewer.dialogue.expectInform("4件を元に戻しました。");
    viewer.pane.undoSavedRows->click();
    QCOMPARE(m_server.run("select * from d.t"), before);
    QCOMPARE(RowHistory(viewer.session).savings().size(), 2u); // the taking back, too
    QVERIFY(RowHistory(viewer.session).savings().back().isUndone);
}

void RowSavingsTest::halfASavingTakesNoOtherAlong()
{
    const QTemporaryDir folder;
    Session session;
    session.settingsFolder = folder.path();
    session.gDsn = "driver={x};pwd=secret";
    RowHistory history(session);
    RowSaving saving;
    saving.inverse = {{RowChange::Kind::Deleted, 0, {RowValue("1")}, {}}};
    history.add(saving);
    const QString file = QDir(folder.path()).entryList({"*.undo"}).value(0);
    QVERIFY(file.contains("driver") && !file.contains("secret"));
    writeFile(folder.filePath(file), readFile(folder.filePath(file)) + "{\"id\": "); // of a full disk
    history.add(saving);
    QCOMPARE(history.savings().size(), 2u);

    session.gDsn = noDataSource();
    session.gServer = "127.0.0.1";
    session.profile.ssh.host = "one";
    const QString one = fileStemOf(session);
    session.profile.ssh.host = "two";
    QVERIFY(fileStemOf(session) != one);
}

void RowSavingsTest::whoChangedTheRowIsAskedFor()
{
    RowsStage viewer(m_server);
    viewer.read("t", 100);
    viewer.type(0, 1, "mine");
    viewer.type(1, 1, "mine");
    m_server.run("update d.t set name='their', n=9 where id=1; delete from d.t where id=2");
    QStringList lines;
    inDialog("rowConflicts", [&lines](QWidget &dialog) {
        lines = linesOf(control<QTreeWidget>(dialog, "conflictRows"));
        QTest::keyClick(&dialog, Qt::Key_Return);
    });
    viewer.press("Ctrl+S");
    QCOMPARE(lines, QStringList({"id=1|||||", "|name|b|mine|their|", "|n|2||9|", "id=2||||(行を削除)|",
                                 "|name|a|mine||"}));
    QVERIFY(viewer.state().contains("2件の変更")); // Enter chooses nothing
    inDialog("rowConflicts", [](QWidget &dialog) {
        auto &accept = control<QAbstractButton>(dialog, "acceptConflicts");
        control<QAbstractButton>(dialog, "keepMine").click(); // of the first row
        QVERIFY(!accept.isEnabled());
        auto &tree = control<QTreeWidget>(dialog, "conflictRows");
        tree.setCurrentItem(tree.topLevelItem(1)->child(0), 0, QItemSelectionModel::ClearAndSelect);
        control<QAbstractButton>(dialog, "takeTheirs").click();
        accept.click();
    });
    viewer.press("Ctrl+S");
    QCOMPARE(viewer.grid.text(0, 2), QString("9"));
    QCOMPARE(viewer.column(0), QString("1 3 4 5 6 7"));
    QVERIFY(RowHistory(viewer.session).savings().empty());
    viewer.press("Ctrl+S");
    QCOMPARE(m_server.run("select name, n from d.t where id<3"), QString("mine\t9\n"));

    // Taking it back asks for the row that has changed since, too.
    m_server.run("update d.t set n=10 where id=1");
    const auto undo = [&viewer](const char *choice) {
        inDialog("savedRows", [choice](QWidget &dialog) {
            inDialog("rowConflicts", [choice](QWidget &conflicts) {
                control<QAbstractButton>(conflicts, choice).click();
                control<QAbstractButton>(conflicts, "acceptConflicts").click();
            });
            control<QAbstractButton>(dialog, "undoSaving").click();
        });
        viewer.pane.undoSavedRows->click();
    };
    undo("takeAllTheirs");
    QCOMPARE(m_server.run("select name, n from d.t where id<3"), QString("mine\t10\n"));
    viewer.dialogue.expectInform("1件を元に戻しました。");
    undo("keepAllMine");
    QCOMPARE(m_server.run("select name, n from d.t where id<3"), QString("their\t10\n"));
}

// The first saving has moved the rows of the grid when the second row turns out to be in conflict.
void RowSavingsTest::aConflictAfterRowsThatAreSaved()
{
    m_server.run("alter table d.t engine=MyISAM");
    RowsStage viewer(m_server);
    viewer.read("t", 100);
    viewer.choose(0, 0);
    viewer.press("Del");
    viewer.type(1, 1, "mine");
    m_server.run("update d.t set n=9 where id=2");
    viewer.dialogue.agrees = true;
    inDialog("rowConflicts", [](QWidget &dialog) {
        control<QAbstractButton>(dialog, "keepAllMine").click();
        control<QAbstractButton>(dialog, "acceptConflicts").click();
    });
    viewer.press("Ctrl+S");
    QCOMPARE(viewer.column(2), QString("9 2 NULL 3 2 NULL"));
    viewer.press("Ctrl+S");
    QCOMPARE(m_server.run("select name, n from d.t where id<4"), QString("mine\t9\nNULL\t2\n"));
}

void RowSavingsTest::aRefusedRowStaysEdited()
{
    m_server.run("alter table d.t add need int not null, add first enum('x') not null");
    RowsStage viewer(m_server);
    viewer.read("t", 100);
    viewer.press("Ctrl+Ins");
    viewer.dialogue.expectConfirm(
        "新しい行に、値が必要な列が残っています: need\r\nトリガーが値を入れない限り、"
        "サーバーは断ります。このまま送りますか？",
        Icon::Critical, false);
    viewer.press("Ctrl+S");
    viewer.press("Del");
    viewer.type(0, 1, "good");
    viewer.type(2, 1, "too long");
    const QString words = "Data too long for column 'name' at row 1";
    viewer.dialogue.expectRefuse(words);
    viewer.press("Ctrl+S");
    QCOMPARE(viewer.grid.text(2, 1), QString("too long"));
    QVERIFY(viewer.grid.model()->index(2, 0).data(Qt::ToolTipRole).toString().contains("Data too long"));
    QVERIFY(viewer.state().contains("2件の変更"));
    QVERIFY(!m_server.run("select name from d.t").contains("good"));
}

QTEST_MAIN(RowSavingsTest)
#include "test_rowsavings.moc"
