#pragma once

#include <QByteArray>
#include <QFileDevice>
#include <QString>

// Writes all of the bytes to a file that was opened unbuffered; false: errorString() has the system's own
// words.
bool writeAll(QFileDevice &file, QByteArrayView bytes);

// Who may read a file that is new; one that is there keeps its permissions.
enum class Readers { AsUsual, OwnerOnly };

// The bytes in a file that is there whole or stays as it was: written beside it and renamed over it. Returns
// the system's own words when it failed, else an empty text.
QString saveWholeFile(const QString &path, const QByteArray &bytes, Readers readers = Readers::AsUsual);
