#include "controls/grid/flexgrid.h"

#include "controls/grid/celldelegate.h"
#include "controls/grid/cellviewer.h"
#include "controls/grid/flexgridmodel.h"
#include "controls/grid/gridcopy.h"
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
constexpr int laterRowsForWidth = 20;
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
    // Painting, a header asks whether columns are selected as a whole, and the answer goes through all
    // their rows: 100 ms for a million. It asks a selection that is always empty.
    horizontalHeader()->setSelectionModel(new QItemSelectionModel(m_model, this));
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

void FlexGrid::buildSearch()
{
    connect(m_findBar, &FindBar::opening, this, [this] { m_findBar->open({}); });
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
    m_search->stop();
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
    m_model->replaceRows(std::move(rows));
}

void FlexGrid::setEdits(const GridEdits *edits)
{
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
    const TextWidth header(horizontalHeader()->font());
    const TextWidth body(font());
    int width = header.of(fieldName(column)) + header.of(u"MM"); // room for the sort mark
    const auto fitRow = [&](int row) {
        const Cell &cell = m_model->cell(row, column);
        width = std::max(width, body.of(cell.isNull ? QStringLiteral("NULL") : cellLine(cell.bytes, 1000)));
    };
    const int all = m_model->rowCount();
    const int rows = std::min(mostRows, all);
    for (int row = 0; row < rows; ++row)
        fitRow(row);
    // Numbers that count up are wider further down.
    if (rows > 0 && rows < all)
        for (int i = 1; i <= laterRowsForWidth; ++i)
            fitRow(static_cast<int>(qint64(all - 1) * i / laterRowsForWidth));
    return std::clamp(width + 12, narrowestColumn, widestColumn);
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

QMenu *FlexGrid::createMenu()
{
    auto *menu = new QMenu(this);
    menu->setObjectName(QStringLiteral("gridMenu"));
    const bool hasSelection = selectionModel()->hasSelection();
    const QModelIndex cell = currentIndex();
    const auto add = [&](QMenu *to, const QString &text, const char *name, bool isEnabled, auto run) {
        QAction *action = to->addAction(text, this, run);
        action->setObjectName(QLatin1String(name));
        action->setEnabled(isEnabled);
        return action;
    };
    const auto addCopy = [&](QMenu *to, const QString &text, const char *name, CopyFormat format) {
        return add(to, text, name, hasSelection, [this, format] { copy(format); });
    };
    addCopy(menu, QStringLiteral("コピー(&C)"), "copy", CopyFormat::TabSeparated)
        ->setShortcut(QKeySequence::Copy);
    QMenu *forms = menu->addMenu(QStringLiteral("形式を選んでコピー(&F)"));
    addCopy(forms, QStringLiteral("タブ区切り、見出しつき(&T)"), "copyWithHeader",
            CopyFormat::TabSeparatedWithHeader);
    addCopy(forms, QStringLiteral("CSV(&C)"), "copyCsv", CopyFormat::Csv);
    addCopy(forms, QStringLiteral("Markdown(&M)"), "copyMarkdown", CopyFormat::Markdown);
    addCopy(forms, QStringLiteral("JSON(&J)"), "copyJson", CopyFormat::Json);
    addCopy(forms, QStringLiteral("INSERT文(&I)"), "copyInsert", CopyFormat::Insert);
    if (isSignalConnected(QMetaMethod::fromSignal(&FlexGrid::exportRequested)))
        add(menu, QStringLiteral("ファイルに書き出し(&R)..."), "exportRows", columnCount() > 0,
            [this] { Q_EMIT exportRequested(); });
    menu->addSeparator();
    add(menu, QStringLiteral("すべて選択(&A)"), "selectAll", m_model->rowCount() > 0, [this] {
        selectAll();
    })->setShortcut(QKeySequence::SelectAll);
    add(menu, QStringLiteral("検索(&S)..."), "find", m_model->rowCount() > 0, [this] {
        m_findBar->open({});
    })->setShortcut(QKeySequence::Find);
    add(menu, QStringLiteral("値を表示(&V)..."), "openCell", cell.isValid(),
        [this, cell = QPersistentModelIndex(cell)] { openCell(cell); });
    menu->addSeparator();
    add(menu, QStringLiteral("列の幅を合わせる(&W)"), "fitColumns", columnCount() > 0, [this] {
        for (int column = 0; column < columnCount(); ++column)
            resizeColumnToContents(column);
    });
    add(menu, QStringLiteral("元の順に戻す(&O)"), "serverOrder", m_model->sortedColumn() >= 0,
        [this] { sortByColumn(-1, Qt::AscendingOrder); });
    return menu;
}

void FlexGrid::contextMenuEvent(QContextMenuEvent *event)
{
    // The last one stays until now: an action of it may have waited for the server, and where it were deleted
    // meanwhile, the menu's own handling of the click would go on in freed memory.
    delete findChild<QMenu *>(QStringLiteral("gridMenu"), Qt::FindDirectChildrenOnly);
    QMenu *menu = createMenu();
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
    const Cell &value = m_model->cell(cell.row(), cell.column());
    m_viewer->showValue(m_model->fields()[static_cast<std::size_t>(cell.column())], value, cell.row() + 1);
    m_viewer->show();
    m_viewer->raise();
    m_viewer->activateWindow();
}
