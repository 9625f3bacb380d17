#include "controls/grid/celldelegate.h"

#include "controls/grid/flexgridmodel.h"

namespace {

// How many characters can at most show in the width. Hardly any text has letters a third as wide as the
// average, and no Japanese text has characters narrower than that.
qsizetype showableLength(const QString &text, const QFontMetrics &metrics, int width)
{
    const int average = qMax(1, metrics.averageCharWidth());
    const int narrowest = qMax(1, average / 3);
    qsizetype length = 0;
    for (; length < text.size() && width > 0; ++length)
        width -= text[length].unicode() < 0x1100 ? narrowest : average;
    return length;
}

// Lightly, over whatever colours the desktop has, so that the text stays readable.
QColor tinted(const QPalette &palette, Qt::GlobalColor colour)
{
    constexpr int share = 4;
    const QColor base = palette.color(QPalette::Base), tint(colour);
    const auto mixed = [](int of, int with) { return (of * (share - 1) + with) / share; };
    return QColor(mixed(base.red(), tint.red()), mixed(base.green(), tint.green()),
                  mixed(base.blue(), tint.blue()));
}

void applyMark(QStyleOptionViewItem &option, GridEdits::Mark mark)
{
    using Mark = GridEdits::Mark;
    switch (mark) {
    case Mark::None:
        return;
    case Mark::Changed:
        option.backgroundBrush = tinted(option.palette, Qt::yellow);
        return;
    case Mark::Default:
        option.text = QStringLiteral("(既定値)");
        [[fallthrough]];
    case Mark::Added:
        option.backgroundBrush = tinted(option.palette, Qt::green);
        return;
    case Mark::Required:
        option.text = QStringLiteral("(値が必要)");
        option.backgroundBrush = tinted(option.palette, Qt::red);
        return;
    case Mark::Deleted:
        option.backgroundBrush = tinted(option.palette, Qt::gray);
        option.font.setStrikeOut(true);
        return;
    case Mark::Refused:
        option.backgroundBrush = tinted(option.palette, Qt::red);
        return;
    }
}

} // namespace

void CellDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    applyMark(*option, static_cast<GridEdits::Mark>(index.data(FlexGridModel::MarkRole).toInt()));
    option->text.truncate(showableLength(option->text, option->fontMetrics, option->rect.width()) + 1);
    if (!index.data(FlexGridModel::IsNullRole).toBool())
        return;
    option->font.setItalic(true);
    option->palette.setBrush(QPalette::Text, option->palette.brush(QPalette::PlaceholderText));
}
