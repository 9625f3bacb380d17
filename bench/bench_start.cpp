// How long the program needs from its start to a usable window, and what memory it holds then, against an
// empty window of the same platform. Every run is a process of its own.
#include "browser/frmTarnwell.h"
#include "controls/windowpump.h"
#include "core/connect.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTextStream>
#include <QTimer>

#include <algorithm>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

// The child: a window is usable once it has been painted and the event loop has nothing left to do.
int showAndEnd(QApplication &application, QWidget &window)
{
    window.show();
    QTimer::singleShot(0, &application, [] { QTimer::singleShot(0, qApp, &QApplication::quit); });
    return application.exec();
}

int showEmptyWindow(int argc, char *argv[])
{
    QApplication application(argc, argv);
    QWidget window;
    window.resize(1024, 700);
    return showAndEnd(application, window);
}

int showMainWindow(int argc, char *argv[])
{
    QApplication application(argc, argv);
    WindowPump pump;
    Session session;
    session.programFolder = QString::fromLocal8Bit(argv[2]);
    session.makeConnection = [&pump](const QString &string) { return createConnection(string, pump); };
    frmTarnwell window(session, pump);
    return showAndEnd(application, window);
}

struct Run {
    double milliseconds;
    double megabytes;
};

Run timed(const char *program, const char *mode, const char *folder)
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
    return {static_cast<double>(clock.nsecsElapsed()) / 1e6, static_cast<double>(usage.ru_maxrss) / 1024};
}

Run median(std::vector<Run> runs)
{
    std::vector<double> times, sizes;
    for (const Run &run : runs) {
        times.push_back(run.milliseconds);
        sizes.push_back(run.megabytes);
    }
    std::sort(times.begin(), times.end());
    std::sort(sizes.begin(), sizes.end());
    return {times[times.size() / 2], sizes[sizes.size() / 2]};
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc > 1)
        return qstrcmp(argv[1], "empty") == 0 ? showEmptyWindow(argc, argv) : showMainWindow(argc, argv);
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QTemporaryDir folder;
    std::vector<Run> empty, full;
    for (int i = 0; i < 11; ++i) {
        empty.push_back(timed(argv[0], "empty", qPrintable(folder.path())));
        full.push_back(timed(argv[0], "full", qPrintable(folder.path())));
    }
    const Run bare = median(empty), program = median(full);
    QTextStream(stdout) << QStringLiteral("start to a usable window: empty %1 ms %2 MB, program %3 ms %4 MB, "
                                          "ratio %5 (bound 1.5), memory ratio %6 (bound 1.5)\n")
                               .arg(bare.milliseconds, 0, 'f', 1)
                               .arg(bare.megabytes, 0, 'f', 1)
                               .arg(program.milliseconds, 0, 'f', 1)
                               .arg(program.megabytes, 0, 'f', 1)
                               .arg(program.milliseconds / bare.milliseconds, 0, 'f', 2)
                               .arg(program.megabytes / bare.megabytes, 0, 'f', 2);
    return 0;
}
