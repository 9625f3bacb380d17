#include "inout/frmInOut.h"
#include "support/gui/stage.h"

#include <QRadioButton>

namespace {

// The dialog for the table d.t, on any connection, with a scripted user before it.
struct InOutStage : Stage {
    explicit InOutStage(std::unique_ptr<Connection> connection, const QString &path,
                        const QString &item = "[TABLE]\tt")
    {
        session.gCn = std::move(connection);
        session.gDbName = QStringLiteral("d");
        session.gInOutPath = path;
        session.programFolder = QDir::tempPath();
        open(new frmInOut(session, item, nullptr, mainWindow, &dialogue));
    }

    QString file() const { return control<QLineEdit>("txtFilename")->text(); }
    void pick(const char *option) const { control<QRadioButton>(option)->setChecked(true); }
    void start(bool isExport, const QString &path, const QString &end)
    {
        pick(isExport ? "optInOut_0" : "optInOut_1");
        type("txtFilename", path);
        if (!end.isEmpty())
            dialogue.expectInform(end);
        press(*window, {isExport ? "cmdOut" : "cmdIn"});
    }
    void exportsTo(const QString &path) { start(true, path, "出力しました。"); }
    void importsFrom(const QString &path) { start(false, path, "読み込みました。"); }

    ScriptedDialogue mainWindow;
};

} // namespace

class FrmInOutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase_data() { TestServers::addConnectionRows(); }
    void init();
    void theFolderIsRememberedOnlyWhenChosen();
    void incompleteChoicesAreRefused();
    void aFailureIsSilentInTheDialogOnly();
    void everyValueComesBackEqual();
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

void FrmInOutTest::theFolderIsRememberedOnlyWhenChosen()
{
    const QTemporaryDir chosen;
    Script script;
    InOutStage typed(script.connect(), {});
    QCOMPARE(typed.file(), QDir::tempPath() + QStringLiteral("/t.dat"));
    typed.exportsTo(chosen.filePath("typed.dat"));
    QCOMPARE(typed.session.gInOutPath, QDir::tempPath() + u'/');
    QVERIFY(!typed.window->isVisible());

    InOutStage picked(script.connect(), "/tmp");
    Boxes boxes;
    boxes.expectFile({}); // cancelled
    press(*picked.window, {"cmdFolder"});
    QCOMPARE(picked.file(), "/tmp/t.dat");
    boxes.expectFile(chosen.filePath("picked"));
    press(*picked.window, {"cmdFolder"});
    QCOMPARE(picked.file(), chosen.filePath("picked.dat"));
    QCOMPARE(picked.session.gInOutPath, "/tmp");
    picked.exportsTo(picked.file());
    QCOMPARE(picked.session.gInOutPath, chosen.path() + u'/');
}

void FrmInOutTest::incompleteChoicesAreRefused()
{
    const QTemporaryDir folder;
    const QString there = folder.filePath("there.dat");
    writeFile(there, {});
    const auto refuses = [&](bool isExport, const QString &database, const QString &table,
                             const QString &file, const QString &message) {
        Script script;
        InOutStage stage(script.connect(), folder.path(), "[TABLE]\t" + table);
        stage.session.gDbName = database;
        stage.start(isExport, file, message);
        QCOMPARE(script.sent, QStringList());
        QVERIFY(stage.window->isVisible());
    };
    for (const bool isExport : {true, false}) {
        refuses(isExport, " ", "", "", "ﾃﾞｰﾀﾍﾞｰｽを選択してください。");
        refuses(isExport, "d", " ", "", "ﾃｰﾌﾞﾙを選択してください。");
        refuses(isExport, "d", "t", "  ", "ﾌｧｲﾙを選択してください。");
    }
    refuses(true, "d", "t", there, "ﾌｧｲﾙが存在します。ﾌｧｲﾙ名を変更してください。");
    refuses(false, "d", "t", there + "x", "ﾌｧｲﾙが見つかりません。");
    refuses(false, "d", "t", folder.path(), "ﾌｧｲﾙが見つかりません。");
}

void FrmInOutTest::aFailureIsSilentInTheDialogOnly()
{
    const QTemporaryDir folder;
    const QString there = folder.filePath("there.dat");
    writeFile(there, {});
    for (const bool isExport : {true, false}) {
        Script script;
        InOutStage stage(script.connect(), folder.path());
        script.failAt(isExport ? 0 : 1, Reply::failure("no FILE right", 1045));
        stage.start(isExport, isExport ? there + "x" : there, {});
        QCOMPARE(stage.mainWindow.lastError, "no FILE right");
        QVERIFY(stage.window->isVisible());
        if (isExport)
            stage.exportsTo(there + "x");
        else
            stage.importsFrom(there);
        QCOMPARE(stage.mainWindow.lastError, QString());
    }
}

void FrmInOutTest::everyValueComesBackEqual()
{
    QFETCH_GLOBAL(TestServer::Brand, brand);
    // The server writes and reads the values itself; ours are the columns, the path and the character set.
    QString setUp = R"(
        create table d.kinds (id int primary key, da date, dt datetime(6), vc varchar(100), te longtext,
            vb varbinary(100), bl longblob, js json, ge geometry) character set utf8mb4;
        insert into d.kinds values (1, '2024-02-29', '2024-02-29 23:59:59.123456', '改行\nとﾀﾌﾞ\tと\\N',
            '𠮷野家\r\n終', 0x090A5C00, 0x00010203, '{"k": "値"}', point(1, 2)),
            (2, null, null, null, null, null, null, null, null),
            (3, '0000-00-00', 0, '', 'NULL', '', '', '[]', null);
        )";
    if (brand == TestServer::Brand::MySql56) // knows no JSON
        setUp.replace("json", "text");
    if (brand ==
        TestServer::Brand::MySql9) // refuses bytes that are no text of the file's character set (1300)
        setUp.replace("point(1, 2)", "null");
    m_server->run(setUp);
    if (brand != TestServer::Brand::MySql56) // knows no invisible columns
        m_server->run("alter table d.kinds add `h i` int invisible default 8, add c int as (id + 1) stored; "
                      "update d.kinds set `h i` = id");
    m_server->run("create table d.copy like d.kinds");
    const QString file = newFile("it's 表.dat");
    InOutStage out(connect(), m_server->folder(), "[TABLE]\tkinds");
    out.exportsTo(file);
    InOutStage in(connect(), m_server->folder(), "[TABLE]\tcopy");
    in.importsFrom(file);
    QCOMPARE(in.mainWindow.lastError, QString());
    const QString dump = "select * from d.%1 order by id; checksum table d.%1";
    QCOMPARE(m_server->run("select count(*) from d.copy"), "3\n");
    QCOMPARE(m_server->run(dump.arg("copy")).replace("d.copy", "d.kinds"), m_server->run(dump.arg("kinds")));
}

void FrmInOutTest::duplicateKeysAreReplacedOrSkipped()
{
    const QString file = newFile("duplicates.dat");
    InOutStage out(connect(), m_server->folder());
    out.exportsTo(file);
    m_server->run("update d.t set v = 'changed' where id = 1");
    InOutStage skip(connect(), m_server->folder());
    m_server->takeStatements();
    skip.pick("optRorI_1");
    skip.importsFrom(file);
    QVERIFY(m_server->takeStatements().last().endsWith(
        QStringLiteral("load data infile '%1' IGNORE  into table `d`.t").arg(file)));
    QCOMPARE(m_server->run("select v from d.t where id = 1"), "changed\n");
    InOutStage replace(connect(), m_server->folder());
    // The server would read Japanese letters as others.
    m_server->run("alter database d character set latin1");
    replace.session.connection().execute("use d");
    replace.pick("optRorI_0");
    for (const bool isAgreed : {false, true}) {
        replace.dialogue.expectAsk("ﾌｧｲﾙは文字ｾｯﾄ latin1 として読み込まれますが、列の文字ｾｯﾄは utf8mb4 です。"
                                   "文字化けすることがあります。読み込みますか？",
                                   isAgreed);
        replace.start(false, file, isAgreed ? "読み込みました。" : "");
        QCOMPARE(m_server->run("select v from d.t where id = 1"), isAgreed ? "one\n" : "changed\n");
    }
    m_server->run("alter database d character set utf8mb4");
}

QTEST_MAIN(FrmInOutTest)
#include "test_frminout.moc"
