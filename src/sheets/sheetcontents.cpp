#include "sheets/sheetcontents.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

#include <algorithm>

namespace {

using Encoding = FileText::Encoding;

// Scintilla lays a line out as a whole: one of 2 MB takes three seconds of every look at it.
constexpr qsizetype mostInLine = 500'000;

Encoding encodingOf(int number)
{
    const bool isKnown = number >= 0 && number <= static_cast<int>(Encoding::Iso2022Jp);
    return isKnown ? static_cast<Encoding>(number) : Encoding::Utf8;
}

// The window waits for it: 10 MB take 18 ms, by SHA-256 80.
constexpr auto quickHash = QCryptographicHash::Blake2b_256;

QString hashOf(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, quickHash).toHex());
}

// Empty: there is no such file, or it cannot be read.
QString hashOfFile(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(quickHash);
    const bool isRead = QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) && hash.addData(&file);
    return isRead ? QString::fromLatin1(hash.result().toHex()) : QString();
}

} // namespace

QString SheetContents::read(const QString &filePath)
{
    // It is kept as a draft with every pause while it is written.
    constexpr qint64 most = 10 * 1024 * 1024;
    const QString otherWay =
        QStringLiteral("シートには開けません。「ファイルを実行」は、読み込まずに実行します。");
    const QFileInfo at(filePath);
    if (at.exists() && !at.isFile()) // a pipe would keep the window waiting
        return filePath + QStringLiteral(": ファイルではありません。");
    if (at.size() > most)
        return filePath + QStringLiteral(": 10 MBを超えるため、") + otherWay;
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        return filePath + QStringLiteral(": ") + file.errorString();
    const QByteArray bytes = file.readAll();
    if (std::ranges::max(bytes.split('\n'), {}, &QByteArray::size).size() > mostInLine)
        return filePath + QStringLiteral(": とても長い行があるため、") + otherWay;
    const FileText decoded = fileText(bytes);
    if (decoded.text.contains(QChar::Null))
        return filePath + QStringLiteral(": NUL文字を含むため、SQL文として読み込めません。");
    text = decoded.text;
    encoding = decoded.encoding;
    isDamaged = decoded.isDamaged;
    noteFile(filePath, bytes);
    return {};
}

void SheetContents::noteFile(const QString &filePath, const QByteArray &bytes)
{
    path = filePath;
    fileHash = hashOf(bytes);
    fileSize = bytes.size();
    isChanged = false;
}

bool SheetContents::isFileOthers() const
{
    const QFileInfo now(path);
    if (fileHash.isEmpty() || !now.isFile())
        return false;
    // Others may have made it too large to be read while the window waits.
    if (fileSize >= 0 && now.size() != fileSize)
        return true;
    const QString hash = hashOfFile(path);
    return !hash.isEmpty() && hash != fileHash;
}

SheetContents SheetContents::of(const QJsonObject &json)
{
    return {json["name"].toString(),
            json["path"].toString(),
            json["text"].toString(),
            json["isChanged"].toBool(),
            encodingOf(json["encoding"].toInt()),
            json["isDamaged"].toBool(),
            json["cursor"].toInt(),
            json["fileHash"].toString(),
            json["fileSize"].toInteger(-1),
            json["server"].toString()};
}

QJsonObject SheetContents::object() const
{
    return {{"name", name},
            {"path", path},
            {"text", text},
            {"isChanged", isChanged},
            {"encoding", static_cast<int>(encoding)},
            {"isDamaged", isDamaged},
            {"cursor", cursor},
            {"fileHash", fileHash},
            {"fileSize", fileSize},
            {"server", server}};
}
