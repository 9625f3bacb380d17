#pragma once

#include <QString>

#include <deque>
#include <functional>
#include <string>
#include <string_view>

// Builds a long text piece by piece. Length, step and capacity are counted in UTF-16 characters, 32 bits
// wide, by the system's growth rule; the text itself lies underneath as UTF-8 in pieces that are never
// copied again and that double up to a megabyte, since the rule alone would copy a text of 150 MB
// hundreds of thousands of times.
class StringBuffer {
public:
    StringBuffer() { Init(128); }

    void Init(int lInitialCapacity); // below 1: 128
    // Throws SqlError when the length or the capacity leaves 32 bits.
    void Append(const QString &sAddStr);
    void appendUtf8(std::string_view utf8);
    QString Text() const;
    void Text(const QString &sNewText);
    void Clear();
    QString ToString() const { return Text(); }
    int Capacity() const { return m_capacity; }

    int length() const { return m_length; }
    int step() const { return m_chunk; }
    std::size_t byteCount() const { return m_byteCount; }
    // The pieces in order; together they are the text in UTF-8. None ends inside a character.
    const std::deque<std::string> &pieces() const { return m_pieces; }
    // Takes the first piece out and frees its memory; empty when nothing is left. The text that stays is
    // what pieces() holds, length and capacity go on counting what was appended until Clear().
    std::string takePiece();

private:
    void grow(qint64 needed);
    void store(std::string_view utf8);

    std::deque<std::string> m_pieces;
    std::size_t m_byteCount = 0;
    int m_length = 0;
    int m_chunk = 0;
    int m_capacity = 0;
};
