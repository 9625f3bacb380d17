#include "controls/lists/chosenlist.h"

#include "controls/window/building.h"
#include "core/sql/listitem.h"

#include <QApplication>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QSignalBlocker>
#include <QStyle>
#include <QToolTip>

#include <algorithm>

namespace {

// Rows as high as a grid's: a fallback font for Japanese makes them higher than others otherwise.
class EvenRows : public VisibleItems {
public:
    explicit EvenRows(ChosenList *list)
        : VisibleItems(list)
        , m_list(*list)
    {
    }

    QString displayText(const QVariant &value, const QLocale &locale) const override
    {
        const QString text = value.toString();
        const qsizetype tab = m_list.hasPairs() ? text.indexOf(u'\t') : -1;
        return tab < 0 ? VisibleItems::displayText(value, locale)
                       : visibleName(text.left(tab)) + u'\t' + visibleName(text.mid(tab + 1));
    }

    // A tag takes the room that it needs: a tab's would leave a long name none.
    void paint(QPainter *painter, const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        QStyleOptionViewItem item = option;
        initStyleOption(&item, index);
        const qsizetype tab = item.text.indexOf(u'\t');
        if (tab < 0 || m_list.hasPairs())
            return VisibleItems::paint(painter, option, index);
        const QString tag = item.text.left(tab), name = item.text.mid(tab + 1);
        item.text.clear();
        m_list.style()->drawControl(QStyle::CE_ItemViewItem, &item, painter, &m_list);
        const QRect tagPlace = item.rect.adjusted(margin, 0, -margin, 0),
                    namePlace = tagPlace.adjusted(widthOfTag(item.fontMetrics, tag), 0, 0, 0);
        const bool isChosen = (item.state & QStyle::State_Selected) != 0;
        item.palette.setCurrentColorGroup((item.state & QStyle::State_Enabled) == 0  ? QPalette::Disabled
                                          : (item.state & QStyle::State_Active) != 0 ? QPalette::Active
                                                                                     : QPalette::Inactive);
        const auto role = isChosen ? QPalette::HighlightedText : QPalette::Text;
        for (const auto &[place, text] : {std::pair(tagPlace, tag), {namePlace, name}})
            m_list.style()->drawItemText(
                painter, place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, item.palette, true,
                item.fontMetrics.elidedText(text, item.textElideMode, place.width()), role);
    }

    // The whole of a name that has not room enough.
    bool helpEvent(QHelpEvent *event, QAbstractItemView *view, const QStyleOptionViewItem &option,
                   const QModelIndex &index) override
    {
        const QString text = displayText(index.data(), {}), name = text.mid(text.indexOf(u'\t') + 1);
        const QFontMetrics metrics = m_list.fontMetrics();
        const int tag = text == name ? 0 : widthOfTag(metrics, text.section(u'\t', 0, 0));
        if (event->type() != QEvent::ToolTip || m_list.hasPairs() ||
            tag + metrics.horizontalAdvance(name) + 2 * margin <= option.rect.width())
            return VisibleItems::helpEvent(event, view, option, index);
        QToolTip::showText(event->globalPos(), plainTip(name), view);
        return true;
    }

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        const int width = QStyledItemDelegate::sizeHint(option, index).width();
        return {width, option.fontMetrics.height() + 6};
    }

private:
    static constexpr int margin = 3;
    static int widthOfTag(const QFontMetrics &metrics, const QString &tag)
    {
        return std::max(metrics.horizontalAdvance(QStringLiteral("[ERROR] ")),
                        metrics.horizontalAdvance(tag + u' '));
    }

    const ChosenList &m_list;
};

} // namespace

ChosenList::ChosenList(QWidget *parent)
    : QListWidget(parent)
{
    setUniformItemSizes(true);
    setItemDelegate(new EvenRows(this));
}

QStringList ChosenList::texts() const
{
    QStringList result;
    for (int row = 0; row < count(); ++row)
        result << item(row)->text();
    return result;
}

void ChosenList::clearItems()
{
    const QSignalBlocker quiet(this);
    clear();
}

void ChosenList::choose(const QString &text)
{
    const QList<QListWidgetItem *> found = findItems(text, Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (found.isEmpty())
        return;
    if (found.first() == currentItem())
        Q_EMIT chosen();
    else
        setCurrentItem(found.first());
}

void ChosenList::appendItem(const QString &text)
{
    const QSignalBlocker quiet(this);
    addItem(text);
}

int ChosenList::topRow() const
{
    return std::max(0, row(itemAt(1, 1)));
}

void ChosenList::showFromRow(int row)
{
    if (count() > 0)
        scrollToItem(item(std::min(row, count() - 1)), PositionAtTop);
}

// The base class would make the first item the current one: nobody chose it, the next command would be for
// it, and chosen() would run in the middle of the toolkit's change of windows.
void ChosenList::focusInEvent(QFocusEvent *event)
{
    if (currentIndex().isValid())
        QListWidget::focusInEvent(event);
    else
        QWidget::focusInEvent(event);
}

void ChosenList::mousePressEvent(QMouseEvent *event)
{
    // Other buttons choose nothing: a context menu chooses for itself.
    if (event->button() != Qt::LeftButton)
        return;
    m_isPressed = true;
    m_before = currentIndex();
    QListWidget::mousePressEvent(event);
}

void ChosenList::mouseReleaseEvent(QMouseEvent *event)
{
    // A release alone belongs to a press that was held off.
    if (event->button() != Qt::LeftButton || !m_isPressed)
        return;
    QListWidget::mouseReleaseEvent(event);
    m_isPressed = false;
    // Or dragged to another item and then off the list.
    if (itemAt(event->pos()) || currentIndex() != m_before)
        Q_EMIT chosen();
}

void ChosenList::currentChanged(const QModelIndex &current, const QModelIndex &previous)
{
    QListWidget::currentChanged(current, previous);
    if (current.isValid() && !m_isPressed)
        Q_EMIT chosen();
}

// The base class lets Ctrl take the highlight off the item that commands still act on.
QItemSelectionModel::SelectionFlags ChosenList::selectionCommand(const QModelIndex &index,
                                                                 const QEvent *) const
{
    return index.isValid() ? QItemSelectionModel::ClearAndSelect : QItemSelectionModel::NoUpdate;
}

void ChosenList::setPlaceholderText(const QString &text)
{
    m_placeholder = text;
    setAccessibleDescription(text);
    viewport()->update();
}

void ChosenList::keyboardSearch(const QString &letters)
{
    if (!m_lastLetter.isValid() || m_lastLetter.elapsed() > QApplication::keyboardInputInterval())
        m_typed.clear();
    if (m_typed.isEmpty() && letters == u" ") // the key that selects
        return;
    m_lastLetter.start();
    m_typed += letters;
    // The first letter leads on from the current item, the next ones narrow it down.
    const int first =
        std::max(0, currentRow() + (m_typed.size() == letters.size() && currentRow() >= 0 ? 1 : 0));
    for (int i = 0; i < count(); ++i) {
        QListWidgetItem *candidate = item((first + i) % count());
        const QString text = candidate->text();
        if (candidate->isHidden() ||
            !QStringView(text).mid(text.indexOf(u'\t') + 1).startsWith(m_typed, Qt::CaseInsensitive))
            continue;
        setCurrentItem(candidate);
        return;
    }
}

bool ChosenList::isAllHidden() const
{
    for (int row = 0; row < count(); ++row)
        if (!item(row)->isHidden())
            return false;
    return true;
}

void ChosenList::paintEvent(QPaintEvent *event)
{
    QListWidget::paintEvent(event);
    if (count() == 0)
        paintPlaceholder(*this, m_placeholder);
    else if (isAllHidden())
        paintPlaceholder(*this,
                         QStringLiteral("絞り込みに合うものがありません。\n上の欄の Esc で全て表示します"));
}
