#include "server/keyedlist.h"

#include "controls/window/building.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>
#include <QShortcut>

#include <algorithm>

KeyedList::KeyedList(const char *name, const QString &title, const std::vector<KeyedColumn> &columns)
    : m_rows(new KeyedRows(columns, this))
{
    const bool isLastNumber = columns.back().isNumber; // it stands better near the others
    setObjectName(QLatin1String(name));
    setAccessibleName(title);
    setModel(m_rows);
    setSelectionBehavior(SelectRows);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setHorizontalScrollMode(ScrollPerPixel);
    verticalHeader()->hide();
    horizontalHeader()->setStretchLastSection(!isLastNumber);
    horizontalHeader()->setHighlightSections(false);
    // Painting, it asks whether columns are chosen as a whole, and the answer goes through all their rows.
    horizontalHeader()->setSelectionModel(new QItemSelectionModel(m_rows, this));
    horizontalHeader()->setSortIndicatorClearable(true);
    horizontalHeader()->setSortIndicator(-1, Qt::AscendingOrder);
    setSortingEnabled(true);
    fitRowHeight();
    auto *copyRows = new QAction(QStringLiteral("コピー"), this);
    copyRows->setShortcut(QKeySequence::Copy);
    copyRows->setShortcutContext(Qt::WidgetShortcut);
    addAction(copyRows);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    connect(copyRows, &QAction::triggered, this, &KeyedList::copy);
    connect(selectionModel(), &QItemSelectionModel::selectionChanged, this, &KeyedList::choiceChanged);
    connect(selectionModel(), &QItemSelectionModel::currentRowChanged, this, &KeyedList::choiceChanged);
    connect(this, &QAbstractItemView::doubleClicked, this, &KeyedList::activatedRow);
}

void KeyedList::show(KeyedTable table)
{
    {
        const QSignalBlocker untilAllIsUpdated(this);
        m_rows->update(std::move(table));
    }
    if (!m_hasWidths && m_rows->rowCount() > 0)
        fitColumns();
    viewport()->update(); // the placeholder
    Q_EMIT choiceChanged();
}

void KeyedList::fitRowHeight()
{
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 6);
}

void KeyedList::fitColumns()
{
    constexpr int rowsLookedAt = 50, widest = 170, margin = 18;
    m_hasWidths = true;
    const int last = m_rows->columnCount() - 1; // takes what is left, as long as it is asked to
    for (int column = 0; column < last + !horizontalHeader()->stretchLastSection(); ++column) {
        int width = horizontalHeader()->sectionSizeHint(column);
        for (int row = 0; row < std::min(rowsLookedAt, m_rows->rowCount()); ++row) {
            const QString text = m_rows->index(row, column).data().toString();
            width = std::max(width, fontMetrics().horizontalAdvance(text) + margin);
        }
        setColumnWidth(column, std::min(width, widest));
    }
}

// As shown. QItemSelectionModel::selectedRows() asks each row against each range of them, which takes seconds
// for thousands that are scattered.
std::vector<int> KeyedList::chosenRows() const
{
    std::vector<int> shown;
    for (const QItemSelectionRange &range : selectionModel()->selection())
        for (int row = range.top(); row <= range.bottom(); ++row)
            shown.push_back(row);
    std::ranges::sort(shown);
    return shown;
}

QStringList KeyedList::chosenKeys() const
{
    QStringList keys;
    for (const int row : chosenRows())
        keys << m_rows->row(row).key;
    return keys;
}

QString KeyedList::currentKey() const
{
    return currentIndex().isValid() ? m_rows->row(currentIndex().row()).key : QString();
}

bool KeyedList::choose(const QString &key)
{
    for (int row = 0; row < m_rows->rowCount(); ++row) {
        if (m_rows->row(row).key != key)
            continue;
        setCurrentIndex(m_rows->index(row, 0));
        scrollTo(currentIndex());
        return true;
    }
    return false;
}

QString KeyedList::chosenText() const
{
    const auto line = [this](const auto &cell) {
        QStringList cells;
        for (int column = 0; column < m_rows->columnCount(); ++column)
            if (!isColumnHidden(column))
                cells << cell(column)
                             .replace(u'\t', u' ')
                             .replace(QStringLiteral("\r\n"), QStringLiteral(" "))
                             .replace(u'\n', u' ');
        return cells.join(u'\t');
    };
    QStringList lines{line([this](int column) {
        return m_rows->headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
    })};
    for (const int row : chosenRows())
        lines << line([this, row](int column) { return m_rows->row(row).cells[column]; });
    return lines.join(u'\n') + u'\n';
}

void KeyedList::copy() const
{
    if (hasChosen())
        QApplication::clipboard()->setText(chosenText());
}

void KeyedList::setPlaceholderText(const QString &text)
{
    m_placeholder = text;
    viewport()->update();
}

void KeyedList::paintEvent(QPaintEvent *event)
{
    QTableView::paintEvent(event);
    if (m_rows->rowCount() == 0)
        paintPlaceholder(*this, m_rows->storedCount() == 0 ? m_placeholder
                                                           : QStringLiteral("絞り込みに合う行がありません"));
}

void KeyedList::keyPressEvent(QKeyEvent *event)
{
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && currentIndex().isValid())
        Q_EMIT activatedRow();
    else
        QTableView::keyPressEvent(event);
}

void KeyedList::changeEvent(QEvent *event)
{
    QTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        fitRowHeight();
}

QLineEdit *makeFilter(const char *name, KeyedList &list)
{
    auto *line = made<QLineEdit>(name);
    line->setPlaceholderText(QStringLiteral("絞り込み"));
    line->setAccessibleName(list.accessibleName() + QStringLiteral("の絞り込み"));
    line->setClearButtonEnabled(true);
    QObject::connect(line, &QLineEdit::textChanged, &list,
                     [&list](const QString &text) { list.rows().setFilter(text); });
    const auto onKey = [line](Qt::Key key, const auto &action) {
        auto *shortcut = new QShortcut(key, line, nullptr, nullptr, Qt::WidgetShortcut);
        QObject::connect(shortcut, &QShortcut::activated, line, action);
    };
    onKey(Qt::Key_Escape, [line] { line->clear(); });
    onKey(Qt::Key_Down, [&list] { list.setFocus(); });
    return line;
}
