#pragma once

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
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArrayLiteral("(none)");
}
