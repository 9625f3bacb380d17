#pragma once

#include <QString>
#include <QStringList>

#include <cstddef>
#include <cstdio>

// What the libraries take at the least: straight calls on one thread, each value looked at and dropped.
// All give the number of bytes that they saw; failures end the program. With a file, the rows go into it as
// lines of values with a TAB between them.
// One value of a line; null for NULL.
void writeValue(std::FILE *file, const char *bytes, std::size_t length, bool isLast);

namespace BareNative {
std::size_t readRows(int port, const QString &database, const QString &statement, std::FILE *file = nullptr);
std::size_t repeatSmall(int port, const QString &statement, int times);
double secondsFor(int port, const QStringList &statements); // without connecting
} // namespace BareNative

namespace BareOdbc {
std::size_t readRows(const QString &connectionString, const QString &statement, std::FILE *file = nullptr);
std::size_t repeatSmall(const QString &connectionString, const QString &statement, int times);
double secondsFor(const QString &connectionString, const QStringList &statements);
} // namespace BareOdbc
