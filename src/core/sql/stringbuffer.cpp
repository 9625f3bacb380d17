#include "core/sql/stringbuffer.h"

#include "core/sql/failure.h"

#include <cstdint>
#include <limits>

namespace {

// UTF-16 characters of a UTF-8 text: each byte that begins a character counts, one of four bytes twice.
// Without branches and in 32 bits, so that the compiler lets it run over many bytes at a time.
std::uint32_t characterCount(std::string_view utf8)
{
    std::uint32_t count = 0;
    for (const char byte : utf8) {
        const auto value = static_cast<unsigned char>(byte);
        count += static_cast<std::uint32_t>((value & 0xC0u) != 0x80u);
        count += static_cast<std::uint32_t>(value >= 0xF0u);
    }
    return count;
}

int narrowed(qint64 number)
{
    if (number > std::numeric_limits<int>::max())
        throw Failure(QStringLiteral("オーバーフローしました。"), 6);
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
    appendUtf8(sAddStr.toStdString());
}

void StringBuffer::appendUtf8(std::string_view text)
{
    const int needed = narrowed(qint64{m_length} + characterCount(text));
    if (m_capacity < needed) {
        // The step takes over the size of the last growth: it never shrinks. That is intended.
        const qint64 grow = (qint64{needed - m_capacity} / m_chunk + 1) * m_chunk;
        m_capacity = narrowed(m_capacity + grow);
        m_chunk = static_cast<int>(grow);
    }
    m_utf8.append(text);
    m_length = needed;
}

QString StringBuffer::Text() const
{
    return QString::fromUtf8(m_utf8.data(), static_cast<qsizetype>(m_utf8.size()));
}

void StringBuffer::Text(const QString &sNewText)
{
    m_length = m_capacity = narrowed(sNewText.size());
    m_utf8 = sNewText.toStdString();
}

void StringBuffer::Clear()
{
    m_utf8 = {};
    m_length = 0;
    m_capacity = 0;
}
