#pragma once

#include <QByteArray>
#include <QString>

// The bytes in a file that is there whole or stays as it was: written beside it and renamed over it. Returns
// the system's own words when it failed, else an empty text.
QString saveWholeFile(const QString &path, const QByteArray &bytes);
