// An hour's work in a minute: random clicks and keys over the whole program against a real server.
// TARNWELL_LONGRUN_SEED and TARNWELL_LONGRUN_SECONDS choose the walk and its length.
#include "mainwindowstage.h"
#include "monkey.h"
#include "support/gui/boxes.h"
#include "support/testserver.h"

#include <QApplication>
#include <QFontDatabase>
#include <QPainter>
#include <QPixmapCache>

#include <malloc.h>

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

// With an account that can do harm to the playground only.
const char *const setUp = R"(
    create database play1; create database play2; use play1;
    create table 商品 (id int primary key, 名前 varchar(50), memo text) engine=InnoDB;
    insert into 商品 values (1,'ﾃｽﾄ',null),(2,'','x'),(3,'😀','NULL');
    create table many (id int, filler text); insert into many select seq, repeat('x', 200) from seq_1_to_20000;
    create view v as select id, 名前 from 商品 where id > 1;
    create procedure p() select 1; create function f() returns int return 1;
    create table play2.child (a int, b decimal(10,2), key (a));
    create user walker@'%' identified by 'walk';
    grant select, reload, process, file, show databases, create user on *.* to walker@'%';
    grant all on play1.* to walker@'%'; grant all on play2.* to walker@'%';
)";

// A letter that the font lacks makes the toolkit load others in search of it, a megabyte and more that it
// keeps. That shall not look like growth, whenever the walk meets such a letter.
void loadFonts()
{
    QPixmap picture(100, 50);
    QPainter painter(&picture);
    for (QFont font : {QApplication::font(), QFontDatabase::systemFont(QFontDatabase::FixedFont)}) {
        for (const bool isBold : {false, true}) {
            font.setBold(isBold);
            painter.setFont(font);
            painter.drawText(0, 20, QStringLiteral("a長ﾃ😀\u2713\ufffd"));
        }
    }
}

// What the program holds, without the pictures that the toolkit keeps up to a limit of its own. Resident
// memory says less: fonts are mapped into it, and the allocator's pages fray.
double usedMegabytes()
{
    QPixmapCache::clear();
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / 1e6;
}

} // namespace

class LongRunTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void manyRandomActionsDoNoHarm();

private:
    // Lets the monkey loose on a new main window until so many actions or seconds are over.
    void walk(TestServer &server, Monkey &monkey, int actions, int seconds);
};

void LongRunTest::walk(TestServer &server, Monkey &monkey, int actions, int seconds)
{
    MainWindowStage stage;
    QRandomGenerator random(static_cast<quint32>(actions));
    monkey.connectAgain = [&] {
        if (stage.session.gCn)
            return;
        stage.enter(random.bounded(2) ? nativeDriverName() : "MySQL ODBC 3.51 Driver", server.port(),
                    "walker", "walk");
        if (random.bounded(2))
            stage.control<QLineEdit>("txtServer")->setText("localhost");
        stage.click("cmdConnect");
        if (stage.session.gCn)
            stage.click("cmdShowDb");
    };
    QElapsedTimer clock;
    clock.start();
    const int until = monkey.actions() + actions;
    monkey.connectAgain();
    // Every window once, the rest by chance.
    stage.control<ChosenList>("lstDb")->setCurrentRow(0);
    for (const char *button : {"cmdExec", "cmdCreateUser", "cmdRestore", "cmdInOut", "Command1"})
        stage.click(button);
    while (monkey.actions() < until && clock.elapsed() < seconds * 1000)
        QTest::qWait(20);
    monkey.finish();
    const auto isGone = [&] {
        if (!QApplication::activeModalWidget())
            stage.window->close();
        return !stage.window->isVisible();
    };
    QTRY_VERIFY_WITH_TIMEOUT(isGone(), 30000);
}

void LongRunTest::manyRandomActionsDoNoHarm()
{
    bool isGiven = false;
    const int givenSeconds = qEnvironmentVariableIntValue("TARNWELL_LONGRUN_SECONDS", &isGiven);
    const int seconds = isGiven ? givenSeconds : qEnvironmentVariableIsSet("CI") ? 40 : 10;
    const auto seed = static_cast<quint32>(qEnvironmentVariable("TARNWELL_LONGRUN_SEED", "1").toUInt());
    mallopt(M_ARENA_MAX, 1); // the one that mallinfo2() tells of
    TestServer server;
    server.run(QString::fromUtf8(setUp));
    failOnAnyWarning();
    // Nothing of this machine is started by a random click.
    qputenv("PATH", "");
    const QTemporaryDir files;
    std::FILE *log = std::fopen("faults_longrun.log", "w");
    QVERIFY(log);
    loadFonts();
    // At most a tenth is added after a hundred actions. What a walk happens to show for the first time only
    // later, and the toolkit keeps, is no growth when next to nothing is added after a thousand.
    QList<double> megabytes;
    int actions = 0;
    for (const auto &[most, time] : {std::pair{100, 60}, {900, 60}, {1000000, seconds}}) {
        Monkey monkey(seed + static_cast<quint32>(megabytes.size()), files.path(), log);
        walk(server, monkey, most, time);
        actions += monkey.actions();
        megabytes << usedMegabytes();
        std::fprintf(log, "%.1f MB in use\n", megabytes.last());
    }
    std::fclose(log);
    qInfo("seed %u: %d actions; %.1f MB in use after a hundred actions, %.1f MB after a thousand, %.1f MB at "
          "the end",
          seed, actions, megabytes[0], megabytes[1], megabytes[2]);
    if (isSanitized || seconds < 30)
        qInfo("The growth of memory is judged in walks of 30 seconds and more, without sanitizers.");
    else // what is bounded, as history and undo, may fill after the hundredth; half a megabyte is chance
        QVERIFY2(megabytes[2] < megabytes[0] * 1.1 || megabytes[2] < megabytes[1] * 1.1, "memory grew");
}

QTEST_MAIN(LongRunTest)
#include "test_longrun.moc"
