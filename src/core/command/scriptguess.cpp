#include "core/command/scriptguess.h"

#include "core/session/filetext.h"
#include "core/sql/failure.h"

#include <algorithm>

namespace {

constexpr std::size_t pieceBytes = 256 * 1024;
constexpr std::size_t mostBytes = 32 * 1024 * 1024; // the user waits

bool hasLetters(const QByteArray &bytes)
{
    return bytes.contains("\x1b$") ||
           std::ranges::any_of(bytes, [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
}

// Bytes below "@" are no part of a larger character in any of the encodings.
QByteArray wholeCharacters(QByteArray piece)
{
    qsizetype end = piece.size();
    while (end > 0 && static_cast<unsigned char>(piece[end - 1]) >= '@')
        --end;
    return end > 0 ? piece.first(end) : piece;
}

// What mysqldump and mariadb-dump write in another character set than UTF-8 is none of those that are
// guessed.
bool namesItsCharacterSet(const QByteArray &beginning)
{
    constexpr qsizetype head = 4096;
    const QByteArray first = beginning.first(std::min(beginning.size(), head));
    return first.contains("\n/*!40101 SET NAMES ") || first.contains("\n/*!50503 SET NAMES ");
}

ScriptGuess guessOf(const QByteArray &bytes)
{
    using Encoding = FileText::Encoding;
    const FileText text = fileText(bytes);
    const QString name = encodingName(text.encoding);
    if (text.isDamaged)
        return {
            {},
            QStringLiteral("文字でないバイトがあります（バイナリの値を含むダンプなど）。そのまま送ります")};
    if (text.encoding == Encoding::Iso2022Jp)
        return {{}, name + QStringLiteral("のファイルです。シートに開いて実行してください")};
    if (text.encoding == Encoding::CodePage)
        return {ScriptFile::Encoding::Cp932, name + QStringLiteral("のようです")};
    if (text.encoding == Encoding::EucJp)
        return {ScriptFile::Encoding::EucJp, name + QStringLiteral("のようです")};
    return {{}, name + QStringLiteral("です")};
}

} // namespace

ScriptGuess guessScript(const QString &path)
{
    try {
        ScriptFile file(path, ScriptFile::Encoding::Bytes);
        for (std::size_t read = 0; read < mostBytes; read += pieceBytes) {
            const QByteArray piece = file.read(pieceBytes);
            if (file.givesUtf8())
                return {{}, QStringLiteral("BOM のあるファイルです。UTF-8 か UTF-16 として読みます")};
            if (piece.isEmpty())
                break;
            if (read == 0 && namesItsCharacterSet(piece))
                return {{}, QStringLiteral("SET NAMES のあるダンプです。バイトのまま送ります")};
            if (hasLetters(piece))
                return guessOf(static_cast<std::size_t>(piece.size()) < pieceBytes ? piece
                                                                                   : wholeCharacters(piece));
        }
        return {{}, QStringLiteral("英数字と記号だけです")};
    } catch (const Failure &) {
        return {}; // running it will say why
    }
}
