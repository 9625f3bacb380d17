#include "controls/grid/valuetextbox.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>

#include <algorithm>

namespace {

// To wrap lines the editor lays out all of them: 5 seconds for 6 MB.
constexpr std::size_t mostWrapped = 64 * 1024;
constexpr std::size_t longestWrappedLine = 500, longestLargeLine = 120;

} // namespace

ValueTextBox::ValueTextBox(const char *name, const QString &title)
{
    setObjectName(QLatin1String(name));
    setAccessibleName(title);
}

void ValueTextBox::setValue(std::string_view utf8, bool isBeginning)
{
    m_isCut = isBeginning || utf8.size() > mostShown;
    std::size_t end = std::min(utf8.size(), mostShown);
    while (end < utf8.size() && end > 0 && (static_cast<unsigned char>(utf8[end]) & 0xc0) == 0x80)
        --end; // not within a character
    m_value = utf8.substr(0, end);
    const bool isLarge = m_value.size() > mostWrapped;
    m_longestLine = isLarge ? longestLargeLine : longestWrappedLine;
    BrokenLines lines = withShortLines(m_value, m_longestLine);
    m_breaks = std::move(lines.breaks);
    setWrapMode(isLarge ? WrapNone : WrapCharacter);
    setWholeText(lines.text);
}

// The line end that stands for break i is at m_breaks[i] + i.
qsizetype ValueTextBox::placeInValue(qsizetype shown) const
{
    std::size_t first = 0, last = m_breaks.size();
    while (first < last) {
        const std::size_t middle = (first + last) / 2;
        if (m_breaks[middle] + middle < static_cast<std::size_t>(shown))
            first = middle + 1;
        else
            last = middle;
    }
    return shown - static_cast<qsizetype>(first);
}

qsizetype ValueTextBox::placeShown(qsizetype inValue) const
{
    return inValue +
           (std::ranges::upper_bound(m_breaks, static_cast<std::size_t>(inValue)) - m_breaks.begin());
}

QString ValueTextBox::selectedValue() const
{
    const qsizetype from = placeInValue(SendScintilla(SCI_GETSELECTIONSTART));
    const qsizetype to = placeInValue(SendScintilla(SCI_GETSELECTIONEND));
    return QString::fromUtf8(m_value.data() + from, to - from);
}

void ValueTextBox::copy()
{
    if (hasSelectedText())
        QGuiApplication::clipboard()->setText(selectedValue());
}

void ValueTextBox::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Copy))
        copy();
    else
        ResultTextBox::keyPressEvent(event);
}

bool ValueTextBox::findFirst(const QString &text, bool isPattern, bool isCaseSensitive, bool isWholeWord,
                             bool wraps, bool isForward, int line, int index, bool show, bool isPosix,
                             bool isCxx11)
{
    if (m_breaks.empty() || isPattern || isWholeWord)
        return ResultTextBox::findFirst(text, isPattern, isCaseSensitive, isWholeWord, wraps, isForward, line,
                                        index, show, isPosix, isCxx11);
    // What stands across a break is found, too.
    const qsizetype start =
        placeInValue(line < 0 ? SendScintilla(SCI_GETCURRENTPOS) : positionFromLineIndex(line, index));
    const QString value = QString::fromUtf8(m_value.data(), static_cast<qsizetype>(m_value.size()));
    const qsizetype from = QString::fromUtf8(m_value.data(), start).size();
    const Qt::CaseSensitivity sensitivity = isCaseSensitive ? Qt::CaseSensitive : Qt::CaseInsensitive;
    qsizetype hit = isForward   ? value.indexOf(text, from, sensitivity)
                    : from == 0 ? -1
                                : value.lastIndexOf(text, from - 1, sensitivity);
    if (hit < 0 && wraps)
        hit = isForward ? value.indexOf(text, 0, sensitivity) : value.lastIndexOf(text, -1, sensitivity);
    if (hit < 0)
        return false;
    const qsizetype first = QStringView(value).first(hit).toUtf8().size();
    const qsizetype last = first + QStringView(value).sliced(hit, text.size()).toUtf8().size();
    SendScintilla(SCI_SETSEL, static_cast<unsigned long>(placeShown(first)),
                  static_cast<long>(placeShown(last)));
    return true;
}

BrokenLines withShortLines(std::string_view utf8, std::size_t most)
{
    BrokenLines result;
    result.text.reserve(utf8.size() + utf8.size() / most);
    std::size_t length = 0;
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const bool isStart = (static_cast<unsigned char>(utf8[i]) & 0xc0) != 0x80;
        if (utf8[i] == '\n') {
            length = 0;
        } else if (isStart && ++length > most) {
            result.text += '\n';
            result.breaks.push_back(i);
            length = 1;
        }
        result.text += utf8[i];
    }
    return result;
}
