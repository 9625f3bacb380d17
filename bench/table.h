#pragma once

#include "measurement.h"

#include <QMap>
#include <QString>

#include <cstdio>

// One line of the table that bench/run prints.
struct TableLine {
    QString job, connection, bareLoop;
    QMap<QString, QString> peers; // by the program's name; none: not a job for them, or not installed
    QString ours, ratio, bound, memory, stall;
    bool isWithin = true; // all its bounds
};

// The programs that the table compares with, in the order of its columns.
inline const QStringList peerNames{QStringLiteral("mariadb"), QStringLiteral("isql"),
                                   QStringLiteral("mycli")};

// Markdown, padded so that it reads well in a terminal too.
void printHeader();
void print(const TableLine &line);

QString asSeconds(double seconds);
QString asMegabytes(double megabytes);
QString asRatio(double ratio);

// A line's median of ours against that of the bare loop: times, ratio, memory over idle.
TableLine comparedLine(const QString &job, const QString &driver, const Turns &turns, double factor,
                       double allowance = 0);
// What the other clients needed, by name.
void addPeers(TableLine &line, const QMap<QString, double> &seconds);
