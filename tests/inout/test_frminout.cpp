#include "core/connect.h"
#include "inout/frmInOut.h"
#include "support/gui/boxes.h"
#include "support/gui/control.h"
#include "support/rows.h"
#include "support/scriptedconnection.h"
#include "support/scripteddialogue.h"
#include "support/testserver.h"

#include <QDir>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTemporaryDir>
#include <QTest>

namespace {

// The dialog for the table d.t, on any connection, with a scripted user before it.
struct InOutStage {
    explicit InOutStage(std::unique_ptr<Connection> connection, const QString &folder,
                        const QString &item = "[TABLE]\tt")
    {
        session.gCn = std::move(connection);
        session.gDbName = QStringLiteral("d");
        session.gInOutPath = folder;
        session.programFolder = QDir::tempPath();
        window = std::make_unique<frmInOut>(session, item, nullptr, mainWindow, &dialog);
        window->show();
    }

    template <class Control>
    Control &control(const char *name) const
    {
        return ::control<Control>(*window, name);
    }
    QString file() const { return control<QLineEdit>("txtFilename").text(); }
    void choose(const char *option) const { control<QRadioButton>(option).setChecked(true); }
    bool isVisible(const char *name) const { return control<QWidget>(name).isVisible(); }
    void exportsTo(const QString &path)
    {
        choose("optInOut_0");
        control<QLineEdit>("txtFilename").setText(path);
        dialog.expectInform("出力しました。");
        control<QPushButton>("cmdOut").click();
    }
    void importsFrom(const QString &path, const char *mode = "optRorI_0")
    {
        choose("optInOut_1");
        choose(mode);
        control<QLineEdit>("txtFilename").setText(path);
        dialog.expectInform("読み込みました。");
        control<QPushButton>("cmdIn").click();
    }

    Session session;
    ScriptedDialogue dialog, mainWindow;
    std::unique_ptr<frmInOut> window;
};

} // namespace

class FrmInOutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestServers::addConnectionRows(); }
    void init();
    void theDirectionShowsItsControls();
    void theFolderIsRememberedOnlyWhenChosen();
    void withoutATableTheDialogDoesNotOpen();
    void everyValueComesBackEqual();
    void invisibleColumnsAreThereAsWell();
    void duplicateKeysAreReplacedOrSkipped();

private:
    std::unique_ptr<Connection> connect()
    {
        auto connection = createConnection(m_server->connectionString(isBuiltIn()), m_pump);
        connection->open();
        return connection;
    }
    QString newFile(const char *name) const
    {
        return QStringLiteral("%1/%2%3").arg(m_server->folder(), name).arg(isBuiltIn());
    }

    // Zero dates are values, too.
    TestServers m_servers{{"--sql-mode=STRICT_TRANS_TABLES"}};
    TestServer *m_server = nullptr;
    BlockingPump m_pump;
};

void FrmInOutTest::init()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    SKIP_WITHOUT(brand);
    m_server = &m_servers.of(brand);
    m_server->run("drop database if exists d; create database d; create table d.t (id int primary key, "
                  "v varchar(20)); insert into d.t values (1, 'one'), (2, 'two');");
}

void FrmInOutTest::theDirectionShowsItsControls()
{
    Script script;
    InOutStage stage(script.connect(), "/tmp/");
    QCOMPARE(stage.control<QLabel>("lblTableName").text(), "t");
    QCOMPARE(stage.file(), "/tmp/t.dat");
    QVERIFY(stage.isVisible("cmdOut") && !stage.isVisible("cmdIn") && !stage.isVisible("fraRorI"));
    stage.choose("optInOut_1");
    QVERIFY(!stage.isVisible("cmdOut") && stage.isVisible("cmdIn") && stage.isVisible("fraRorI"));

    InOutStage fresh(script.connect(), {});
    QCOMPARE(fresh.file(), QDir::tempPath() + QStringLiteral("/t.dat"));
}

void FrmInOutTest::theFolderIsRememberedOnlyWhenChosen()
{
    const QTemporaryDir chosen;
    Script script;
    InOutStage typed(script.connect(), "/tmp");
    typed.exportsTo(chosen.filePath("typed.dat"));
    QCOMPARE(typed.session.gInOutPath, "/tmp/");
    QVERIFY(!typed.window->isVisible());

    InOutStage picked(script.connect(), "/tmp");
    Boxes boxes;
    boxes.expectFile({}); // cancelled
    picked.control<QPushButton>("cmdFolder").click();
    QCOMPARE(picked.file(), "/tmp/t.dat");
    boxes.expectFile(chosen.filePath("picked"));
    picked.control<QPushButton>("cmdFolder").click();
    QCOMPARE(picked.file(), chosen.filePath("picked.dat"));
    QCOMPARE(picked.session.gInOutPath, "/tmp");
    picked.exportsTo(picked.file());
    QCOMPARE(picked.session.gInOutPath, chosen.path() + u'/');
}

void FrmInOutTest::withoutATableTheDialogDoesNotOpen()
{
    Session session;
    ScriptedDialogue mainWindow;
    const QString words = "一覧で対象が選択されていません。";
    mainWindow.expectRefuse(words);
    showInOutWindow(nullptr, session, {}, mainWindow);
    QCOMPARE(mainWindow.lastError, words);
}

void FrmInOutTest::everyValueComesBackEqual()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    QString setUp = R"(
        create table d.kinds (id int primary key, ti tinyint unsigned, bi bigint, de decimal(30,10),
            fl float, dou double, da date, dt datetime(6), ts timestamp(3) null, tm time(6), ye year,
            ch char(10), vc varchar(100), te longtext, bn binary(4), vb varbinary(100), bl longblob,
            en enum('a','b'), se set('x','y'), js json, ge geometry) character set utf8mb4;
        insert into d.kinds values (1, 255, -9223372036854775808, 12345678901234567890.0123456789, 1.5, 1e300,
            '2024-02-29', '2024-02-29 23:59:59.123456', '2024-01-01 00:00:00.123', '-838:59:58.000001', 2024,
            'é', '改行\nとﾀﾌﾞ\tと\\N', '𠮷野家\r\n終', 0x00FF0A5C, 0x090A5C00, 0x00010203, 'b', 'x,y',
            '{"k": "値"}', point(1, 2)),
            (2, null, null, null, null, null, null, null, null, null, null, null, null, null, null, null, null,
            null, null, null, null),
            (3, 0, 0, 0, 0, 0, '0000-00-00', 0, null, 0, 0, '', '', 'NULL', '', '', '', 'a', '', '[]', null);
        create table d.copy like d.kinds;)";
    if (brand == TestServer::Brand::MySql56) // knows no JSON
        setUp.replace("json", "text");
    if (brand ==
        TestServer::Brand::MySql9) // refuses bytes that are no text of the file's character set (1300)
        setUp.replace("0x00FF0A5C", "0x00410A5C").replace("point(1, 2)", "null");
    m_server->run(setUp);
    const QString file = newFile("values.dat");
    InOutStage out(connect(), m_server->folder(), "[TABLE]\tkinds");
    out.exportsTo(file);
    InOutStage in(connect(), m_server->folder(), "[TABLE]\tcopy");
    in.importsFrom(file);
    QCOMPARE(in.mainWindow.lastError, QString());
    const QString dump = "select * from d.%1 order by id; checksum table d.%1";
    QCOMPARE(m_server->run("select count(*) from d.copy"), "3\n");
    QCOMPARE(m_server->run(dump.arg("copy")).replace("d.copy", "d.kinds"), m_server->run(dump.arg("kinds")));
}

void FrmInOutTest::invisibleColumnsAreThereAsWell()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    if (brand == TestServer::Brand::MySql56)
        QSKIP("MySQL 5.6 has no invisible columns");
    m_server->run(
        "create table d.hiding (a int, b int invisible default 9, c int as (a + 1) stored, `d e` int "
        "invisible default 8); insert into d.hiding (a, b, `d e`) values (1, 2, 3);"
        "create table d.copy like d.hiding");
    const QString file = newFile("hiding.dat");
    InOutStage out(connect(), m_server->folder(), "[TABLE]\thiding");
    out.exportsTo(file);
    InOutStage in(connect(), m_server->folder(), "[TABLE]\tcopy");
    in.importsFrom(file);
    QCOMPARE(m_server->run("select a, b, c, `d e` from d.copy"), "1\t2\t2\t3\n");
}

void FrmInOutTest::duplicateKeysAreReplacedOrSkipped()
{
    const QString file = newFile("duplicates.dat");
    InOutStage out(connect(), m_server->folder());
    out.exportsTo(file);
    m_server->run("update d.t set v = 'changed' where id = 1");
    InOutStage skip(connect(), m_server->folder());
    m_server->takeStatements();
    skip.importsFrom(file, "optRorI_1");
    QVERIFY(m_server->takeStatements().last().endsWith(
        QStringLiteral("load data infile '%1' IGNORE  into table `d`.t").arg(file)));
    QCOMPARE(m_server->run("select v from d.t where id = 1"), "changed\n");
    InOutStage replace(connect(), m_server->folder());
    // The server would read Japanese letters as others.
    m_server->run("alter database d character set latin1");
    replace.session.connection().execute("use d");
    replace.choose("optInOut_1");
    replace.choose("optRorI_0");
    replace.control<QLineEdit>("txtFilename").setText(file);
    for (const bool isAgreed : {false, true}) {
        replace.dialog.expectAsk("ﾌｧｲﾙは文字ｾｯﾄ latin1 として読み込まれますが、列の文字ｾｯﾄは utf8mb4 です。"
                                 "文字化けすることがあります。読み込みますか？",
                                 isAgreed);
        if (isAgreed)
            replace.dialog.expectInform("読み込みました。");
        replace.control<QPushButton>("cmdIn").click();
        QCOMPARE(m_server->run("select v from d.t where id = 1"), isAgreed ? "one\n" : "changed\n");
    }
    m_server->run("alter database d character set utf8mb4");

    InOutStage again(connect(), m_server->folder());
    again.control<QLineEdit>("txtFilename").setText(file);
    again.dialog.expectInform("ﾌｧｲﾙが存在します。ﾌｧｲﾙ名を変更してください。");
    again.control<QPushButton>("cmdOut").click();
    QVERIFY(again.window->isVisible());
}

QTEST_MAIN(FrmInOutTest)
#include "test_frminout.moc"
