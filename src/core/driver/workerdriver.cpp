#include "core/driver/workerdriver.h"

#include "core/sql/rowblock.h"

#include <QStringDecoder>

#include <algorithm>
#include <string>

namespace {

bool isReadableText(std::string_view bytes)
{
    const auto isControl = [](char byte) {
        const auto value = static_cast<unsigned char>(byte);
        return (value < 0x20 && byte != '\t' && byte != '\r' && byte != '\n') || value == 0x7f;
    };
    if (std::any_of(bytes.begin(), bytes.end(), isControl))
        return false;
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
    return !decoder.hasError() &&
           std::none_of(text.begin(), text.end(), [](QChar c) { return c >= u'\x80' && c < u'\xa0'; });
}

std::string hexDigits(std::string_view bytes)
{
    static constexpr char digits[] = "0123456789ABCDEF";
    std::string text = "0x";
    text.reserve(2 + 2 * bytes.size());
    for (const char byte : bytes) {
        text += digits[static_cast<unsigned char>(byte) >> 4];
        text += digits[static_cast<unsigned char>(byte) & 0xf];
    }
    return text;
}

} // namespace

void addBinaryCell(RowBlock &block, std::string_view bytes)
{
    if (isReadableText(bytes) && !isHexLiteral(bytes))
        block.addCell(bytes);
    else
        addHexCell(block, bytes);
}

void addHexCell(RowBlock &block, std::string_view bytes)
{
    block.addCell(hexDigits(bytes));
}

ServerInfo serverInfo(const QString &version)
{
    ServerInfo info{version, version.contains(u"MariaDB"), 0};
    const QString prefix = QStringLiteral("5.5.5-");
    const QString shown = version.startsWith(prefix) && info.isMariaDb ? version.mid(prefix.size()) : version;
    const int end = static_cast<int>(
        std::find_if(shown.begin(), shown.end(), [](QChar c) { return !c.isDigit() && c != u'.'; }) -
        shown.begin());
    const QStringList parts = shown.left(end).split(u'.');
    for (int i = 0; i < 3; ++i)
        info.number = info.number * 100 + (i < parts.size() ? parts[i].toInt() : 0);
    return info;
}
