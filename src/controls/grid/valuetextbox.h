#pragma once

#include "controls/text/resulttextbox.h"

#include <string>
#include <vector>

// One value as text. An editor lays out whole lines, and one of a megabyte would stall it: long lines are
// broken, for showing only. What is copied and searched is the value.
class ValueTextBox : public ResultTextBox {
    Q_OBJECT

public:
    explicit ValueTextBox(const char *name, const QString &title);

    // Of a value of more than mostShown bytes no more than that is shown, searched and copied: the
    // window would stand still for it.
    static constexpr std::size_t mostShown = 16 * 1024 * 1024;
    void setValue(std::string_view utf8, bool isBeginning = false); // isBeginning: it is cut already
    bool isCut() const { return m_isCut; }
    std::size_t longestLine() const { return m_longestLine; }
    bool isBroken() const { return !m_breaks.empty(); }
    QString selectedValue() const;

    bool findFirst(const QString &text, bool isPattern, bool isCaseSensitive, bool isWholeWord, bool wraps,
                   bool isForward = true, int line = -1, int index = -1, bool show = true,
                   bool isPosix = false, bool isCxx11 = false) override;

public Q_SLOTS:
    void copy() override;

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    qsizetype placeInValue(qsizetype shown) const;
    qsizetype placeShown(qsizetype inValue) const;

    std::string m_value; // what is shown of it
    bool m_isCut = false;
    std::vector<std::size_t> m_breaks; // places in the value that begin a line only here
    std::size_t m_longestLine = 0;     // in characters
};

struct BrokenLines {
    std::string text;
    std::vector<std::size_t> breaks; // places in the old text before which a line end was put
};
// Lines of at most `most` characters.
BrokenLines withShortLines(std::string_view utf8, std::size_t most);
