#include "structure/diagram/diagram.h"
#include "structure/diagram/diagramview.h"
#include "structure/diagram/diagramwindow.h"
#include "structure/surroundings/renametable.h"
#include "structure/surroundings/surroundings.h"
#include "support/gui/stage.h"

#include <QProcess>
#include <QStandardPaths>

#define SKIP_WITHOUT_GRAPHVIZ                                                                                \
    if (QStandardPaths::findExecutable("dot").isEmpty())                                                     \
    QSKIP("Graphviz is not installed")

namespace {

QByteArray laidOut(const Diagram &diagram, bool isRound)
{
    QProcess process;
    process.start("dot", dotArguments(isRound, diagram.tables.size()));
    process.write(
        dotGraph(diagram, {[](const QString &text) { return 7.0 * double(text.size()); }, 14, true}));
    process.closeWriteChannel();
    process.waitForFinished();
    return process.readAllStandardOutput();
}

} // namespace

// What hangs together with a table, on servers of each brand.
class SurroundingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void whatUsesATableIsFound_data() { TestServers::addRows(); }
    void whatUsesATableIsFound();
    void namesAreReadAsTheServerReadsThem_data();
    void namesAreReadAsTheServerReadsThem();
    void aTableIsRenamedOnceItsUsersAreTold();
    void aRenameWithoutAnAnswerIsReadBack_data();
    void aRenameWithoutAnAnswerIsReadBack();
    void aPictureHoldsWhatIsChosen();
    void aPictureIsNoStrip_data();
    void aPictureIsNoStrip();
    void aPictureIsSavedAsItsNameSays();

private:
    TestServers m_servers{
        {}, [](TestServer &server) {
            server.run(
                "create database d; use d; create table parent(id int primary key) engine=InnoDB;"
                "create table t(id int primary key, p int, index by_p(p), constraint up foreign key(p) "
                "references parent(id) on delete cascade) engine=InnoDB;"
                "create table child(t int, constraint down foreign key(t) references t(id)) engine=InnoDB;"
                "create view v as select id from t; create view other as select 't' as t;"
                "create procedure uses() select * from `t`; create procedure not_uses() select 't';"
                "create trigger trg before insert on t for each row set new.p = null;"
                "create trigger elsewhere before insert on child for each row delete from d.t;"
                "create event e on schedule every 1 day do delete from t;"
                "create database d2; create view d2.far as select id from d.t;"
                "create table d2.t(a int); create view d2.own as select a from d2.t;"
                "grant select on d.t to demo@localhost");
        }};
};

void SurroundingsTest::whatUsesATableIsFound()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    RealStage stage(m_servers.of(brand), nativeDriverName());
    QMap<QString, QStringList> found;
    for (const RelatedGroup &group : readSurroundings(stage.session, "d", "t")) {
        QVERIFY2(group.refusal.isEmpty(), qPrintable(group.title + group.refusal));
        for (const RelatedThing &thing : group.things)
            found[group.title] << thing.name;
    }
    QCOMPARE(found["索引"], (QStringList{"PRIMARY", "by_p"}));
    QCOMPARE(found["参照先 (外部キー)"], QStringList{"up"});
    QCOMPARE(found["参照元 (外部キー)"], QStringList{"down"});
    QCOMPARE(found["トリガー"], QStringList{"trg"});
    QCOMPARE(found["イベント"], QStringList{"e"});
    QCOMPARE(found["使っているもの"], (QStringList{"v", "d2.far", "uses", "elsewhere", "e"}));
    QVERIFY(found["権限 (全体を除く)"].contains("'demo'@'localhost'"));
}

void SurroundingsTest::namesAreReadAsTheServerReadsThem_data()
{
    const Rows<QString, QString, bool> row;
    row("bare", "select * from T", "d", true);
    row("in backticks", "select `a``b`.`t`.x from `d` . `t`", "d2", true);
    row("of another database", "select * from d2.t", "d", false);
    row("unqualified elsewhere", "select * from t", "d2", false);
    row("in a text", "select 't', \"t\" /* t */ -- t", "d", false);
    row("part of a name", "select tt from t_t", "d", false);
}

void SurroundingsTest::namesAreReadAsTheServerReadsThem()
{
    const auto [definition, ownDatabase, isNamed] = fetched<QString, QString, bool>();
    QCOMPARE(namesTable(definition, ownDatabase, "d", "t"), isNamed);
}

void SurroundingsTest::aTableIsRenamedOnceItsUsersAreTold()
{
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    server.run("drop database if exists r; create database r; create table r.a(x int); create view r.v as "
               "select x from r.a; create trigger r.own before insert on r.a for each row set new.x=1; "
               "create or replace user reader@localhost; grant select on r.* to reader@localhost; "
               "grant insert, delete on r.a to reader@localhost");
    RealStage stage(server, nativeDriverName(), "r");
    stage.dialogue.agrees = false;
    const QString question =
        QString(
            "サーバー 127.0.0.1:%1 の `r`.`a` の名前を `b``c` "
            "にします。\r\n\r\n引用符なしでは書けない名前です。引用符を付けずに文を作る"
            "コマンド（定義の表示や変更など）は使えなくなります。\r\n\r\n次のものがこの名前を使っています。"
            "外部キーはサーバーが付け替えますが、ほかは古い名前のまま残り、動かなく"
            "なります。\r\n\r\n・ビュー v\r\n・権限 'reader'@'localhost' (テーブル: DELETE, INSERT)")
            .arg(server.port());
    stage.dialogue.expectConfirm(question, Icon::Critical, false);
    QVERIFY(!renameTable(stage.session, stage.dialogue, "r", "a", "b`c"));
    stage.dialogue.expectConfirm(question, Icon::Critical, true);
    QVERIFY(renameTable(stage.session, stage.dialogue, "r", "a", "b`c"));
    QCOMPARE(server.run("show full tables where table_type='BASE TABLE'", "r"), "b`c\tBASE TABLE\n");
}

void SurroundingsTest::aRenameWithoutAnAnswerIsReadBack_data()
{
    const Rows<bool, bool, QString> row; // done, lost; what is told
    row("stopped", false, false, "Query execution was interrupted\n名前は、まだ a です。");
    row("stopped when it was done", true, false, "");
    row("lost when it was done", true, true, "");
    row("lost", false, true,
        "Lost connection\n名前は、まだ a です。接続が切れても、サーバーは変更を続けていることがあります。");
}

void SurroundingsTest::aRenameWithoutAnAnswerIsReadBack()
{
    const auto [isDone, isLost, expected] = fetched<bool, bool, QString>();
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    server.run("drop database if exists r; create database r; create table r.a(x int);");
    RealStage stage(server, nativeDriverName(), "r");
    WrappedConnection::into(stage.session,
                            [&, done = isDone, lost = isLost](Connection &inner, const QString &statement) {
                                if (!statement.startsWith("RENAME"))
                                    return inner.execute(statement);
                                if (done)
                                    inner.execute(statement);
                                if (!lost)
                                    throw interruptedError();
                                inner.close();
                                throw Failure("Lost connection", 2013);
                            });
    stage.dialogue.agrees = true;
    QString told;
    try {
        QVERIFY(renameTable(stage.session, stage.dialogue, "r", "a", "b"));
    } catch (const Failure &error) {
        told = error.description();
    }
    QCOMPARE(told, expected);
}

void SurroundingsTest::aPictureHoldsWhatIsChosen()
{
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    RealStage stage(server, nativeDriverName());
    const Diagram all = readDiagram(stage.session, "d");
    QCOMPARE(all.links.size(), 2u);
    QCOMPARE(partOf(all, {"parent"}, false).tables.size(), 1u);
    const Diagram part = partOf(all, {"parent"}, true);
    QCOMPARE(part.tables.size(), 2u);
    SKIP_WITHOUT_GRAPHVIZ;
    const QByteArray plain = laidOut(part, false);
    const auto picture = placed(part, plain, true);
    QVERIFY(picture);
    QCOMPARE(picture->links.front().name, "up");
    const PlacedTable &parent = picture->tables.front();
    QCOMPARE(parent.lines, QStringList{"id int(11)"});
    QVERIFY(QRectF({0, 0}, picture->size).contains(parent.place.center()));
    QVERIFY(!parent.place.intersects(picture->tables.back().place));
    QVERIFY(svgOf(*picture, 14).contains(">parent</text>"));
    QVERIFY(!placed(part, plain.left(plain.indexOf("edge")), true));
}

void SurroundingsTest::aPictureIsNoStrip_data()
{
    const Rows<int, bool, bool> row; // tables; whether all the others refer to the first; whether ranks do
    row("few in ranks", 5, true, true);
    row("the children of one table", 31, true, false);
    row("without keys", 60, false, true);
}

void SurroundingsTest::aPictureIsNoStrip()
{
    const auto [count, haveKeys, doRanks] = fetched<int, bool, bool>();
    SKIP_WITHOUT_GRAPHVIZ;
    Diagram diagram;
    for (int i = 0; i < count; ++i) {
        diagram.tables.push_back({QString::number(i), QStringList(3 + i % 7, "column int"), {}});
        if (haveKeys && i > 0)
            diagram.links.push_back({QString::number(i), "0", "f"});
    }
    const auto inRanks = placed(diagram, laidOut(diagram, false), true);
    QVERIFY(inRanks && isStrip(*inRanks) != doRanks);
    const auto picture = doRanks ? inRanks : placed(diagram, laidOut(diagram, true), true);
    QVERIFY(picture && !isStrip(*picture));
    QCOMPARE(picture->links.size(), diagram.links.size());
    const QRectF all = QRectF({0, 0}, picture->size).adjusted(-1, -1, 1, 1);
    for (const PlacedTable &each : picture->tables) {
        QVERIFY(all.contains(each.place));
        for (const PlacedTable &other : picture->tables)
            QVERIFY(&each == &other || !each.place.intersects(other.place));
    }
}

void SurroundingsTest::aPictureIsSavedAsItsNameSays()
{
    SKIP_WITHOUT_GRAPHVIZ;
    Stage stage(Stage::Server::Real);
    stage.enter(nativeDriverName(), m_servers.of(TestServer::Brand::MariaDb).port(), "demo", "demo");
    auto *window = new DiagramWindow(stage.session, "d", "");
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    stage.open(window);
    auto &view = *stage.control<DiagramView>("diagramView");
    const auto &state = *stage.control<QLabel>("diagramState");
    QTRY_VERIFY2(state.text().startsWith("3 テーブル、2 外部キー"), qPrintable(state.text()));
    QSignalSpy opened(window, &DiagramWindow::opened);
    for (const PlacedTable &table : view.diagram().tables)
        QTest::mouseClick(view.viewport(), Qt::LeftButton, {}, view.mapFromScene(table.place.center()));
    QStringList tables;
    for (const QVariantList &each : opened)
        tables << each.at(0).toString() + u'.' + each.at(1).toString();
    tables.sort();
    QCOMPARE(tables, (QStringList{"d.child", "d.parent", "d.t"}));

    Boxes boxes;
    const auto saved = [&](const QString &name) {
        const QString path = stage.folder.filePath(name);
        boxes.expectFile(path);
        stage.click("saveDiagram");
        return readFile(path);
    };
    QVERIFY(saved("p.svg").contains(">parent</text>"));
    QVERIFY(!QImage::fromData(saved("p.PNG"), "PNG").isNull());
    const QByteArray pdf = saved("p.pdf");
    QVERIFY(pdf.startsWith("%PDF-") && pdf.trimmed().endsWith("%%EOF"));
    QCOMPARE(saved("p.txt"), "(no file)");
    QVERIFY2(state.text().startsWith("保存できませんでした: ファイル名の終わりは"), qPrintable(state.text()));
}

QTEST_MAIN(SurroundingsTest)
#include "test_surroundings.moc"
