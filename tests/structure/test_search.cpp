#include "structure/search/hitlist.h"
#include "structure/search/namesearch.h"
#include "structure/search/searchwindow.h"
#include "structure/search/valuesearch.h"
#include "support/gui/stage.h"

#include <QRadioButton>

// Searching for names and values on servers of each brand.
class SearchTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { failOnAnyWarning(); }
    void namesAreFoundWhereverTheyStand_data() { TestServers::addRows(); }
    void namesAreFoundWhereverTheyStand();
    void valuesAreFoundAsWhatTheyAre_data();
    void valuesAreFoundAsWhatTheyAre();
    void aNewerTextTakesThePlaceOfAnOlderOne();
    void aRefusedTableDoesNotEndTheSearch();

private:
    // A stage connected to the server, as commands find it.
    std::unique_ptr<RealStage> stage(TestServer &server)
    {
        return std::make_unique<RealStage>(server, nativeDriverName());
    }

    TestServers m_servers{{}, [](TestServer &server) {
                              server.run(R"(
CREATE DATABASE d; USE d;
CREATE TABLE orders(id INT PRIMARY KEY, zip_code VARCHAR(20) COMMENT '100%_確認', n DECIMAL(10,2), f FLOAT, dt DATE,
    e ENUM('x','Zip'), b BLOB, INDEX by_zip(zip_code), INDEX two(id, zip_code)) ENGINE=InnoDB COMMENT='注文 Zip';
CREATE TABLE nokey(t TEXT CHARACTER SET latin1);
CREATE VIEW v AS SELECT zip_code AS z FROM orders;
CREATE PROCEDURE p() COMMENT 'x' SELECT zip_code FROM orders;
CREATE TRIGGER trg BEFORE INSERT ON orders FOR EACH ROW SET NEW.zip_code = UPPER(NEW.zip_code);
INSERT INTO orders VALUES (1,'a%b_c|d',42,0.1,'2024-05-06','Zip',0x00FF42), (2,'axbyc|d',4.2,42,NULL,'x',NULL),
    (42,'O''Neil \\ 42','142',1,'2024-12-31',NULL,'42');
INSERT INTO nokey VALUES ('caf\xe9 42');)");
                          }};
};

void SearchTest::namesAreFoundWhereverTheyStand()
{
    QFETCH(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    const auto real = stage(m_servers.of(brand));
    const auto found = [&](const QString &text, const QString &database) {
        QStringList lines;
        for (const QString &statement : nameStatements(text, database))
            for (const SearchHit &hit : readNames(real->session, statement))
                lines << QStringList{titleOf(hit.kind), hit.object, hit.name, hit.place}.join(u' ');
        return lines;
    };
    const QStringList expected{"プロシージャ p p 定義",   "トリガー orders trg 定義",
                               "ビュー v v 定義",         "列 orders zip_code 名前",
                               "索引 orders by_zip 名前", "テーブル orders orders コメント"};
    QCOMPARE(found("ZIP", "d"), expected);
    QCOMPARE(found("zip", {}), expected);
    QCOMPARE(found("100%_", "d"), (QStringList{"列 v z コメント", "列 orders zip_code コメント"}));
    QCOMPARE(found("0%確", "d"), QStringList());
    QCOMPARE(found("orders", "d").first(), "テーブル orders orders 名前");
}

void SearchTest::valuesAreFoundAsWhatTheyAre_data()
{
    const Rows<QString, QStringList> row;
    row("number", "42", {"id `id`=42", "n `id`=1", "f `id`=2", "zip_code `id`=42", "b `id`=42"});
    row("shown float", "0.1", {"f `id`=1"});
    row("wildcards", "%b_c|", {"zip_code `id`=1"});
    row("quotes", "o'neil \\", {"zip_code `id`=42"});
    row("part of a date", "2024-05", {"dt `id`=1"});
    row("choice", "zip", {"e `id`=1"});
}

void SearchTest::valuesAreFoundAsWhatTheyAre()
{
    auto [text, found] = fetched<QString, QStringList>();
    for (const auto brand :
         {TestServer::Brand::MariaDb, TestServer::Brand::MySql56, TestServer::Brand::MySql9}) {
        if (!TestServers::whyMissing(brand).isEmpty())
            continue;
        const auto real = stage(m_servers.of(brand));
        QStringList lines;
        for (const SearchHit &hit : searchTable(real->session, "d", "orders", text)) {
            lines << hit.name + u' ' + hit.condition;
            // The condition is one that finds the row.
            QVERIFY(
                !real->session.connection().execute("select 1 from d.orders where " + hit.condition).isEof());
        }
        lines.sort();
        found.sort();
        QCOMPARE(lines, found);
        for (const SearchHit &hit : searchTable(real->session, "d", "nokey", "é 42"))
            QVERIFY(
                !real->session.connection().execute("select 1 from d.nokey where " + hit.condition).isEof());
    }
}

void SearchTest::aNewerTextTakesThePlaceOfAnOlderOne()
{
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    Stage real(Stage::Server::Real);
    real.enter(nativeDriverName(), server.port(), "demo", "demo");
    auto *window = new SearchWindow(real.session);
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    real.open(window);
    const QAbstractItemModel &rows = *real.control<HitList>("searchHits")->model();
    const QLabel &state = *real.control<QLabel>("searchState");
    QTest::keySequence(real.control<HitList>("searchHits"), QKeySequence::Copy); // where nothing is
    window->offer("d", {});
    // All at once, as one who types fast: what was begun is given up.
    for (const char *text : {"o", "or", "zip"}) {
        real.type("searchText", text);
        QTest::keyClick(real.control<QLineEdit>("searchText"), Qt::Key_Return);
    }
    QTRY_COMPARE(state.text(), "6 件");
    QCOMPARE(rows.rowCount(), 6);
    QSignalSpy opened(window, &SearchWindow::opened);
    real.control<HitList>("searchHits")->selectRow(3);
    QTest::keyClick(real.control<HitList>("searchHits"), Qt::Key_Return);
    QCOMPARE(opened.at(0).at(0).value<SearchHit>().name, "zip_code");
    real.type("searchText", "");
    QTRY_COMPARE(rows.rowCount(), 0);
}

void SearchTest::aRefusedTableDoesNotEndTheSearch()
{
    TestServer &server = m_servers.of(TestServer::Brand::MariaDb);
    server.run("CREATE TABLE d.a(x INT) ENGINE=MERGE UNION=(d.gone)");
    Stage real(Stage::Server::Real);
    real.enter(nativeDriverName(), server.port(), "demo", "demo");
    auto *window = new SearchWindow(real.session);
    window->setAttribute(Qt::WA_DeleteOnClose, false);
    real.open(window);
    real.control<QRadioButton>("searchValues")->setChecked(true);
    window->offer("d", "none");
    QTRY_COMPARE(real.control<QListWidget>("searchTables")->count(), 3);
    real.type("searchText", "42");
    real.click("startSearch");
    QTRY_VERIFY2(
        real.control<QLabel>("searchState")->text().startsWith("6 件　読めなかった所があります (1): a: "),
        qPrintable(real.control<QLabel>("searchState")->text()));
    server.run("DROP TABLE d.a");
}

QTEST_MAIN(SearchTest)
#include "test_search.moc"
