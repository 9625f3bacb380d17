#include "controls/grid/flexgrid.h"

#include "controls/grid/celldelegate.h"
#include "controls/grid/cellviewer.h"
#include "controls/grid/flexgridmodel.h"
#include "controls/grid/gridcopy.h"
#include "controls/grid/gridmenu.h"
#include "controls/grid/gridsearch.h"
#include "controls/grid/textwidth.h"
#include "controls/text/findbar.h"
#include "controls/window/building.h"

#include <QApplication>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMenu>
#include <QMetaMethod>

namespace {

// Rows that decide a column's first width, and those that a double click on its edge looks at.
constexpr int rowsForWidth = 100;
constexpr int rowsForFit = 2000;
constexpr int narrowestColumn = 40;
constexpr int widestFirstColumn = 320;
constexpr int widestColumn = 4000;

} // namespace

FlexGrid::FlexGrid(QWidget *parent)
    : QTableView(parent)
    , m_model(new FlexGridModel(this))
    , m_findBar(new FindBar(this))
    , m_search(new GridSearch(*m_model, this))
{
    setModel(m_model);
    setItemDelegate(new CellDelegate(this));
    setEditTriggers(NoEditTriggers);
    setSelectionMode(ExtendedSelection);
    setSelectionBehavior(SelectItems);
    setHorizontalScrollMode(ScrollPerPixel);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setCornerButtonEnabled(true);
    buildHeaders();
    buildSearch();
    connect(this, &FlexGrid::doubleClicked, this, [this](const QModelIndex &cell) {
        if (!(m_model->flags(cell) & Qt::ItemIsEditable))
            openCell(cell);
    });
    connect(m_model, &FlexGridModel::sortDone, this, [this] { showSortMark(); });
}

FlexGrid::~FlexGrid() = default;

void FlexGrid::buildHeaders()
{
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setSectionResizeMode(QHeaderView::Interactive);
    horizontalHeader()->setMinimumSectionSize(16);
    horizontalHeader()->setMaximumSectionSize(widestColumn);
    horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultAlignment(Qt::AlignRight | Qt::AlignVCenter);
    fitRowHeight();
    connect(horizontalHeader(), &QHeaderView::sectionClicked, this, &FlexGrid::clickHeader);
}

// Painting, a header asks whether columns are selected as a whole, and the answer goes through all their
// rows: 100 ms for a million. It asks a selection that is always empty.
void FlexGrid::keepHeaderFromSelection()
{
    horizontalHeader()->setSelectionModel(new QItemSelectionModel(m_model, this));
}

void FlexGrid::buildSearch()
{
    connect(m_findBar, &FindBar::opening, this, &FlexGrid::openSearch);
    connect(m_findBar, &FindBar::findRequested, m_search,
            [this](const QString &text, bool isForward, bool isTyping) {
                const QModelIndex from = currentIndex();
                m_search->start(text, from.isValid() ? from : m_model->index(0, 0), isForward, isTyping);
            });
    connect(m_search, &GridSearch::found, this, [this](int row, int column) {
        m_findBar->showMessage({});
        setCurrentIndex(m_model->index(row, column));
    });
    connect(m_search, &GridSearch::searching, this,
            [this] { m_findBar->showMessage(QStringLiteral("検索中…")); });
    connect(m_search, &GridSearch::notFound, this,
            [this] { m_findBar->showMessage(QStringLiteral("見つかりません")); });
}

void FlexGrid::clearGrid()
{
    setFields({});
}

void FlexGrid::setRedraw(bool isOn)
{
    m_isRedrawOn = isOn;
    if (isOn)
        reveal();
}

void FlexGrid::setFields(const std::vector<Field> &fields)
{
    if (!fields.empty() && horizontalHeader()->selectionModel() == selectionModel())
        keepHeaderFromSelection();
    m_search->stop();
    keepFromLoading();
    m_noRows = QStringLiteral("行はありません");
    m_statement.clear();
    m_model->setFields(fields);
    m_hasWidths = false;
    showSortMark();
    for (int column = 0; column < columnCount(); ++column)
        setColumnWidth(column, fittingWidth(column, 0));
}

void FlexGrid::appendBlock(RowBlock &&block)
{
    m_model->append(std::move(block));
    if (m_isRedrawOn)
        reveal();
}

void FlexGrid::appendRow(std::span<const Cell> cells)
{
    m_model->append(cells);
    if (m_isRedrawOn)
        reveal();
}

void FlexGrid::reveal()
{
    m_model->reveal();
    if (m_hasWidths || rowCount() == 0)
        return;
    m_hasWidths = true;
    for (int column = 0; column < columnCount(); ++column)
        setColumnWidth(column, std::min(fittingWidth(column, rowsForWidth), widestFirstColumn));
}

int FlexGrid::rowCount() const
{
    return m_model->rows().rowCount();
}

int FlexGrid::columnCount() const
{
    return m_model->columnCount();
}

const std::vector<Field> &FlexGrid::fields() const
{
    return m_model->fields();
}

QString FlexGrid::fieldName(int column) const
{
    return m_model->fields()[static_cast<std::size_t>(column)].name;
}

QString FlexGrid::text(int row, int column) const
{
    const Cell &cell = m_model->cell(row, column);
    if (cell.isNull)
        return QStringLiteral("NULL");
    return QString::fromUtf8(cell.bytes.data(), static_cast<qsizetype>(cell.bytes.size()));
}

bool FlexGrid::isNull(int row, int column) const
{
    return m_model->cell(row, column).isNull;
}

PackedRows FlexGrid::rows() const
{
    return m_model->rows();
}

void FlexGrid::replaceRows(PackedRows rows)
{
    m_search->stop();
    keepFromLoading();
    m_model->replaceRows(std::move(rows));
}

void FlexGrid::setEdits(GridEdits *edits)
{
    keepFromLoading();
    m_model->setEdits(edits);
}

void FlexGrid::editsChanged()
{
    m_model->editsChanged();
}

int FlexGrid::storedRow(int row) const
{
    return m_model->storedRow(row);
}

int FlexGrid::sortedColumn() const
{
    return m_model->sortedColumn();
}

std::size_t FlexGrid::allocatedBytes() const
{
    return m_model->rows().allocatedBytes();
}

void FlexGrid::setPlaceholderText(const QString &text)
{
    m_placeholder = text;
    viewport()->update();
}

void FlexGrid::setNoRowsText(const QString &text)
{
    m_noRows = text;
    viewport()->update();
}

int FlexGrid::fittingWidth(int column, int mostRows) const
{
    const int width = ::fittingWidth(*m_model, column, mostRows, horizontalHeader()->font(), font());
    return std::clamp(width, narrowestColumn, widestColumn);
}

int FlexGrid::sizeHintForColumn(int column) const
{
    return fittingWidth(column, rowsForFit);
}

void FlexGrid::fitRowHeight()
{
    const int height = fontMetrics().height() + 6;
    verticalHeader()->setMinimumSectionSize(height);
    verticalHeader()->setDefaultSectionSize(height);
}

void FlexGrid::changeEvent(QEvent *event)
{
    QTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        fitRowHeight();
}

void FlexGrid::paintEvent(QPaintEvent *event)
{
    QTableView::paintEvent(event);
    if (m_model->rowCount() > 0)
        return;
    // Rows that have come already are not shown before redraw is on again.
    if (rowCount() > 0)
        paintPlaceholder(*this, QStringLiteral("読み込み中…"));
    else
        paintPlaceholder(*this, columnCount() > 0 ? m_noRows : m_placeholder);
}

// First click up, second down, third as the server sent the rows.
void FlexGrid::clickHeader(int column)
{
    const bool isSameColumn = m_model->sortedColumn() == column;
    if (!isSameColumn)
        sortByColumn(column, Qt::AscendingOrder);
    else if (m_model->sortDirection() == Qt::AscendingOrder)
        sortByColumn(column, Qt::DescendingOrder);
    else
        sortByColumn(-1, Qt::AscendingOrder);
}

void FlexGrid::sortByColumn(int column, Qt::SortOrder direction)
{
    m_search->stop();
    m_model->sortRows(column, direction);
    showSortMark();
}

void FlexGrid::showSortMark()
{
    const int column = m_model->sortedColumn();
    horizontalHeader()->setSortIndicatorShown(column >= 0);
    horizontalHeader()->setSortIndicator(column, m_model->sortDirection());
}

QString FlexGrid::selectedText(CopyFormat format) const
{
    return copiedSelection(*m_model, selectionModel()->selection(), format, m_tableName);
}

void FlexGrid::openSearch()
{
    m_findBar->open({});
}

bool FlexGrid::mayExport() const
{
    return isSignalConnected(QMetaMethod::fromSignal(&FlexGrid::exportRequested));
}

void FlexGrid::copy(CopyFormat format)
{
    if (!selectionModel()->hasSelection())
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    QApplication::clipboard()->setText(selectedText(format));
    QApplication::restoreOverrideCursor();
}

void FlexGrid::keyPressEvent(QKeyEvent *event)
{
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (event->matches(QKeySequence::Copy))
        copy(CopyFormat::TabSeparated);
    else if (event->key() == Qt::Key_Space && event->modifiers() == Qt::ControlModifier)
        selectionModel()->select(currentIndex(),
                                 QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Columns);
    else if (event->key() == Qt::Key_Space && event->modifiers() == Qt::ShiftModifier)
        selectionModel()->select(currentIndex(),
                                 QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    else if (isEnter && currentIndex().isValid())
        openCell(currentIndex());
    else
        QTableView::keyPressEvent(event);
}

void fillGrid(FlexGrid &grid, RecordSet &&rows)
{
    RecordSet source = std::move(rows);
    const RedrawOff redrawOff(grid);
    grid.setFields(source.fields());
    if (!source.isOpen())
        return;
    for (; !source.isEof(); source.moveNextBlock())
        grid.appendBlock(source.takeBlock());
    source.close();
}

void FlexGrid::contextMenuEvent(QContextMenuEvent *event)
{
    // The last one stays until now: an action of it may have waited for the server, and where it were deleted
    // meanwhile, the menu's own handling of the click would go on in freed memory.
    delete findChild<QMenu *>(QStringLiteral("gridMenu"), Qt::FindDirectChildrenOnly);
    QMenu *menu = createGridMenu(*this);
    Q_EMIT menuOpening(menu);
    menu->popup(event->globalPos());
    event->accept();
}

void FlexGrid::openCell(const QModelIndex &cell)
{
    if (!cell.isValid())
        return;
    if (!m_viewer)
        m_viewer = new CellViewer(window());
    showInViewer(storedRow(cell.row()), cell.column(), cell.row() + 1);
    bringToFront(*m_viewer);
}

void FlexGrid::showInViewer(int storedRow, int column, int rowNumber)
{
    GridEdits *edits = m_model->edits();
    std::vector<Cell> cells;
    const PackedRows held = rows();
    held.read(storedRow, cells);
    if (edits)
        edits->apply(storedRow, cells);
    const auto place = static_cast<std::size_t>(column);
    m_viewer->showValue(fields()[place], cells[place], rowNumber);
    keepFromLoading();
    if (edits && edits->takesFile(storedRow, column))
        m_viewer->offerLoading([=, this](const QByteArray &bytes) {
            const QString refusal = edits->load(storedRow, column, bytes);
            if (refusal.isEmpty())
                showInViewer(storedRow, column, rowNumber);
            return refusal;
        });
}

// What the viewer shows may be of another row now, or of none.
void FlexGrid::keepFromLoading()
{
    if (m_viewer)
        m_viewer->offerLoading({});
}
