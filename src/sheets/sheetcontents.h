#pragma once

#include "core/session/filetext.h"

#include <QJsonObject>
#include <QString>

QString hashOf(const QByteArray &bytes);
QString hashOfFile(const QString &path); // empty: there is no such file, or it cannot be read

// What a sheet holds while it is open, run or not, saved or not.
struct SheetContents {
    QString name;                                           // shown while there is no file
    QString path;                                           // of its file; empty: none
    QString text;                                           // line ends as in the file
    bool isChanged = false;                                 // from what the file holds
    FileText::Encoding encoding = FileText::Encoding::Utf8; // of the file
    bool isDamaged = false;                                 // the file holds what could not be read
    int cursor = 0;                                         // in bytes
    QString fileHash;                                       // of its bytes when last read or saved

    // As it stands in a draft.
    static SheetContents of(const QJsonObject &json);
    QJsonObject object() const;
};
