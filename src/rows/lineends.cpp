#include "rows/lineends.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>
#include <vector>

namespace {

struct Lines {
    QStringList texts, ends; // an end stands between two texts
};

// Ends where QTextDocument begins a new block.
Lines linesOf(const QString &text)
{
    static const QRegularExpression end(QStringLiteral("\r\n|[\n\r\\x{2029}\\x{fdd0}\\x{fdd1}]"));
    Lines lines;
    qsizetype from = 0;
    for (auto found = end.globalMatch(text); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        lines.texts << text.sliced(from, match.capturedStart() - from);
        lines.ends << match.captured();
        from = match.capturedEnd();
    }
    lines.texts << text.sliced(from);
    return lines;
}

// For each line between first and last the line that it was before: the longest sequence of equal lines; -1:
// a new one. Of very many lines those that stand at the same place.
std::vector<qsizetype> formerLines(const QStringList &before, const QStringList &now)
{
    constexpr std::size_t mostCompared = 4'000'000;
    const auto rows = static_cast<std::size_t>(before.size()), columns = static_cast<std::size_t>(now.size());
    std::vector<qsizetype> former(columns, -1);
    if (rows == columns || (rows + 1) * (columns + 1) > mostCompared) {
        for (std::size_t i = 0; i < std::min(rows, columns); ++i)
            former[i] = static_cast<qsizetype>(i);
        return former;
    }
    std::vector<std::uint32_t> longest((rows + 1) * (columns + 1));
    const auto at = [&](std::size_t row, std::size_t column) -> std::uint32_t & {
        return longest[row * (columns + 1) + column];
    };
    const auto isEqual = [&](std::size_t row, std::size_t column) {
        return before[static_cast<qsizetype>(row)] == now[static_cast<qsizetype>(column)];
    };
    for (std::size_t row = rows; row-- > 0;)
        for (std::size_t column = columns; column-- > 0;)
            at(row, column) = isEqual(row, column) ? at(row + 1, column + 1) + 1
                                                   : std::max(at(row + 1, column), at(row, column + 1));
    for (std::size_t row = 0, column = 0; row < rows && column < columns;) {
        if (isEqual(row, column))
            former[column++] = static_cast<qsizetype>(row++);
        else if (at(row + 1, column) >= at(row, column + 1))
            ++row;
        else
            ++column;
    }
    return former;
}

} // namespace

QString withLineEndsOf(const QString &before, const QString &edited)
{
    const Lines old = linesOf(before);
    Lines now = linesOf(edited);
    const qsizetype most = std::min(old.texts.size(), now.texts.size());
    qsizetype first = 0, last = 0; // lines that are equal at the start and at the end
    while (first < most && old.texts[first] == now.texts[first])
        ++first;
    while (last < most - first &&
           old.texts[old.texts.size() - 1 - last] == now.texts[now.texts.size() - 1 - last])
        ++last;
    const std::vector<qsizetype> middle = formerLines(old.texts.mid(first, old.texts.size() - first - last),
                                                      now.texts.mid(first, now.texts.size() - first - last));
    QString end = old.ends.value(0, QStringLiteral("\n")), result;
    for (qsizetype i = 0; i < now.texts.size(); ++i) {
        qsizetype former = i;
        if (i >= now.texts.size() - last)
            former = i - now.texts.size() + old.texts.size();
        else if (i >= first)
            former = middle[static_cast<std::size_t>(i - first)] < 0
                         ? -1
                         : first + middle[static_cast<std::size_t>(i - first)];
        if (former >= 0 && former < old.ends.size())
            end = old.ends[former];
        result += now.texts[i];
        if (i < now.ends.size())
            result += end;
    }
    return result;
}

QString mixedLineEnds(const QString &text)
{
    QStringList kinds;
    const Lines lines = linesOf(text);
    for (const auto &[end, name] : {std::pair("\r\n", "CRLF"), std::pair("\n", "LF"), std::pair("\r", "CR")})
        if (const qsizetype count = lines.ends.count(QLatin1String(end)); count > 0)
            kinds << QStringLiteral("%1 %2").arg(QLatin1String(name)).arg(count);
    return kinds.size() > 1 ? kinds.join(QStringLiteral(", ")) : QString();
}
