#pragma once

#include <QString>

#include <string>
#include <string_view>

// Builds a long text. Length, step and capacity are counted in UTF-16 characters, 32 bits wide, by the
// system's growth rule; the text itself lies underneath as UTF-8 and grows geometrically, since the rule
// alone would copy a text of 150 MB hundreds of thousands of times.
class StringBuffer {
public:
    StringBuffer() { Init(128); }

    void Init(int lInitialCapacity); // below 1: 128
    // Throws Failure when the length or the capacity leaves 32 bits.
    void Append(const QString &sAddStr);
    void appendUtf8(std::string_view text);
    QString Text() const;
    void Text(const QString &sNewText);
    void Clear();
    QString ToString() const { return Text(); }
    int Capacity() const { return m_capacity; }

    int length() const { return m_length; }
    int step() const { return m_chunk; }
    // The content in UTF-8, until the next change.
    std::string_view utf8() const { return m_utf8; }

private:
    std::string m_utf8;
    int m_length = 0;
    int m_chunk = 0;
    int m_capacity = 0;
};
