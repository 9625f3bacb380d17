#include "core/session/connectionstring.h"

#include <QStringList>

#include <algorithm>
#include <utility>

namespace {

// Takes the value that begins at `at` off the text, up to the ";" after it or the end.
QString takeValue(const QString &text, qsizetype &at)
{
    while (at < text.size() && text[at].isSpace())
        ++at;
    QString value;
    if (at < text.size() && text[at] == u'{') {
        for (++at; at < text.size(); ++at) {
            if (text[at] == u'}' && (at + 1 >= text.size() || text[++at] != u'}'))
                break;
            value += text[at];
        }
        const qsizetype end = text.indexOf(u';', at);
        at = end < 0 ? text.size() : end;
        return value;
    }
    const qsizetype end = text.indexOf(u';', at);
    value = text.mid(at, end < 0 ? -1 : end - at).trimmed();
    at = end < 0 ? text.size() : end;
    return value;
}

} // namespace

ConnectionString::ConnectionString(const QString &text)
{
    for (qsizetype at = 0; at < text.size(); ++at) {
        qsizetype end = at;
        while (end < text.size() && text[end] != u'=' && text[end] != u';')
            ++end;
        Piece piece{text.mid(at, end - at).trimmed().toLower(), {}};
        const bool hasValue = end < text.size() && text[end] == u'=';
        at = end;
        if (hasValue)
            piece.value = takeValue(text, ++at);
        if (!piece.key.isEmpty() || hasValue)
            m_pieces.push_back(std::move(piece));
    }
}

QString ConnectionString::value(const QString &key) const
{
    for (const Piece &piece : m_pieces)
        if (piece.key == key)
            return piece.value;
    return {};
}

QString withoutKey(const QString &text, const QString &key)
{
    QStringList pieces;
    const ConnectionString string(text);
    for (const ConnectionString::Piece &piece : string.pieces())
        if (piece.key != key)
            pieces << piece.key + u'=' + connectionValue(piece.value);
    return pieces.join(u';');
}

QString shownSource(const QString &source)
{
    if (!source.contains(u'='))
        return source;
    return withoutKey(withoutKey(source, QStringLiteral("pwd")), QStringLiteral("password"));
}

std::chrono::seconds connectLimit(const ConnectionString &string)
{
    constexpr unsigned usual = 20, most = 3600;
    const unsigned seconds = string.value(QStringLiteral("conn_timeout")).toUInt();
    return std::chrono::seconds(seconds > 0 ? std::min(seconds, most) : usual);
}

QString certificateHostKey()
{
    return QStringLiteral("certificatehost");
}

QString connectionValue(const QString &text)
{
    const bool isPlain = !text.contains(u';') && !text.startsWith(u'{') && text == text.trimmed();
    return isPlain ? text : u'{' + QString(text).replace(u'}', QStringLiteral("}}")) + u'}';
}

QString dataSourceString(const QString &text)
{
    return text.contains(u'=') ? text : QStringLiteral("DSN=") + text;
}

QString withServer(const QString &text, const QString &host)
{
    for (const QString &piece : text.split(u';'))
        if (piece.section(u'=', 0, 0).trimmed() == u"SERVER")
            return text;
    const bool needsSeparator = !text.isEmpty() && !text.endsWith(u';');
    return text + (needsSeparator ? QStringLiteral(";SERVER=") : QStringLiteral("SERVER=")) + host;
}
