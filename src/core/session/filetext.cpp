#include "core/session/filetext.h"

#include "core/session/codepage.h"

#include <QStringDecoder>
#include <QStringEncoder>

#include <algorithm>
#include <optional>

namespace {

using Encoding = FileText::Encoding;

const QByteArray utf8Mark = QByteArrayLiteral("\xef\xbb\xbf"), littleMark = QByteArrayLiteral("\xff\xfe"),
                 bigMark = QByteArrayLiteral("\xfe\xff");

const char *codesOf(Encoding encoding)
{
    return encoding == Encoding::EucJp       ? "EUC-JP"
           : encoding == Encoding::Iso2022Jp ? "ISO-2022-JP"
                                             : "windows-31j";
}

QByteArray asUtf16(const QByteArray &utf8, QStringEncoder::Encoding encoding)
{
    return QStringEncoder(encoding)(QString::fromUtf8(utf8));
}

// Nothing: it holds what the encoding has no form for.
std::optional<QByteArray> inCodes(const QString &text, const char *codes)
{
    QStringEncoder encoder(codes);
    const QByteArray bytes = encoder.isValid() ? encoder(text) : QByteArray();
    return !encoder.isValid() || encoder.hasError() ? std::nullopt : std::optional(bytes);
}

// Nothing: the bytes are no such text. They are asked for again, because the decoder takes no notice of half
// a character at the end.
std::optional<QString> validText(const QByteArray &bytes, Encoding encoding)
{
    const char *codes = codesOf(encoding);
    QStringDecoder decoder(codes);
    const QString text = decoder.isValid() ? decoder(bytes) : QString();
    const bool hasControls =
        std::ranges::any_of(text, [](QChar c) { return c.unicode() >= 0x80 && c.unicode() < 0xa0; });
    if (!decoder.isValid() || decoder.hasError() || hasControls || inCodes(text, codes) != bytes)
        return {};
    return text;
}

bool isKana(QChar character)
{
    return character.unicode() >= 0x3041 && character.unicode() <= 0x30fe;
}

// More than chance makes of half-width katakana: a quarter of the letters are kana.
bool readsLikeJapanese(const QString &text)
{
    const auto letters = std::ranges::count_if(text, [](QChar c) { return c.unicode() >= 0x80; });
    return std::ranges::count_if(text, isKana) * 4 >= letters;
}

// Nobody writes characters of his own into SQL.
bool hasPrivateCharacters(const QString &text)
{
    return std::ranges::any_of(text, [](QChar c) { return c.unicode() >= 0xe000 && c.unicode() < 0xf900; });
}

// In CP932 two codes of some characters are one: the other is written again, which loses nothing.
bool isDamagedCodePage(const QByteArray &bytes, const QString &text)
{
    const char *codes = codesOf(Encoding::CodePage);
    QStringDecoder decoder(codes);
    [[maybe_unused]] const QString again = decoder(bytes);
    const std::optional<QByteArray> written = inCodes(text, codes);
    return decoder.hasError() || !written || written->size() != bytes.size();
}

FileText markedText(const QByteArray &bytes, Encoding encoding)
{
    FileText file{fromCodePage(bytes), encoding};
    file.isDamaged = encoded(file.text.toUtf8(), encoding) != bytes;
    return file;
}

} // namespace

FileText fileText(const QByteArray &bytes)
{
    for (const auto &[mark, encoding] :
         {std::pair(utf8Mark, Encoding::Utf8Mark), std::pair(littleMark, Encoding::Utf16Little),
          std::pair(bigMark, Encoding::Utf16Big)})
        if (bytes.startsWith(mark))
            return markedText(bytes, encoding);
    if (bytes.contains("\x1b$"))
        if (const std::optional<QString> text = validText(bytes, Encoding::Iso2022Jp))
            return {*text, Encoding::Iso2022Jp};
    FileText file{fromCodePage(bytes)};
    if (file.text.toUtf8() == bytes)
        return file;
    file.encoding = Encoding::CodePage;
    file.isDamaged = isDamagedCodePage(bytes, file.text);
    const std::optional<QString> euc = validText(bytes, Encoding::EucJp);
    if (euc && (file.isDamaged || hasPrivateCharacters(file.text) || readsLikeJapanese(*euc)))
        return {*euc, Encoding::EucJp};
    return file;
}

QByteArray encoded(const QByteArray &utf8, Encoding encoding)
{
    const QString text = QString::fromUtf8(utf8);
    switch (encoding) {
    case Encoding::Utf8:
        return utf8;
    case Encoding::Utf8Mark:
        break;
    case Encoding::Utf16Little:
        return littleMark + asUtf16(utf8, QStringEncoder::Utf16LE);
    case Encoding::Utf16Big:
        return bigMark + asUtf16(utf8, QStringEncoder::Utf16BE);
    case Encoding::CodePage:
    case Encoding::EucJp:
    case Encoding::Iso2022Jp: {
        const std::optional<QByteArray> bytes = inCodes(text, codesOf(encoding));
        if (bytes && fileText(*bytes).text == text) // else its reader could not tell
            return *bytes;
        break;
    }
    }
    return utf8Mark + utf8;
}

QString encodingName(Encoding encoding)
{
    switch (encoding) {
    case Encoding::Utf8:
        return QStringLiteral("UTF-8");
    case Encoding::Utf8Mark:
        return QStringLiteral("UTF-8（BOM付き）");
    case Encoding::Utf16Little:
    case Encoding::Utf16Big:
        return QStringLiteral("UTF-16");
    case Encoding::CodePage:
        return QStringLiteral("シフトJIS");
    case Encoding::EucJp:
        return QStringLiteral("EUC-JP");
    case Encoding::Iso2022Jp:
        return QStringLiteral("ISO-2022-JP");
    }
    return {};
}
