#include "sheets/sheetfile.h"

#include "core/session/codepage.h"

#include <QStringEncoder>

namespace {

const QByteArray utf8Mark = QByteArrayLiteral("\xef\xbb\xbf"), littleMark = QByteArrayLiteral("\xff\xfe"),
                 bigMark = QByteArrayLiteral("\xfe\xff");

QByteArray asUtf16(const QByteArray &utf8, QStringEncoder::Encoding encoding)
{
    return QStringEncoder(encoding)(QString::fromUtf8(utf8));
}

} // namespace

FileEncoding encodingOf(const QByteArray &bytes)
{
    if (bytes.startsWith(utf8Mark))
        return FileEncoding::Utf8Mark;
    if (bytes.startsWith(littleMark))
        return FileEncoding::Utf16Little;
    if (bytes.startsWith(bigMark))
        return FileEncoding::Utf16Big;
    return fromCodePage(bytes).toUtf8() == bytes ? FileEncoding::Utf8 : FileEncoding::CodePage;
}

QByteArray encoded(const QByteArray &utf8, FileEncoding encoding)
{
    switch (encoding) {
    case FileEncoding::Utf8Mark:
        return utf8Mark + utf8;
    case FileEncoding::Utf16Little:
        return littleMark + asUtf16(utf8, QStringEncoder::Utf16LE);
    case FileEncoding::Utf16Big:
        return bigMark + asUtf16(utf8, QStringEncoder::Utf16BE);
    case FileEncoding::CodePage:
        return toCodePage(QString::fromUtf8(utf8));
    case FileEncoding::Utf8:
        break;
    }
    return utf8;
}
