#pragma once

#include <QByteArray>
#include <QString>

// What a file of SQL holds, whoever wrote it, and how to write it again as it was: so that a text that is
// saved changes nothing in its file but what was edited.
struct FileText {
    enum class Encoding { Utf8, Utf8Mark, Utf16Little, Utf16Big, CodePage, EucJp, Iso2022Jp };

    QString text;
    Encoding encoding = Encoding::Utf8;
    bool isDamaged = false; // some bytes are no text in any of them: written again, the file has lost them
};

// A byte order mark decides, else what the bytes are valid in: ISO-2022-JP, UTF-8, EUC-JP, CP932. Half-width
// katakana of CP932 are valid EUC-JP, too: such a text is CP932 unless it reads like Japanese in EUC-JP.
FileText fileText(const QByteArray &bytes);
// What the encoding has no form for makes a file of it UTF-8 with a byte order mark.
QByteArray encoded(const QByteArray &utf8, FileText::Encoding encoding);
// For the user.
QString encodingName(FileText::Encoding encoding);
