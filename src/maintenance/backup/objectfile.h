#pragma once

#include <QString>

// The folder with the platform's separator at its end.
QString withSeparator(const QString &folder);

// The path of an object's own file. Throws Failure naming the file when the file system cannot hold the
// name, as one with a slash: such a file would land elsewhere.
QString objectFile(const QString &folder, const QString &name, const QString &suffix);

// The bytes in a file that is there whole or not at all; an older file is replaced, a link is not
// followed. Throws Failure.
void writeWholeFile(const QString &path, const QByteArray &bytes);
// The same, but never over an existing file.
void writeNewFile(const QString &path, const QByteArray &bytes);
