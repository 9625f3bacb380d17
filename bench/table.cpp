#include "table.h"

#include <algorithm>

namespace {

const QList<qsizetype> widths{34, 8, 9, 9, 9, 9, 9, 6, 14, 18, 9, 6};

void printCells(const QStringList &cells)
{
    QString text;
    for (qsizetype i = 0; i < cells.size(); ++i)
        text += QStringLiteral("| %1 ").arg(cells[i], -widths[i]);
    std::printf("%s|\n", text.toUtf8().constData());
    std::fflush(stdout);
}

} // namespace

void printHeader()
{
    printCells({QStringLiteral("job"),
                QStringLiteral("by"),
                QStringLiteral("bare loop"),
                peerNames[0],
                peerNames[1],
                peerNames[2],
                QStringLiteral("Tarnwell"),
                QStringLiteral("ratio"),
                QStringLiteral("bound"),
                QStringLiteral("peak memory"),
                QStringLiteral("stall"),
                {}});
    QStringList rules;
    for (const qsizetype width : widths)
        rules << QString(width, u'-');
    printCells(rules);
}

void print(const TableLine &line)
{
    QStringList cells{line.job, line.connection, line.bareLoop};
    for (const QString &name : peerNames)
        cells << line.peers.value(name);
    printCells(cells << line.ours << line.ratio << line.bound << line.memory << line.stall
                     << (line.isWithin ? QString() : QStringLiteral("BEYOND")));
}

QString asSeconds(double seconds)
{
    return seconds < 1 ? QStringLiteral("%1 ms").arg(seconds * 1000, 0, 'f', seconds < 0.1 ? 1 : 0)
                       : QStringLiteral("%1 s").arg(seconds, 0, 'f', 2);
}

QString asMegabytes(double megabytes)
{
    return QStringLiteral("%1 MB").arg(megabytes, 0, 'f', 1);
}

QString asRatio(double ratio)
{
    return QString::number(ratio, 'f', 2);
}

TableLine comparedLine(const QString &job, const QString &driver, const Turns &turns, double factor,
                       double allowance)
{
    const Measurement least = median(turns.bare), result = median(turns.ours);
    TableLine line;
    line.job = job;
    line.connection = driver;
    line.bareLoop = asSeconds(least.seconds);
    line.ours = asSeconds(result.seconds);
    line.ratio = asRatio(result.seconds / least.seconds);
    line.bound = QString::number(factor);
    if (allowance > 0)
        line.bound += QStringLiteral(" + ") + asSeconds(allowance);
    line.memory = asMegabytes(result.peakMegabytes - result.idleMegabytes);
    line.isWithin = result.seconds <= least.seconds * factor + allowance;
    return line;
}

void addPeers(TableLine &line, const QMap<QString, double> &seconds)
{
    for (auto peer = seconds.begin(); peer != seconds.end(); ++peer)
        line.peers[peer.key()] = asSeconds(peer.value());
}
