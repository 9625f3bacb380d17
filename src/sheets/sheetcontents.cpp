#include "sheets/sheetcontents.h"

namespace {

using Encoding = FileText::Encoding;

Encoding encodingOf(int number)
{
    const bool isKnown = number >= 0 && number <= static_cast<int>(Encoding::Iso2022Jp);
    return isKnown ? static_cast<Encoding>(number) : Encoding::Utf8;
}

} // namespace

SheetContents SheetContents::of(const QJsonObject &json)
{
    return {json["name"].toString(),
            json["path"].toString(),
            json["text"].toString(),
            json["isChanged"].toBool(),
            encodingOf(json["encoding"].toInt()),
            json["isDamaged"].toBool(),
            json["cursor"].toInt()};
}

QJsonObject SheetContents::object() const
{
    return {{"name", name},
            {"path", path},
            {"text", text},
            {"isChanged", isChanged},
            {"encoding", static_cast<int>(encoding)},
            {"isDamaged", isDamaged},
            {"cursor", cursor}};
}
