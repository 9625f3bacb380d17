#pragma once

#include "core/session/filetext.h"

#include <QJsonObject>
#include <QString>

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
    qint64 fileSize = -1;                                   // then; -1: not known
    QString server;                                         // that it worked on last; empty: none yet

    // All but the name and the cursor from a file. Empty where a sheet can hold it, else why not.
    QString read(const QString &filePath);
    void noteFile(const QString &filePath, const QByteArray &bytes); // that hold what the sheet holds
    // Somebody else has written into the file since.
    bool isFileOthers() const;

    // As it stands in a draft.
    static SheetContents of(const QJsonObject &json);
    QJsonObject object() const;
};
