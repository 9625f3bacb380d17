// How long the program needs from its start to a usable window, and what memory it holds then, against an
// empty window of the same platform. Every run is a process of its own.
#include "browser/frmTarnwell.h"
#include "browser/programstyle.h"
#include "controls/window/windowpump.h"
#include "core/driver/connect.h"
#include "table.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLabel>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

// Ends the child once its window is usable: it has been painted, and the event loop has come round with
// nothing left to do. No closeTimeout is said, since what closing costs is another matter.
class EndWhenUsable : public QObject {
public:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            QTimer::singleShot(0, this, [this] { QTimer::singleShot(0, this, [] { std::_Exit(0); }); });
        return false;
    }
};

int showAndEnd(QWidget &window)
{
    EndWhenUsable end;
    window.installEventFilter(&end);
    window.show();
    return QApplication::exec();
}

int showEmptyWindow(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    QWidget window;
    window.resize(1024, 700);
    return showAndEnd(window);
}

// The least that any program with Japanese letters pays on top: finding and loading fonts.
int showLabel(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    QLabel window(QStringLiteral("接続設定 table"));
    window.resize(1024, 700);
    return showAndEnd(window);
}

int showMainWindow(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    applyProgramStyle();
    WindowPump pump;
    Session session;
    session.programFolder = QString::fromLocal8Bit(argv[2]);
    session.connectBy([&pump](const QString &string) { return createConnection(string, pump); });
    frmTarnwell window(session);
    return showAndEnd(window);
}

const std::map<std::string_view, int (*)(int, char *[])> modes{
    {"empty", showEmptyWindow}, {"label", showLabel}, {"full", showMainWindow}};

Measurement timed(const char *program, const char *mode, const char *folder)
{
    QElapsedTimer clock;
    clock.start();
    const pid_t child = fork();
    if (child == 0) {
        execl(program, program, mode, folder, nullptr);
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    if (status != 0)
        qFatal("a run failed");
    return {static_cast<double>(clock.nsecsElapsed()) / 1e9, 0, static_cast<double>(usage.ru_maxrss) / 1024};
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc > 1)
        return modes.at(argv[1])(argc, argv);
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QString platform = qEnvironmentVariable("QT_QPA_PLATFORM");
    QTemporaryDir folder;
    const auto run = [&](const char *mode) { return timed(argv[0], mode, qPrintable(folder.path())); };
    std::vector<Measurement> empty, label, full;
    for (int i = 0; i < 2 * runs() + 1; ++i) {
        empty.push_back(run("empty"));
        label.push_back(run("label"));
        full.push_back(run("full"));
    }
    const QString job = QStringLiteral("start (%1), against ").arg(platform);
    TableLine start = comparedLine(job + QStringLiteral("an empty window"), {}, {empty, full}, 1.0);
    start.bound = QStringLiteral("none"); // it shows no text
    start.memory = asMegabytes(median(full).peakMegabytes);
    start.isWithin = true;
    print(start);

    // What the first Japanese letters of any program cost is not ours.
    TableLine letters = comparedLine(job + QStringLiteral("one label"), {}, {label, full}, 1.75);
    letters.memory = start.memory;
    print(letters);

    constexpr double bound = 1.6;
    const double least = median(empty).peakMegabytes, ours = median(full).peakMegabytes;
    TableLine memory;
    memory.job = QStringLiteral("memory then (%1), empty window / ours").arg(platform);
    memory.bareLoop = asMegabytes(least);
    memory.ours = asMegabytes(ours);
    memory.ratio = asRatio(ours / least);
    memory.bound = QString::number(bound);
    memory.isWithin = ours <= least * bound;
    print(memory);
    return letters.isWithin && memory.isWithin ? 0 : 1;
}
