#include "controls/grid/cellviewer.h"
#include "rows/celleditors.h"
#include "rows/lineends.h"
#include "rows/rowsview.h"
#include "support/files.h"
#include "support/gui/stage.h"
#include "support/rows.h"
#include "support/scripteddialogue.h"

#include <QClipboard>
#include <QDialog>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTimer>
#include <QTreeWidget>

namespace {

const QString where = QStringLiteral("id between 1 and 3");

// Reads as the owner of a pane does.
struct Viewer {
    explicit Viewer(TestServer &server)
    {
        session.settingsFolder = folder.path();
        session.connectBy(createConnection, pump);
        session.gDsn = noDataSource();
        session.gDriver = nativeDriverName();
        session.gServer = "127.0.0.1";
        session.gPort = QString::number(server.port());
        session.gUser = session.gPass = "demo";
        if (!fConnect(session))
            qFatal("no connection");
        QObject::connect(&view, &RowsView::readWanted, &view, [this] { read("t"); });
        pane.show();
    }
    void read(const QString &table, int limit = 3)
    {
        try {
            const QString plain = QStringLiteral("select * from d.%1 limit %2").arg(table).arg(limit);
            fillGrid(grid, session.connection().execute(view.statementFor("d", table, limit, plain)));
            view.takeRows();
        } catch (const Failure &error) {
            refused = error.description();
        }
    }
    void press(const QString &keys) { QTest::keySequence(&grid, QKeySequence(keys)); }
    void choose(int row, int column) { grid.setCurrentIndex(grid.model()->index(row, column)); }
    void type(int row, int column, const QString &text)
    {
        choose(row, column);
        press("F2");
        auto *line = grid.findChild<QLineEdit *>("cellLine");
        QVERIFY(line);
        line->selectAll();
        QTest::keyClicks(line, text);
        QTest::keyClick(line, Qt::Key_Return);
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!grid.findChild<QLineEdit *>("cellLine"));
    }
    QString column(int index) const
    {
        QStringList texts;
        for (int row = 0; row < grid.rowCount(); ++row)
            texts << grid.text(row, index);
        return texts.join(' ');
    }
    QString state() const { return pane.rowsState->text(); }

    QTemporaryDir folder;
    WindowPump pump;
    Session session;
    ScriptedDialogue dialogue;
    FlexGrid &grid = *new FlexGrid;
    RowsPane pane{grid};
    RowsView view{session, dialogue, pane};
    QString refused;
};

// Does it once that dialog is open: the server may be asked something before.
void inDialog(const QString &name, const std::function<void(QWidget &)> &act)
{
    auto *timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, name, act] {
        QWidget *dialog = qApp->activeModalWidget();
        if (!dialog || dialog->objectName() != name)
            return;
        timer->stop();
        timer->deleteLater();
        act(*dialog);
    });
    timer->start(5);
}

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

// The rows of a table in a pane, by a user's hands, over a real server.
class RowsViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void conditionsThatCannotBeSent_data();
    void conditionsThatCannotBeSent();
    void pagesGoOnBehindAnyRow_data();
    void pagesGoOnBehindAnyRow();
    void whatIsEditedIsSavedAndTakenBack();
    void halfASavingTakesNoOtherAlong();
    void aFileBecomesTheValueThatIsLookedAt();
    void aBlockIsPastedAndMayBeDropped();
    void bitsAreWrittenAsBits();
    void untouchedLinesKeepTheirEnds_data();
    void untouchedLinesKeepTheirEnds();
    void aChosenDateLeavesTheTime_data();
    void aChosenDateLeavesTheTime();
    void anEditorTellsNullFromAnEmptyText();
    void whoChangedTheRowIsAskedFor();
    void aConflictAfterRowsThatAreSaved();
    void aRefusedRowStaysEdited();
    void whatCannotBeEditedSaysWhy();

private:
    TestServer m_server;
};

void RowsViewTest::initTestCase()
{
    m_server.run("create database d; create view d.v as select 1 a; create table d.keyless (a int)");
}

void RowsViewTest::init()
{
    m_server.run("drop table if exists d.t; create table d.t (id int primary key auto_increment, "
                 "name varchar(5), n int, day date, e enum('z','m','a'), b bit(64));"
                 "insert into d.t (name, n, e, b) values ('b',2,'a',~0),('a',1,'z',~0-1),(null,2,null,1),"
                 "('b',null,'m',null),('a',3,'z',0),('c',2,null,~0-1),('d',null,'a',2)");
}

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
    Viewer viewer(m_server);
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

void RowsViewTest::whatIsEditedIsSavedAndTakenBack()
{
    m_server.run("alter table d.t add at timestamp null default '2020-01-01 00:00:00'");
    Viewer viewer(m_server);
    viewer.pane.rowsWhere->setText(where);
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

void RowsViewTest::halfASavingTakesNoOtherAlong()
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

void RowsViewTest::aFileBecomesTheValueThatIsLookedAt()
{
    m_server.run("alter table d.t add photo blob");
    Viewer viewer(m_server);
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

void RowsViewTest::aBlockIsPastedAndMayBeDropped()
{
    Viewer viewer(m_server);
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

void RowsViewTest::bitsAreWrittenAsBits()
{
    m_server.run("alter table d.t add p point; update d.t set b=53, p=point(1,2) where id=1");
    Viewer viewer(m_server);
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

void RowsViewTest::untouchedLinesKeepTheirEnds_data()
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

void RowsViewTest::untouchedLinesKeepTheirEnds()
{
    QFETCH(QString, before);
    QFETCH(QString, edited);
    QTEST(withLineEndsOf(before, edited.replace('\n', QChar::ParagraphSeparator)), "after");
}

void RowsViewTest::aChosenDateLeavesTheTime_data()
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

void RowsViewTest::aChosenDateLeavesTheTime()
{
    QFETCH(QString, type);
    QFETCH(QString, text);
    QTEST(withDate(text, QDate(2021, 3, 4), {.name = {}, .type = type}), "changed");
}

void RowsViewTest::anEditorTellsNullFromAnEmptyText()
{
    m_server.run(
        "alter table d.t modify name varchar(50); "
        "update d.t set name=concat('a', char(13, 10), 'b', char(10), _utf8mb4 x'C2A0', 'c') where id=1");
    Viewer viewer(m_server);
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

void RowsViewTest::whoChangedTheRowIsAskedFor()
{
    Viewer viewer(m_server);
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
void RowsViewTest::aConflictAfterRowsThatAreSaved()
{
    m_server.run("alter table d.t engine=MyISAM");
    Viewer viewer(m_server);
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

void RowsViewTest::aRefusedRowStaysEdited()
{
    m_server.run("alter table d.t add need int not null, add first enum('x') not null");
    Viewer viewer(m_server);
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

void RowsViewTest::whatCannotBeEditedSaysWhy()
{
    Viewer viewer(m_server);
    for (const auto &[table, words] : {std::pair("v", "ビュー"), std::pair("keyless", "キー")}) {
        viewer.read(table);
        QVERIFY2(viewer.state().contains(words), qPrintable(viewer.state()));
        viewer.press("Ctrl+Ins");
        QVERIFY(!viewer.pane.saveRows->isEnabled());
    }
}

QTEST_MAIN(RowsViewTest)
#include "test_rowsview.moc"
