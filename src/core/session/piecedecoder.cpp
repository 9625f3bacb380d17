#include "core/session/piecedecoder.h"

#include <utility>

PieceDecoder::PieceDecoder(Encoding encoding)
    : m_encoding(encoding)
    , m_decoder(encoding == Encoding::Utf16   ? QStringDecoder(QStringDecoder::Utf16)
                : encoding == Encoding::EucJp ? QStringDecoder("EUC-JP")
                                              : QStringDecoder("windows-31j"))
{
}

QByteArray PieceDecoder::take(const QByteArray &piece)
{
    m_isOdd = m_isOdd != (piece.size() % 2 == 1);
    QString text = std::exchange(m_half, {}) + QString(m_decoder.decode(piece));
    if (!text.isEmpty() && text.back().isHighSurrogate()) {
        m_half = text.back();
        text.chop(1);
    }
    return text.toUtf8();
}

// The decoder says nothing of what it waits for: it is shown by what becomes of the next letter.
bool PieceDecoder::endsWithin()
{
    if (m_encoding == Encoding::Utf16)
        return m_isOdd || !m_half.isEmpty();
    return QString(m_decoder.decode("\n")) != u"\n";
}
