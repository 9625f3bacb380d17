#include "core/connect.h"
#include "inout/frminout.h"
#include "support/gui/boxes.h"
#include "support/scriptedconnection.h"
#include "support/scripteddialogue.h"
#include "support/testserver.h"

#include <QDir>
#include <QFileDialog>
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
                        const QString &item = QStringLiteral("[TABLE]\tt"))
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
        auto *found = window->findChild<Control *>(QLatin1String(name));
        if (!found)
            qFatal("no control %s", name);
        return *found;
    }
    QString file() const { return control<QLineEdit>("txtFilename").text(); }
    void choose(const char *option) const { control<QRadioButton>(option).setChecked(true); }
    bool isVisible(const char *name) const { return control<QWidget>(name).isVisible(); }
    void exportsTo(const QString &path)
    {
        choose("optInOut_0");
        control<QLineEdit>("txtFilename").setText(path);
        dialog.expectInform(QStringLiteral("出力しました。"));
        control<QPushButton>("cmdOut").click();
    }
    void importsFrom(const QString &path, const char *mode = "optRorI_0")
    {
        choose("optInOut_1");
        choose(mode);
        control<QLineEdit>("txtFilename").setText(path);
        dialog.expectInform(QStringLiteral("読み込みました。"));
        control<QPushButton>("cmdIn").click();
    }

    Session session;
    ScriptedDialogue dialog, mainWindow;
    std::unique_ptr<frmInOut> window;
};

// Remembers which filter the file dialog showed.
class FilterSeen : public QObject {
public:
    FilterSeen() { qApp->installEventFilter(this); }
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Show && watched->objectName() == QStringLiteral("CommonDialog1"))
            filter = dynamic_cast<QFileDialog &>(*watched).nameFilters().join(u'|');
        return false;
    }
    QString filter;
};

} // namespace

class FrmInOutTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void theDirectionShowsItsControls();
    void theFolderIsRememberedOnlyWhenChosen();
    void aCancelledFileDialogChangesNothing();
    void withoutATableTheDialogDoesNotOpen();
    void everyValueComesBackEqual_data();
    void everyValueComesBackEqual();
    void duplicateKeysAreReplacedOrSkipped();
    void theServersRefusalReachesTheMainWindow();
    void aFileThatOnlyThisMachineMayReadIsTheServersToRefuse();

private:
    std::unique_ptr<Connection> connect(bool isOdbc = false, const QString &user = QStringLiteral("demo"));
    QString newFile(const char *name);

    TestServer m_server;
    BlockingPump m_pump;
};

std::unique_ptr<Connection> FrmInOutTest::connect(bool isOdbc, const QString &user)
{
    QString string = isOdbc ? m_server.odbcString() : m_server.nativeString();
    string.replace(QStringLiteral("uid=demo;pwd=demo"), QStringLiteral("uid=%1;pwd=%1").arg(user));
    auto connection = createConnection(string, m_pump);
    connection->open();
    return connection;
}

QString FrmInOutTest::newFile(const char *name)
{
    return m_server.folder() + u'/' + QLatin1String(name);
}

void FrmInOutTest::initTestCase()
{
    m_server.run(QStringLiteral("create database d; create table d.t (id int primary key, v varchar(20));"
                                "insert into d.t values (1, 'one'), (2, 'two');"));
}

void FrmInOutTest::theDirectionShowsItsControls()
{
    Script script;
    InOutStage stage(script.connect(), QStringLiteral("/tmp/"));
    QCOMPARE(stage.window->windowTitle(), QStringLiteral("IN / OUT"));
    QCOMPARE(stage.control<QLabel>("lblTableName").text(), QStringLiteral("t"));
    QCOMPARE(stage.file(), QStringLiteral("/tmp/t.dat"));
    QCOMPARE(stage.control<QLabel>("lblTitle").text(), QStringLiteral("OUT FILE："));
    QVERIFY(stage.isVisible("cmdOut") && !stage.isVisible("cmdIn") && !stage.isVisible("fraRorI"));
    stage.choose("optInOut_1");
    QCOMPARE(stage.control<QLabel>("lblTitle").text(), QStringLiteral("IN FILE："));
    QVERIFY(!stage.isVisible("cmdOut") && stage.isVisible("cmdIn") && stage.isVisible("fraRorI"));
    stage.control<QPushButton>("cmdCancel").click();
    QVERIFY(!stage.window->isVisible());
    QCOMPARE(script.sent, QStringList());

    InOutStage fresh(script.connect(), {});
    QCOMPARE(fresh.file(), QDir::tempPath() + QStringLiteral("/t.dat"));
}

void FrmInOutTest::theFolderIsRememberedOnlyWhenChosen()
{
    const QTemporaryDir chosen;
    Script script;
    InOutStage typed(script.connect(), QStringLiteral("/tmp"));
    typed.exportsTo(chosen.filePath(QStringLiteral("typed.dat")));
    QCOMPARE(typed.session.gInOutPath, QStringLiteral("/tmp/"));
    QVERIFY(!typed.window->isVisible());

    InOutStage picked(script.connect(), QStringLiteral("/tmp"));
    Boxes boxes;
    boxes.expectFile(chosen.filePath(QStringLiteral("picked")));
    const FilterSeen seen;
    picked.control<QPushButton>("cmdFolder").click();
    QCOMPARE(seen.filter, QStringLiteral("出力 ファイル (*.dat)"));
    QCOMPARE(picked.file(), chosen.filePath(QStringLiteral("picked.dat")));
    QCOMPARE(picked.session.gInOutPath, QStringLiteral("/tmp"));
    picked.exportsTo(picked.file());
    QCOMPARE(picked.session.gInOutPath, chosen.path() + u'/');
}

void FrmInOutTest::aCancelledFileDialogChangesNothing()
{
    Script script;
    InOutStage stage(script.connect(), QStringLiteral("/tmp"));
    stage.choose("optInOut_1");
    Boxes boxes;
    boxes.expectFile({});
    const FilterSeen seen;
    stage.control<QPushButton>("cmdFolder").click();
    QCOMPARE(seen.filter, QStringLiteral("読み込み ファイル (*.dat)"));
    QCOMPARE(stage.file(), QStringLiteral("/tmp/t.dat"));
    QCOMPARE(stage.session.gInOutPath, QStringLiteral("/tmp"));
}

void FrmInOutTest::withoutATableTheDialogDoesNotOpen()
{
    Session session;
    ScriptedDialogue mainWindow;
    const QString words = QStringLiteral("一覧で対象が選択されていません。");
    mainWindow.expectRefuse(words);
    showInOutWindow(nullptr, session, {}, mainWindow);
    QCOMPARE(mainWindow.lastError, words);
}

void FrmInOutTest::everyValueComesBackEqual_data()
{
    QTest::addColumn<bool>("isOdbc");
    QTest::newRow("built in") << false;
    QTest::newRow("ODBC") << true;
}

void FrmInOutTest::everyValueComesBackEqual()
{
    QFETCH(bool, isOdbc);
    m_server.run(QStringLiteral(
        "create or replace table d.kinds (id int primary key, ti tinyint unsigned, bi bigint, de "
        "decimal(30,10), "
        "fl float, dou double, da date, dt datetime(6), ts timestamp(3) null, tm time(6), ye year, ch "
        "char(10), "
        "vc varchar(100), te longtext, bn binary(4), vb varbinary(100), bl longblob, en enum('a','b'), "
        "se set('x','y'), js json, ge geometry) character set utf8mb4;"
        "insert into d.kinds values (1, 255, -9223372036854775808, 12345678901234567890.0123456789, 1.5, "
        "1e300, "
        "'2024-02-29', '2024-02-29 23:59:59.123456', '2024-01-01 00:00:00.123', '-838:59:58.000001', 2024, "
        "'é', "
        "'改行\\nとﾀﾌﾞ\\tと\\\\N', '𠮷野家\\r\\n終', 0x00FF0A5C, 0x090A5C00, 0x00010203, 'b', 'x,y', "
        "'{\"k\": \"値\"}', "
        "point(1, 2)), (2, null, null, null, null, null, null, null, null, null, null, null, null, null, "
        "null, null, "
        "null, null, null, null, null), (3, 0, 0, 0, 0, 0, '0000-00-00', 0, null, 0, 0, '', '', 'NULL', '', "
        "'', '', "
        "'a', '', '[]', null);"
        "create or replace table d.copy like d.kinds;"));
    const QString file = newFile(isOdbc ? "odbc.dat" : "native.dat");
    InOutStage out(connect(isOdbc), m_server.folder(), QStringLiteral("[TABLE]\tkinds"));
    out.exportsTo(file);
    InOutStage in(connect(isOdbc), m_server.folder(), QStringLiteral("[TABLE]\tcopy"));
    in.importsFrom(file);
    const QString dump = QStringLiteral("select * from d.%1 order by id; checksum table d.%1");
    QCOMPARE(m_server.run(QStringLiteral("select count(*) from d.copy")), QStringLiteral("3\n"));
    QCOMPARE(m_server.run(dump.arg(QStringLiteral("copy")))
                 .replace(QStringLiteral("d.copy"), QStringLiteral("d.kinds")),
             m_server.run(dump.arg(QStringLiteral("kinds"))));
}

void FrmInOutTest::duplicateKeysAreReplacedOrSkipped()
{
    const QString file = newFile("duplicates.dat");
    InOutStage out(connect(), m_server.folder());
    out.exportsTo(file);
    m_server.run(QStringLiteral("update d.t set v = 'changed' where id = 1"));
    InOutStage skip(connect(), m_server.folder());
    m_server.takeStatements();
    skip.importsFrom(file, "optRorI_1");
    QCOMPARE(m_server.takeStatements().last(),
             QStringLiteral("load data infile '%1' IGNORE  into table `d`.t").arg(file));
    QCOMPARE(m_server.run(QStringLiteral("select v from d.t where id = 1")), QStringLiteral("changed\n"));
    InOutStage replace(connect(), m_server.folder());
    replace.importsFrom(file, "optRorI_0");
    QCOMPARE(m_server.run(QStringLiteral("select v from d.t where id = 1")), QStringLiteral("one\n"));

    InOutStage again(connect(), m_server.folder());
    again.control<QLineEdit>("txtFilename").setText(file);
    again.dialog.expectInform(QStringLiteral("ﾌｧｲﾙが存在します。ﾌｧｲﾙ名を変更してください。"));
    again.control<QPushButton>("cmdOut").click();
    QVERIFY(again.window->isVisible());
}

void FrmInOutTest::theServersRefusalReachesTheMainWindow()
{
    InOutStage out(connect(), m_server.folder());
    out.control<QLineEdit>("txtFilename").setText(newFile("no/such/folder.dat"));
    out.control<QPushButton>("cmdOut").click();
    QVERIFY(out.window->isVisible());
    QVERIFY(!out.mainWindow.lastError.isEmpty());
    QCOMPARE(out.session.gInOutPath, m_server.folder());

    m_server.run(
        QStringLiteral("create or replace user nofile identified by 'nofile'; grant all on d.* to nofile"));
    InOutStage refused(connect(false, QStringLiteral("nofile")), m_server.folder());
    refused.control<QLineEdit>("txtFilename").setText(newFile("refused.dat"));
    refused.control<QPushButton>("cmdOut").click();
    QVERIFY2(refused.mainWindow.lastError.contains(QStringLiteral("Access denied")),
             qPrintable(refused.mainWindow.lastError));
}

// The dialog finds the file on the machine of the program; the server may not, or may not be let near it.
void FrmInOutTest::aFileThatOnlyThisMachineMayReadIsTheServersToRefuse()
{
    QTemporaryDir allowed, elsewhere;
    TestServer server({QStringLiteral("--secure-file-priv=") + allowed.path()});
    server.run(QStringLiteral("create database d; create table d.t (id int); insert into d.t values (1)"));
    auto connection = createConnection(server.nativeString(), m_pump);
    connection->open();
    InOutStage stage(std::move(connection), elsewhere.path());
    QFile file(elsewhere.filePath(QStringLiteral("rows.dat")));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("2\n") == 2);
    file.close();

    stage.choose("optInOut_1");
    stage.control<QLineEdit>("txtFilename").setText(file.fileName());
    stage.control<QPushButton>("cmdIn").click();
    QVERIFY(stage.window->isVisible());
    QVERIFY2(stage.mainWindow.lastError.contains(QStringLiteral("--secure-file-priv")),
             qPrintable(stage.mainWindow.lastError));
    QCOMPARE(server.run(QStringLiteral("select id from d.t")), QStringLiteral("1\n"));
}

QTEST_MAIN(FrmInOutTest)
#include "test_frminout.moc"
