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

} // namespace

void CellDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    QStyledItemDelegate::initStyleOption(option, index);
    option->text.truncate(showableLength(option->text, option->fontMetrics, option->rect.width()) + 1);
    if (!index.data(FlexGridModel::IsNullRole).toBool())
        return;
    option->font.setItalic(true);
    option->palette.setBrush(QPalette::Text, option->palette.brush(QPalette::PlaceholderText));
}
