#include "sheets/sheetcontents.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

namespace {

using Encoding = FileText::Encoding;

Encoding encodingOf(int number)
{
    const bool isKnown = number >= 0 && number <= static_cast<int>(Encoding::Iso2022Jp);
    return isKnown ? static_cast<Encoding>(number) : Encoding::Utf8;
}

} // namespace

QString hashOf(const QByteArray &bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex());
}

QString hashOfFile(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    const bool isRead = QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) && hash.addData(&file);
    return isRead ? QString::fromLatin1(hash.result().toHex()) : QString();
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
            json["fileHash"].toString()};
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
            {"fileHash", fileHash}};
}
