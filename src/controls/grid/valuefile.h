#pragma once

#include <QByteArray>
#include <QString>

// The bytes of a file that are to become a value, or in words for the user why not.
struct ValueFile {
    QByteArray bytes;
    QString failure;
};
// No more than 64 MB: a value goes to the server in one statement, twice as long where it is binary.
ValueFile readValueFile(const QString &path);
// What the dialog that asks for the file is called; it names the bound.
QString valueFileTitle();
