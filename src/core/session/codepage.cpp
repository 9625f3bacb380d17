#include "core/session/codepage.h"

#include <QStringDecoder>
#include <QStringEncoder>

namespace {

constexpr const char *japanese = "windows-31j";
const QByteArray utf8Mark = QByteArrayLiteral("\xEF\xBB\xBF");

bool isAscii(const QString &text)
{
    return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 0x80; });
}

} // namespace

QString fromCodePage(const QByteArray &bytes)
{
    if (bytes.startsWith(utf8Mark))
        return QStringDecoder(QStringDecoder::Utf8,
                              QStringDecoder::Flag::ConvertInitialBom)(bytes.mid(utf8Mark.size()));
    if (bytes.startsWith("\xFF\xFE") || bytes.startsWith("\xFE\xFF"))
        // By way of UTF-8, so that half characters of a damaged file, which no file can hold again, are gone.
        return QString::fromUtf8(QString(QStringDecoder(QStringDecoder::Utf16)(bytes)).toUtf8());
    QStringDecoder utf8(QStringDecoder::Utf8);
    const QString text = utf8(bytes);
    if (!utf8.hasError())
        return text;
    QStringDecoder ansi(japanese);
    return ansi.isValid() ? QString(ansi(bytes)) : QString::fromLatin1(bytes);
}

QByteArray toCodePage(const QString &text)
{
    if (isAscii(text))
        return text.toLatin1();
    QStringEncoder ansi(japanese);
    if (ansi.isValid()) {
        const QByteArray bytes = ansi(text);
        // Some half-width katakana are valid UTF-8 of other letters: the reader could not tell.
        if (!ansi.hasError() && fromCodePage(bytes) == text)
            return bytes;
    }
    return utf8Mark + text.toUtf8();
}

int codePageLength(const QString &text)
{
    if (isAscii(text))
        return static_cast<int>(text.size());
    int length = 0;
    for (const char32_t character : text.toStdU32String()) {
        QStringEncoder ansi(japanese);
        const QByteArray bytes = ansi(QString::fromUcs4(&character, 1));
        length += ansi.isValid() && !ansi.hasError() ? static_cast<int>(bytes.size()) : 1;
    }
    return length;
}
