#include "rows/rowvalue.h"

#include "core/driver/workerdriver.h"
#include "core/sql/lexer.h"
#include "core/sql/rowblock.h"
#include "core/sql/statements.h"

#include <QCryptographicHash>
#include <QRegularExpression>
#include <QStringDecoder>

#include <algorithm>

namespace {

// Longer values that stay as they are do not travel a second time: their hash is compared.
constexpr qsizetype longestCompared = 1024;

bool isNumber(const QByteArray &text)
{
    static const QRegularExpression number(QStringLiteral("\\A-?\\d+(\\.\\d+)?([eE][+-]?\\d+)?\\z"));
    return number.match(QString::fromLatin1(text)).hasMatch();
}

// What stands in single quotes and is read as it stands: no backslash, whose meaning depends on sql_mode, and
// nothing that a driver cuts or a terminal hides.
bool isPlainText(const QByteArray &bytes)
{
    const auto isTrap = [](char byte) {
        return byte == '\\' || (static_cast<unsigned char>(byte) < 0x20 && byte != '\n' && byte != '\t');
    };
    if (std::any_of(bytes.begin(), bytes.end(), isTrap))
        return false;
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    const QString text = decoder(bytes);
    return !decoder.hasError();
}

QString hex(const QByteArray &bytes)
{
    return QStringLiteral("x'") + QString::fromLatin1(bytes.toHex().toUpper()) + u'\'';
}

QString textLiteral(const QByteArray &bytes)
{
    if (!isPlainText(bytes))
        return QStringLiteral("_utf8mb4 ") + hex(bytes);
    return u'\'' + QString::fromUtf8(bytes).replace(u'\'', QStringLiteral("''")) + u'\'';
}

// In a comparison of bytes with a text the server takes the text's bytes.
QString bytesLiteral(const QByteArray &bytes)
{
    return isPlainText(bytes) ? textLiteral(bytes) : hex(bytes);
}

QString sameBytes(const QString &expression, const QByteArray &bytes)
{
    if (bytes.size() <= longestCompared)
        return expression + u'=' + bytesLiteral(bytes);
    return QStringLiteral("sha2(%1,256)='%2'")
        .arg(expression,
             QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex()));
}

} // namespace

quint64 bitsOf(const QByteArray &bytes)
{
    quint64 bits = 0;
    for (const char byte : bytes)
        bits = bits << 8 | static_cast<unsigned char>(byte);
    return bits;
}

bool needsValue(const TableColumn &column)
{
    return !column.hasDefault && !column.isGenerated;
}

bool hasEmptyText(const TableColumn &column)
{
    const bool isText = column.kind == ValueKind::Text || column.kind == ValueKind::Bytes;
    return isText && !column.type.startsWith(u"uuid", Qt::CaseInsensitive) &&
           !column.type.startsWith(u"inet", Qt::CaseInsensitive) &&
           (column.choices.isEmpty() || column.isSet || column.choices.contains(QString()));
}

ValueKind kindOfType(const QString &type)
{
    static const QRegularExpression noWord(QStringLiteral("\\W"));
    const QString word = type.left(type.indexOf(noWord)).toLower();
    const auto isOneOf = [&word](const char *words) {
        return QString::fromLatin1(words).split(u' ').contains(word);
    };
    if (isOneOf("tinyint smallint mediumint int bigint integer decimal numeric year"))
        return ValueKind::Number;
    if (isOneOf("float double real"))
        return ValueKind::Approximate;
    if (isOneOf("date datetime timestamp time"))
        return ValueKind::Time;
    if (isOneOf("binary varbinary tinyblob blob mediumblob longblob"))
        return ValueKind::Bytes;
    if (word == u"bit")
        return ValueKind::Bits;
    if (word == u"json")
        return ValueKind::Json;
    if (isOneOf("char varchar tinytext text mediumtext longtext enum set uuid inet4 inet6"))
        return ValueKind::Text;
    return ValueKind::Opaque;
}

QStringList choicesOfType(const QString &type)
{
    if (!type.startsWith(u"enum(", Qt::CaseInsensitive) && !type.startsWith(u"set(", Qt::CaseInsensitive))
        return {};
    QStringList choices;
    SqlMode mode;
    mode.hasPlainBackslashes = true; // SHOW COLUMNS doubles quotes only
    for (const Token &token : sqlTokens(type, mode))
        if (token.kind == TokenKind::Text)
            choices << type.mid(token.start + 1, token.length - 2)
                           .replace(QStringLiteral("''"), QStringLiteral("'"));
    return choices;
}

RowValue valueOfCell(const TableColumn &column, const Cell &cell)
{
    if (cell.isNull)
        return {};
    const QByteArray bytes(cell.bytes.data(), static_cast<qsizetype>(cell.bytes.size()));
    const bool mayBeHex =
        column.kind == ValueKind::Bytes || column.kind == ValueKind::Bits || column.kind == ValueKind::Opaque;
    return mayBeHex && isHexLiteral(cell.bytes) ? QByteArray::fromHex(bytes.mid(2)) : bytes;
}

QByteArray cellBytes(const TableColumn &column, const QByteArray &value)
{
    if (column.kind != ValueKind::Bytes && column.kind != ValueKind::Bits && column.kind != ValueKind::Opaque)
        return value;
    RowBlock block(1);
    block.beginRow();
    const std::string_view bytes(value.constData(), static_cast<std::size_t>(value.size()));
    if (column.kind == ValueKind::Bits)
        addHexCell(block, bytes);
    else
        addBinaryCell(block, bytes);
    std::vector<Cell> cells;
    block.read(0, cells);
    return QByteArray(cells[0].bytes.data(), static_cast<qsizetype>(cells[0].bytes.size()));
}

QString editedText(const TableColumn &column, const RowValue &value)
{
    if (!value)
        return {};
    if (column.kind != ValueKind::Bits)
        return QString::fromUtf8(cellBytes(column, *value));
    QString bits;
    for (const char byte : *value)
        bits += QString::number(static_cast<unsigned char>(byte), 2).rightJustified(8, u'0');
    return bits;
}

QString whyNotEdited(const TableColumn &column, const QString &text)
{
    static const QRegularExpression bits(QStringLiteral("\\A([01]{1,64}|0x([0-9A-Fa-f]{2}){1,8})\\z"));
    return column.kind != ValueKind::Bits || bits.match(text).hasMatch()
               ? QString()
               : QStringLiteral("ビットは 0 と 1 で書いて下さい: ") + text;
}

RowValue editedValue(const TableColumn &column, const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    if (column.kind != ValueKind::Bits) {
        const RowValue value =
            valueOfCell(column, {{bytes.constData(), static_cast<std::size_t>(bytes.size())}, false});
        return value;
    }
    if (text.startsWith(u"0x")) // as the grid copies it
        return QByteArray::fromHex(bytes.mid(2));
    quint64 bits = text.toULongLong(nullptr, 2);
    QByteArray value;
    do {
        value.prepend(static_cast<char>(bits & 0xff));
        bits >>= 8;
    } while (bits != 0);
    return value;
}

QString literal(const TableColumn &column, const RowValue &value)
{
    if (!value)
        return QStringLiteral("NULL");
    switch (column.kind) {
    case ValueKind::Number:
        // What is no number is the server's to refuse.
        return isNumber(*value) ? QString::fromLatin1(*value) : textLiteral(*value);
    case ValueKind::Approximate: {
        if (!isNumber(*value))
            return textLiteral(*value);
        // Without an exponent the server would take it for a DECIMAL, which has fewer digits.
        const QString number = QString::fromLatin1(*value);
        return number.contains(u'e', Qt::CaseInsensitive) ? number : number + QStringLiteral("e0");
    }
    case ValueKind::Bits:
        return QStringLiteral("b'%1'").arg(bitsOf(*value), 0, 2);
    case ValueKind::Bytes:
    case ValueKind::Opaque:
        return value->isEmpty() ? QStringLiteral("''") : hex(*value);
    case ValueKind::Text:
    case ValueKind::Json:
    case ValueKind::Time:
        break;
    }
    return textLiteral(*value);
}

QString sameValue(const TableColumn &column, const RowValue &value)
{
    const QString name = quotedName(column.name);
    if (!value)
        return name + QStringLiteral(" is null");
    switch (column.kind) {
    case ValueKind::Number:
        return name + u'=' + literal(column, value);
    case ValueKind::Bits: // compared as they are, 64 bits lose some in MySQL
        return QStringLiteral("cast(%1 as unsigned)=%2").arg(name).arg(bitsOf(*value));
    case ValueKind::Bytes:
        return value->size() <= longestCompared ? name + u'=' + literal(column, value)
                                                : sameBytes(name, *value);
    case ValueKind::Opaque:
        return QStringLiteral("hex(%1)='%2'").arg(name, QString::fromLatin1(value->toHex().toUpper()));
    case ValueKind::Approximate:
        // As text: 0.1 is not the FLOAT that is shown as 0.1. MySQL 9 casts what it shows as 0.00000001 to
        // 1e-8.
        return QStringLiteral("cast(%1 as char)+0e0=%2").arg(name, literal(column, value));
    case ValueKind::Time: // MySQL 9 refuses to compare with '0000-00-00'
        return QStringLiteral("cast(%1 as char)=%2").arg(name, textLiteral(*value));
    case ValueKind::Text:
    case ValueKind::Json:
        break;
    }
    return sameBytes(QStringLiteral("cast(convert(%1 using utf8mb4) as binary)").arg(name), *value);
}

QString indexedValue(const TableColumn &column, const RowValue &value)
{
    if (!value || column.kind == ValueKind::Approximate || column.kind == ValueKind::Json ||
        column.kind == ValueKind::Bits || column.kind == ValueKind::Opaque)
        return {};
    // MySQL 9 refuses to compare with dates that are none.
    if (column.kind == ValueKind::Time && (value->contains("-00") || value->startsWith("0000")))
        return {};
    return quotedName(column.name) + u'=' + literal(column, value);
}
