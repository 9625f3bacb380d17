#include "core/stringbuffer.h"

#include "core/sqlerror.h"

#include <algorithm>
#include <limits>

namespace {

constexpr std::size_t smallestPiece = std::size_t{4} << 10;
constexpr std::size_t largestPiece = std::size_t{1} << 20;

// UTF-16 characters of a UTF-8 text: each byte that begins a character counts, one of four bytes twice.
// Written without branches, so that it runs over several bytes at a time.
qint64 characterCount(std::string_view utf8)
{
    qint64 count = 0;
    for (const char byte : utf8) {
        const auto value = static_cast<unsigned char>(byte);
        count += ((value & 0xC0u) != 0x80u) + (value >= 0xF0u);
    }
    return count;
}

int narrowed(qint64 number)
{
    if (number > std::numeric_limits<int>::max())
        throw SqlError(QStringLiteral("オーバーフローしました。"), 6);
    return static_cast<int>(number);
}

} // namespace

void StringBuffer::Init(int lInitialCapacity)
{
    Clear();
    m_chunk = lInitialCapacity < 1 ? 128 : lInitialCapacity;
    m_capacity = m_chunk;
}

void StringBuffer::Append(const QString &sAddStr)
{
    const QByteArray utf8 = sAddStr.toUtf8();
    appendUtf8(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())));
}

void StringBuffer::appendUtf8(std::string_view utf8)
{
    const int needed = narrowed(m_length + characterCount(utf8));
    if (m_capacity < needed)
        grow(needed);
    store(utf8);
    m_length = needed;
}

QString StringBuffer::Text() const
{
    QString text;
    text.reserve(m_length);
    for (const std::string &piece : m_pieces)
        text += QString::fromUtf8(piece.data(), static_cast<qsizetype>(piece.size()));
    return text;
}

void StringBuffer::Text(const QString &sNewText)
{
    Clear();
    m_length = m_capacity = narrowed(sNewText.size());
    const QByteArray utf8 = sNewText.toUtf8();
    store(std::string_view(utf8.constData(), static_cast<std::size_t>(utf8.size())));
}

void StringBuffer::Clear()
{
    m_pieces.clear();
    m_byteCount = 0;
    m_length = 0;
    m_capacity = 0;
}

std::string StringBuffer::takePiece()
{
    if (m_pieces.empty())
        return {};
    std::string piece = std::move(m_pieces.front());
    m_pieces.pop_front();
    m_byteCount -= piece.size();
    return piece;
}

// The step takes over the size of the last growth: it never shrinks. That is intended.
void StringBuffer::grow(qint64 needed)
{
    const qint64 amount = ((needed - m_capacity) / m_chunk + 1) * m_chunk;
    m_capacity = narrowed(m_capacity + amount);
    m_chunk = static_cast<int>(amount);
}

void StringBuffer::store(std::string_view utf8)
{
    if (utf8.empty())
        return;
    if (m_pieces.empty() || m_pieces.back().capacity() - m_pieces.back().size() < utf8.size()) {
        const std::size_t doubled = m_pieces.empty() ? smallestPiece : m_pieces.back().capacity() * 2;
        m_pieces.emplace_back().reserve(std::max(std::min(doubled, largestPiece), utf8.size()));
    }
    m_pieces.back().append(utf8);
    m_byteCount += utf8.size();
}
