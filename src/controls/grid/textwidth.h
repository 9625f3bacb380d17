#pragma once

#include <QFont>
#include <QStringView>

#include <array>

// Estimates how wide texts are drawn, by adding up characters: fast enough for hundreds of columns.
class TextWidth {
public:
    explicit TextWidth(const QFont &font);
    int of(QStringView text) const;

private:
    std::array<int, 128> m_latin;
    int m_wide;   // Japanese and the like
    int m_narrow; // half-width katakana, accented letters
};
