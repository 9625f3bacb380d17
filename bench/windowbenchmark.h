#pragma once

#include <QApplication>

#include <functional>

// The main() of a benchmark of windows: with arguments it does the one job that they name, in this process;
// without any it compares all of them, and succeeds where all are within their bounds.
inline int runWindowBenchmark(int argc, char *argv[], const std::function<int(const QStringList &)> &doOneJob,
                              const std::function<bool()> &compareAll)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() > 1)
        return doOneJob(arguments);
    return compareAll() ? 0 : 1;
}
