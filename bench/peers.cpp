#include "peers.h"

#include "benchdata.h"
#include "measurement.h"
#include "table.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryFile>

#include <cstdio>

namespace {

// The clients read whatever may stand in the user's own settings, unless told not to.
QStringList options(const QString &peer, const TestServer &server, Shown shown)
{
    const QString port = QString::number(server.port());
    const bool isTable = shown == Shown::AsTable;
    if (peer == u"mariadb")
        return QStringList{QStringLiteral("--no-defaults"),
                           QStringLiteral("--skip-ssl"),
                           QStringLiteral("-h127.0.0.1"),
                           QStringLiteral("-P") + port,
                           QStringLiteral("-udemo"),
                           QStringLiteral("-pdemo"),
                           QStringLiteral("--default-character-set=utf8mb4"),
                           QStringLiteral("-Dbench")} +
               (isTable ? QStringList{QStringLiteral("--table")}
                        : QStringList{QStringLiteral("--batch"), QStringLiteral("--quick")});
    if (peer == u"isql")
        return QStringList{QStringLiteral("demo"), QStringLiteral("demo"), QStringLiteral("demo"),
                           QStringLiteral("-b")} +
               (isTable ? QStringList() : QStringList{QStringLiteral("-d\t")});
    return {QStringLiteral("--myclirc=/dev/null"),
            QStringLiteral("-h127.0.0.1"),
            QStringLiteral("-P") + port,
            QStringLiteral("-udemo"),
            QStringLiteral("-pdemo"),
            QStringLiteral("-Dbench"),
            isTable ? QStringLiteral("--table") : QStringLiteral("--csv")};
}

// isql takes a line for a statement; the others want its end marked.
QByteArray input(const QString &peer, const QStringList &statements)
{
    QByteArray text;
    for (const QString &statement : statements)
        text += statement.toUtf8() + (peer == u"isql" || statement.trimmed().endsWith(u';') ? "\n" : ";\n");
    return text;
}

// Negative: the client could not do it.
double secondsOnce(const QString &program, const QStringList &arguments, const QByteArray &input)
{
    QTemporaryFile output;
    if (!output.open())
        qFatal("%s", qPrintable(output.errorString()));
    QProcess process;
    process.setStandardOutputFile(output.fileName());
    process.setStandardErrorFile(QProcess::nullDevice());
    QElapsedTimer clock;
    clock.start();
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    if (!process.waitForFinished(300000) || process.exitCode() != 0 || output.size() == 0)
        return -1;
    return static_cast<double>(clock.nsecsElapsed()) / 1e9;
}

} // namespace

QMap<QString, double> peerSeconds(const TestServer &server, const QStringList &statements, Shown shown)
{
    QMap<QString, double> medians;
    for (const QString &peer : peerNames) {
        if (QStandardPaths::findExecutable(peer).isEmpty())
            continue;
        std::vector<Measurement> times;
        // A client that takes a minute is not asked again.
        while (static_cast<int>(times.size()) < std::min(runs(), 3) &&
               (times.empty() || times.back().seconds < 20))
            times.push_back({secondsOnce(peer, options(peer, server, shown), input(peer, statements)), 0, 0});
        if (times.back().seconds < 0)
            std::fprintf(stderr, "%s could not do it: %s\n", qPrintable(peer),
                         qPrintable(statements.first()));
        else
            medians[peer] = median(times).seconds;
    }
    return medians;
}
