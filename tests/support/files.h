#pragma once

#include <QDir>
#include <QFile>
#include <QTest>

// Files of tests; what cannot be written ends the test program.
inline void writeFile(const QString &path, const QByteArray &bytes,
                      QIODevice::OpenMode mode = QIODevice::WriteOnly)
{
    QFile file(path);
    if (!file.open(mode) || file.write(bytes) != bytes.size())
        qFatal("%s: %s", qPrintable(path), qPrintable(file.errorString()));
}

inline QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArrayLiteral("(no file)");
}

inline QStringList filesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden);
}

// A program of a test's own.
inline void writeProgram(const QString &path, const QByteArray &script)
{
    writeFile(path, "#!/bin/sh\n" + script);
    QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}
