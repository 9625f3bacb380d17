#include "controls/grid/cellviewer.h"
#include "rows/celleditors.h"
#include "rows/lineends.h"
#include "rows/rowsstage.h"
#include "support/files.h"
#include "support/rows.h"

#include <QClipboard>
#include <QDialog>
#include <QPlainTextEdit>
#include <QPushButton>

// Values that are edited in a grid, until the server has them.
class RowEditingTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_server.refill(); }
    void aBlockIsPastedAndMayBeDropped();
    void anEditorTellsNullFromAnEmptyText();
    void bitsAreWrittenAsBits();
    void aFileBecomesTheValueThatIsLookedAt();
    void untouchedLinesKeepTheirEnds_data();
    void untouchedLinesKeepTheirEnds();
    void aChosenDateLeavesTheTime_data();
    void aChosenDateLeavesTheTime();

private:
    RowsServer m_server;
};

void RowEditingTest::aBlockIsPastedAndMayBeDropped()
{
    RowsStage viewer(m_server);
    viewer.read("t", 100);
    viewer.choose(6, 1);
    QApplication::clipboard()->setText("x\t1\t2020-01-01\n\"two\nlines\"\"\"\tNULL\t\tbeyond\n");
    viewer.press("Ctrl+V");
    QCOMPARE(viewer.grid.text(6, 3), QString("2020-01-01"));
    viewer.choose(7, 1);
    QTimer::singleShot(0, qApp, [] { qobject_cast<QDialog *>(qApp->activeModalWidget())->accept(); });
    viewer.press("F2"); // OK without a change keeps the value
    QCOMPARE(viewer.grid.text(7, 1), QString("two\nlines\""));
    QVERIFY(viewer.grid.isNull(7, 2));
    QVERIFY(viewer.state().contains("2件の変更"));
    viewer.dialogue.expectChoice("保存していない行の変更が 2 件あります。", "保存する|捨てる", -1);
    QVERIFY(!viewer.view.mayLeave());
    viewer.press("Esc");
    QVERIFY(viewer.state().contains("もう一度"));
    viewer.press("Esc");
    QCOMPARE(viewer.grid.rowCount(), 7);
    QCOMPARE(viewer.grid.text(6, 1), QString("d"));
}

void RowEditingTest::anEditorTellsNullFromAnEmptyText()
{
    m_server.run(
        "alter table d.t modify name varchar(50); "
        "update d.t set name=concat('a', char(13, 10), 'b', char(10), _utf8mb4 x'C2A0', 'c') where id=1");
    RowsStage viewer(m_server);
    viewer.read("t", 100);
    viewer.choose(0, 1);
    inDialog("valueEditor", [](QWidget &dialog) {
        QTest::keyClicks(&control<QPlainTextEdit>(dialog, "valueText"), "x");
        qobject_cast<QDialog *>(&dialog)->accept();
    });
    viewer.press("F2");
    const auto edit = [&viewer](int row, int column, const QStringList &keys) {
        viewer.choose(row, column);
        viewer.press("F2");
        auto *line = viewer.grid.findChild<QLineEdit *>("cellLine");
        for (const QString &key : keys + QStringList{"Return"})
            QTest::keySequence(line, QKeySequence(key));
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    };
    edit(1, 1, {"Ctrl+A", "Del"});
    edit(2, 1, {"Backspace"});
    edit(3, 1, {"Ctrl+0"});
    edit(4, 1, {"Ctrl+0", "Ctrl+0"});
    edit(0, 2, {"Ctrl+A", "Del"}); // there is no empty number
    edit(3, 2, {"Backspace"});
    viewer.press("Ctrl+S");
    QCOMPARE(m_server.run("select hex(name), n from d.t where id<6"),
             QString("78610D0A620AC2A063\tNULL\n\t1\n\t2\nNULL\tNULL\n\t3\n"));
}

void RowEditingTest::bitsAreWrittenAsBits()
{
    m_server.run("alter table d.t add p point; update d.t set b=53, p=point(1,2) where id=1");
    RowsStage viewer(m_server);
    viewer.read("t", 2);
    QCOMPARE(viewer.grid.text(0, 5), QString("0x0000000000000035")); // not the text "5"
    viewer.type(1, 5, "5");
    QVERIFY2(viewer.state().contains("ビットは 0 と 1 で"), qPrintable(viewer.state()));
    viewer.choose(1, 5);
    QApplication::clipboard()->setText("0x0000000000000035"); // as it is copied
    viewer.press("Ctrl+V");
    viewer.choose(0, 0);
    viewer.press("Ctrl+D");
    viewer.type(0, 5, "101");
    viewer.press("Ctrl+S");
    QCOMPARE(m_server.run("select id, b+0, st_astext(p) from d.t where id in (1, 2, 8)"),
             QString("1\t5\tPOINT(1 2)\n2\t53\tNULL\n8\t53\tPOINT(1 2)\n"));
}

void RowEditingTest::aFileBecomesTheValueThatIsLookedAt()
{
    m_server.run("alter table d.t add photo blob");
    RowsStage viewer(m_server);
    viewer.read("t");
    const QString text = viewer.folder.filePath("text"), bytes = viewer.folder.filePath("bytes");
    writeFile(text, "あ");
    writeFile(bytes, QByteArray("\xff\x00", 2));
    Boxes boxes;
    const auto load = [&](const QString &path) {
        auto *window = viewer.pane.findChild<CellViewer *>();
        boxes.expectFile(path);
        control<QPushButton>(*window, "cellLoad").click();
        return control<QLabel>(*window, "cellSummary").text();
    };
    viewer.grid.openCell(viewer.grid.model()->index(0, 1));
    viewer.grid.sortByColumn(0, Qt::DescendingOrder); // the cell stands elsewhere now
    QVERIFY(load(bytes).endsWith("UTF-8 の文字として読めません。"));
    QVERIFY(load(text).contains("を値にしました (3 バイト)"));
    viewer.grid.openCell(viewer.grid.model()->index(2, 6));
    QVERIFY(load(bytes).contains("を値にしました (2 バイト)"));
    QCOMPARE(viewer.grid.text(2, 6), "0xFF00");
    // Nothing changes under a saving.
    viewer.session.runner.run(&viewer.pane, "saving",
                              [&] { QVERIFY(load(text).endsWith("ほかの処理を実行しています。")); });
    viewer.press("Ctrl+S");
    QCOMPARE(m_server.run("select name, hex(photo) from d.t where id=1"), "あ\tFF00\n");
    // The rows may stand elsewhere: what is open is not known to be one of them.
    QVERIFY(!control<QPushButton>(*viewer.pane.findChild<CellViewer *>(), "cellLoad").isVisible());
    viewer.grid.openCell(viewer.grid.model()->index(2, 0));
    QVERIFY(!control<QPushButton>(*viewer.pane.findChild<CellViewer *>(), "cellLoad").isVisible());
}

void RowEditingTest::untouchedLinesKeepTheirEnds_data()
{
    QTest::addColumn<QString>("before");
    QTest::addColumn<QString>("edited");
    QTest::addColumn<QString>("after");
    const auto add = [](const char *name, const QString &before, const QString &edited,
                        const QString &after) { row(name, before, edited, after); };
    const QString mixed = "a\r\nb\nc\rd";
    add("the first line", mixed, "x\nb\nc\nd", "x\r\nb\nc\rd");
    add("lines apart from each other", mixed, "x\nb\ny\nd", "x\r\nb\ny\rd");
    add("a line goes", mixed, "a\nc\nd", "a\r\nc\rd");
    add("lines come, one in the middle changes", mixed, "a\nnew\nnew\nb\nx\nd", "a\r\nnew\r\nnew\r\nb\nx\nd");
    add("the last one goes on", mixed, "a\nb\nc\nd\ne", "a\r\nb\nc\rd\re");
    add("no line end before", "a", "a\nb\nc", "a\nb\nc");
    add("everything goes", mixed, "", "");
    add("one way only", "a\r\nb\r\n", "z\na\n\n", "z\r\na\r\n\r\n");
}

void RowEditingTest::untouchedLinesKeepTheirEnds()
{
    QFETCH(QString, before);
    QFETCH(QString, edited);
    QTEST(withLineEndsOf(before, edited.replace('\n', QChar::ParagraphSeparator)), "after");
}

void RowEditingTest::aChosenDateLeavesTheTime_data()
{
    QTest::addColumn<QString>("type");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("changed");
    const auto add = [](const char *type, const QString &text, const QString &changed) {
        row(type + (' ' + text.toUtf8()), QString(type), text, changed);
    };
    add("date", "2020-02-29", "2021-03-04");
    add("date", "", "2021-03-04");
    add("datetime(6)", "0000-00-00 00:00:00.000001", "2021-03-04 00:00:00.000001");
    add("timestamp", "9999-12-31 23:59:59", "2021-03-04 23:59:59");
    add("datetime", "", "2021-03-04 00:00:00");
}

void RowEditingTest::aChosenDateLeavesTheTime()
{
    QFETCH(QString, type);
    QFETCH(QString, text);
    QTEST(withDate(text, QDate(2021, 3, 4), {.name = {}, .type = type}), "changed");
}

QTEST_MAIN(RowEditingTest)
#include "test_rowediting.moc"
