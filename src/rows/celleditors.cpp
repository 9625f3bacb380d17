#include "rows/celleditors.h"

#include "rows/rowgrid.h"

#include <QAction>
#include <QCalendarWidget>
#include <QComboBox>
#include <QKeyEvent>
#include <QRegularExpression>
#include <QScreen>
#include <QStyle>

#include <algorithm>

namespace {

// The choices of an ENUM; NULL, where it may stand, is one of them.
QComboBox *choiceBox(QWidget *parent, const TableColumn &column, const RowValue &value)
{
    auto *box = new QComboBox(parent);
    box->setObjectName(QStringLiteral("cellChoices"));
    if (column.isNullable) {
        QFont italic = box->font();
        italic.setItalic(true);
        box->addItem(QStringLiteral("NULL"));
        box->setItemData(0, italic, Qt::FontRole);
    }
    for (const QString &choice : column.choices)
        box->addItem(choice, choice.toUtf8());
    box->setCurrentIndex(value ? box->findData(*value) : column.isNullable ? 0 : -1);
    box->setProperty("indexBefore", box->currentIndex());
    return box;
}

std::optional<RowValue> chosenIn(const QComboBox &box)
{
    if (box.currentIndex() == box.property("indexBefore").toInt())
        return {};
    const QVariant choice = box.currentData();
    return std::optional<RowValue>(std::in_place,
                                   choice.isValid() ? RowValue(choice.toByteArray()) : RowValue());
}

bool hasDate(const TableColumn &column)
{
    return column.kind == ValueKind::Time && !column.type.startsWith(u"time(", Qt::CaseInsensitive) &&
           column.type.compare(u"time", Qt::CaseInsensitive) != 0;
}

// Escape closes it; Enter and a click choose.
class Calendar : public QCalendarWidget {
public:
    using QCalendarWidget::QCalendarWidget;

protected:
    void keyPressEvent(QKeyEvent *event) override
    {
        if (event->key() == Qt::Key_Escape)
            close();
        else
            QCalendarWidget::keyPressEvent(event);
    }
};

} // namespace

QString withDate(const QString &text, QDate date, const TableColumn &column)
{
    static const QRegularExpression hasDate(QStringLiteral("\\A\\d{4}-\\d\\d-\\d\\d"));
    const QString chosen = date.toString(Qt::ISODate);
    if (hasDate.match(text).hasMatch())
        return chosen + text.mid(10);
    const bool isDay = column.type.compare(u"date", Qt::CaseInsensitive) == 0;
    return isDay ? chosen : chosen + QStringLiteral(" 00:00:00");
}

CellLine::CellLine(const TableColumn &column, const RowValue &value, QWidget *parent)
    : QLineEdit(editedText(column, value), parent)
    , m_column(column)
    , m_before(value)
    , m_textBefore(text())
{
    setObjectName(QStringLiteral("cellLine"));
    setFrame(false);
    setToolTip(column.isNullable ? QStringLiteral("Ctrl+0: NULL") : QString());
    setNull(!value);
    if (hasDate(column)) {
        QAction *open = addAction(style()->standardIcon(QStyle::SP_ArrowDown), TrailingPosition);
        open->setToolTip(QStringLiteral("カレンダー (Alt+↓)"));
        connect(open, &QAction::triggered, this, &CellLine::openCalendar);
    }
    connect(this, &QLineEdit::textEdited, this,
            [this] { setNull(text().isEmpty() && m_column.isNullable && !hasEmptyText(m_column)); });
}

void CellLine::setNull(bool isNull)
{
    m_isNull = isNull;
    setPlaceholderText(isNull                   ? QStringLiteral("NULL")
                       : hasEmptyText(m_column) ? QStringLiteral("(空の文字列)")
                                                : QString());
}

std::optional<RowValue> CellLine::edited() const
{
    if (isAsBefore())
        return {};
    return std::optional<RowValue>(std::in_place, m_isNull ? RowValue() : editedValue(m_column, text()));
}

QString CellLine::refusal() const
{
    return m_isNull || isAsBefore() ? QString() : whyNotEdited(m_column, text());
}

void CellLine::keyPressEvent(QKeyEvent *event)
{
    const bool deletes = event->key() == Qt::Key_Backspace || event->key() == Qt::Key_Delete;
    if (event->key() == Qt::Key_Down && event->modifiers() == Qt::AltModifier && hasDate(m_column)) {
        openCalendar();
    } else if (event->key() == Qt::Key_0 && event->modifiers() == Qt::ControlModifier &&
               m_column.isNullable) {
        clear();
        setNull(!m_isNull || !hasEmptyText(m_column));
    } else if (deletes && text().isEmpty() && hasEmptyText(m_column)) {
        setNull(false);
    } else {
        QLineEdit::keyPressEvent(event);
    }
}

void CellLine::openCalendar()
{
    // A child: the delegate takes a focus that goes elsewhere for the end of the editing.
    auto *calendar = new Calendar(this);
    calendar->setObjectName(QStringLiteral("cellCalendar"));
    calendar->setWindowFlags(Qt::Popup);
    calendar->setAttribute(Qt::WA_DeleteOnClose);
    calendar->setLocale(QLocale(QLocale::Japanese)); // as the whole program
    if (const QDate date = QDate::fromString(text().left(10), Qt::ISODate); date.isValid())
        calendar->setSelectedDate(date);
    const auto choose = [this, calendar](QDate date) {
        setText(withDate(text(), date, m_column));
        setNull(false);
        calendar->close();
        setFocus();
    };
    connect(calendar, &QCalendarWidget::clicked, this, choose);
    connect(calendar, &QCalendarWidget::activated, this, choose);
    const QSize size = calendar->sizeHint();
    const QRect room = screen()->availableGeometry();
    QPoint corner = mapToGlobal(QPoint(0, height()));
    if (corner.y() + size.height() > room.bottom())
        corner.setY(mapToGlobal(QPoint()).y() - size.height());
    corner.setX(std::max(room.left(), std::min(corner.x(), room.right() - size.width())));
    calendar->move(corner);
    calendar->show();
    calendar->setFocus();
}

RowDelegate::RowDelegate(RowGrid &grid)
    : CellDelegate(&grid.grid())
    , m_grid(grid)
{
}

QWidget *RowDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &,
                                   const QModelIndex &index) const
{
    const TableColumn &column = m_grid.table().columns[static_cast<std::size_t>(index.column())];
    const RowValue value = m_grid.value(m_grid.grid().storedRow(index.row()), index.column());
    if (!column.choices.isEmpty())
        return choiceBox(parent, column, value);
    return new CellLine(column, value, parent);
}

void RowDelegate::setModelData(QWidget *editor, QAbstractItemModel *, const QModelIndex &index) const
{
    const auto *box = qobject_cast<QComboBox *>(editor);
    const auto *line = qobject_cast<CellLine *>(editor);
    if (line && !line->refusal().isEmpty())
        Q_EMIT m_grid.told(line->refusal());
    else if (const auto edited = box ? chosenIn(*box) : line->edited())
        m_grid.setValue(m_grid.grid().storedRow(index.row()), index.column(), *edited);
}
