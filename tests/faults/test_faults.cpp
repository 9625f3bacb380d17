// Servers, drivers and disks that fail under the real window: it lives on, shows the words of the system, and
// works again once the fault is gone.
#include "core/bascommon.h"
#include "mainwindowstage.h"
#include "stallwatch.h"
#include "support/gui/boxes.h"
#include "support/lockedfolder.h"
#include "support/rows.h"
#include "support/testserver.h"

#include <QApplication>
#include <QMessageBox>
#include <QPlainTextEdit>

#include <csignal>
#include <sys/resource.h>

namespace {

// The words of a client library differ with the moment, so a box's text is looked at instead of expected.
class AnyBox : public QObject {
public:
    AnyBox() { look(); }
    QStringList texts;

private:
    void look()
    {
        QTimer::singleShot(5, this, &AnyBox::look);
        if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
            texts << box->text();
            box->accept();
        }
    }
};

} // namespace

class FaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init() { failOnAnyWarning(); }
    void aServerKilledWhileItThinksGivesItsWords_data() { bothConnections(); }
    void aServerKilledWhileItThinksGivesItsWords();
    void aSessionKilledFromElsewhereGivesItsWords_data() { bothConnections(); }
    void aSessionKilledFromElsewhereGivesItsWords();
    void aFrozenServerHoldsNothingUpAndIsWaitedFor_data() { bothConnections(); }
    void aFrozenServerHoldsNothingUpAndIsWaitedFor();
    void stoppingAtAFrozenServerComesBack_data() { bothConnections(); }
    void stoppingAtAFrozenServerComesBack();
    void aConnectionThatCannotBeSaysWhy_data();
    void aConnectionThatCannotBeSaysWhy();
    void settingsThatCannotBeSavedAreSaidAndTheOldOnesStay();
    void theWindowSaysWhatBecomesOfSettings();

private:
    QString lastError(const MainWindowStage &stage)
    {
        return stage.control<QPlainTextEdit>("txtError")->toPlainText();
    }
    void connectTo(MainWindowStage &stage)
    {
        QFETCH(QString, driver);
        stage.enter(driver, m_server->port());
        stage.click("cmdConnect");
        stage.click("cmdShowDb");
        stage.choose("lstDb", "店");
    }
    // What the fault left behind is gone, and a new connection shows everything.
    void mustWorkAgain(MainWindowStage &stage)
    {
        stage.click("cmdClose");
        QTRY_VERIFY(!stage.session.gCn);
        connectTo(stage);
        stage.choose("lstTables", "[TABLE]\t商品");
        stage.click("cmdDataGet");
        QVERIFY2(stage.control<FlexGrid>("flGrid_Data")->rowCount() == 3, qPrintable(lastError(stage)));
    }

    std::unique_ptr<TestServer> m_server;
};

void FaultsTest::initTestCase()
{
    m_server = std::make_unique<TestServer>();
    m_server->run(QStringLiteral(
        "create database 店; use 店;"
        "create table 商品 (id int primary key, 名前 varchar(50)) engine=MyISAM;" // rows that outlive a
                                                                                  // SIGKILL at once
        "insert into 商品 values (1,'ﾃｽﾄ'),(2,''),(3,'😀');"
        "create view slow as select sleep(20) as s;"));
}

void FaultsTest::aServerKilledWhileItThinksGivesItsWords()
{
    MainWindowStage stage;
    connectTo(stage);
    stage.choose("lstTables", "[VIEW]\tslow");
    AnyBox boxes;
    QTimer::singleShot(300, this, [this] { m_server->kill(); });
    QElapsedTimer clock;
    clock.start();
    stage.click("cmdDataGet");
    QVERIFY(clock.elapsed() < 5000);
    QCOMPARE(boxes.texts.size(), 1);
    QVERIFY2(boxes.texts[0].contains(QRegularExpression("gone away|Lost connection|error reading")),
             qPrintable(boxes.texts[0]));
    m_server->start();
    mustWorkAgain(stage);
}

void FaultsTest::aSessionKilledFromElsewhereGivesItsWords()
{
    MainWindowStage stage;
    connectTo(stage);
    const QString statement = "select connection_id()";
    m_server->run("kill " + stage.session.gCn->execute(statement).text(0));
    AnyBox boxes;
    stage.click("cmdShowDb");
    QCOMPARE(boxes.texts.size(), 1);
    QVERIFY(!boxes.texts[0].isEmpty());
    QCOMPARE(lastError(stage), boxes.texts[0]);
    mustWorkAgain(stage);
}

void FaultsTest::aFrozenServerHoldsNothingUpAndIsWaitedFor()
{
    MainWindowStage stage;
    connectTo(stage);
    Boxes none;
    StallWatch stalls;
    m_server->freeze();
    QTimer::singleShot(1000, this, [this] { m_server->resume(); });
    stage.click("cmdShowDb");
    QVERIFY(stage.control<ChosenList>("lstDb")->count() > 3);
    QVERIFY2(stalls.longest() < 100, qPrintable(QString::number(stalls.longest())));
}

void FaultsTest::stoppingAtAFrozenServerComesBack()
{
    MainWindowStage stage;
    connectTo(stage);
    stage.choose("lstTables", "[TABLE]\t商品");
    AnyBox boxes;
    StallWatch stalls;
    m_server->freeze();
    QTimer::singleShot(300, this, [&stage] { stage.click("cmdDataGet"); });
    QElapsedTimer clock;
    clock.start();
    stage.click("cmdDataGet");
    const qint64 took = clock.elapsed();
    m_server->resume();
    QVERIFY2(took < 300 + 3000, qPrintable(QString::number(took)));
    QVERIFY2(stalls.longest() < 100, qPrintable(QString::number(stalls.longest())));
    mustWorkAgain(stage);
}

void FaultsTest::aConnectionThatCannotBeSaysWhy_data()
{
    QTest::addColumn<QString>("driver");
    QTest::addColumn<QString>("words");
    row("a driver that cannot be loaded", "Broken MySQL Driver", "libdoesnotexist.so");
    row("nobody at the port, built in", nativeDriverName(), "127.0.0.1");
}

void FaultsTest::aConnectionThatCannotBeSaysWhy()
{
    QFETCH(QString, driver);
    QFETCH(QString, words);
    MainWindowStage stage;
    Boxes boxes;
    stage.enter(driver, 1);
    boxes.expectOk("接続失敗");
    stage.click("cmdConnect");
    QVERIFY2(lastError(stage).contains(words), qPrintable(lastError(stage)));
    QVERIFY(!stage.session.gCn);
    QVERIFY(stage.control<QPushButton>("cmdConnect")->isEnabled());
}

void FaultsTest::settingsThatCannotBeSavedAreSaidAndTheOldOnesStay()
{
    const QTemporaryDir folder;
    Session session;
    session.programFolder = folder.path();
    sLoadSettings(session);
    session.gServer = "old";
    QCOMPARE(sSaveSettings(session), QString());
    session.gServer = "new";

    // No file may grow: what a full disk does, and what stops an administrator's account as well.
    ::signal(SIGXFSZ, SIG_IGN);
    rlimit old{};
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit none{0, old.rlim_max};
    setrlimit(RLIMIT_FSIZE, &none);
    const QString words = sSaveSettings(session);
    setrlimit(RLIMIT_FSIZE, &old);
    QVERIFY(!words.isEmpty());
    {
        const LockedFolder locked(folder.path());
        QVERIFY(sSaveSettings(session).contains("Permission denied"));
    }

    sLoadSettings(session);
    QCOMPARE(session.gServer, "old");
    session.programFolder = folder.filePath("Tarnwell.ini"); // a file is no folder
    sLoadSettings(session);
    QVERIFY(!sSaveSettings(session).isEmpty());
}

void FaultsTest::theWindowSaysWhatBecomesOfSettings()
{
    MainWindowStage stage;
    stage.session.gIniPath = stage.folder.filePath("missing/Tarnwell.ini");
    Boxes boxes;
    boxes.expectOk("設定を保存できませんでした。\r\n" + stage.session.gIniPath +
                   ": No such file or directory");
    stage.window->close();
    QVERIFY(!stage.window->isVisible());

    const QString path = stage.folder.filePath("Tarnwell.ini");
    QVERIFY(QDir().mkpath(path));
    boxes.expectOk("「" + path + "」は通常のファイルではないため、読み書きしません。");
    stage.window = std::make_unique<frmTarnwell>(stage.session, stage.pump);
    QTRY_COMPARE(boxes.seen().size(), 2);
}

QTEST_MAIN(FaultsTest)
#include "test_faults.moc"
