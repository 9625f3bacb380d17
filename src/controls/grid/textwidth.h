#pragma once

#include <QFont>
#include <QStringView>

#include <array>

class FlexGridModel;

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

// What a column needs for its name, a sort mark, its first rows, and some further down.
int fittingWidth(const FlexGridModel &model, int column, int mostRows, const QFont &header,
                 const QFont &body);
