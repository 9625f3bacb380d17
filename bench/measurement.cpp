#include "measurement.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

double statusMegabytes(const char *name)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : file.readAll().split('\n'))
        if (line.startsWith(name))
            return line.mid(qstrlen(name)).simplified().split(' ').value(0).toDouble() / 1024;
    return 0;
}

double middle(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

} // namespace

int runs()
{
    return qEnvironmentVariableIsSet("TARNWELL_BENCH_QUICK") ? 1 : 5;
}

int rowCount()
{
    return qEnvironmentVariableIsSet("TARNWELL_BENCH_QUICK") ? 100000 : 1000000;
}

Measurement measure(const std::function<void()> &job)
{
    Measurement result;
    result.idleMegabytes = statusMegabytes("VmRSS:");
    QElapsedTimer clock;
    clock.start();
    job();
    result.seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    result.peakMegabytes = statusMegabytes("VmHWM:");
    return result;
}

Measurement measureElsewhere(const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QCoreApplication::applicationFilePath(), arguments);
    if (!process.waitForFinished(600000) || process.exitStatus() != QProcess::NormalExit ||
        process.exitCode() != 0) {
        std::fprintf(stderr, "failed: %s\n", qPrintable(arguments.join(u' ')));
        std::exit(1);
    }
    const QList<QByteArray> figures = process.readAllStandardOutput().simplified().split(' ');
    return {figures.value(0).toDouble(), figures.value(1).toDouble(), figures.value(2).toDouble(),
            figures.value(3).toDouble()};
}

Turns measureByTurns(const QStringList &bareArguments, const QStringList &ourArguments)
{
    Turns turns;
    for (int run = 0; run < runs(); ++run) {
        turns.bare.push_back(measureElsewhere(bareArguments));
        turns.ours.push_back(measureElsewhere(ourArguments));
    }
    return turns;
}

void print(const Measurement &measurement)
{
    std::printf("%.6f %.3f %.3f %.1f\n", measurement.seconds, measurement.idleMegabytes,
                measurement.peakMegabytes, measurement.stallMilliseconds);
}

Measurement median(const std::vector<Measurement> &runs)
{
    const auto of = [&runs](double Measurement::*figure) {
        std::vector<double> values;
        for (const Measurement &run : runs)
            values.push_back(run.*figure);
        return middle(values);
    };
    return {of(&Measurement::seconds), of(&Measurement::idleMegabytes), of(&Measurement::peakMegabytes),
            of(&Measurement::stallMilliseconds)};
}
