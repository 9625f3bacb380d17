#include "browser/statementlogview.h"

#include "controls/grid/flexgrid.h"
#include "controls/window/building.h"

#include <QApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>

#include <array>

namespace {

constexpr int statementColumn = 3;

std::array<std::string, 4> cellsOf(const LoggedStatement &entry)
{
    const QString outcome = !entry.error.isEmpty() ? entry.error
                            : entry.rows < 0       ? QStringLiteral("OK")
                                                   : QStringLiteral("%1 行").arg(entry.rows);
    return {entry.time.toString(QStringLiteral("HH:mm:ss.zzz")).toStdString(),
            QString::number(static_cast<double>(entry.microseconds) / 1000, 'f', 2).toStdString(),
            outcome.toStdString(), entry.statement.toStdString()};
}

// What is selected, to be selected again when the rows have been filled anew.
class Selected {
public:
    explicit Selected(const FlexGrid &grid)
        : m_current(grid.currentIndex().row(), grid.currentIndex().column())
    {
        for (const QItemSelectionRange &range : grid.selectionModel()->selection())
            m_ranges.push_back(
                QRect(QPoint(range.left(), range.top()), QPoint(range.right(), range.bottom())));
    }
    // The same statements stand so many rows further up.
    void restore(FlexGrid &grid, int gone) const
    {
        const QAbstractItemModel &model = *grid.model();
        QItemSelectionModel &selection = *grid.selectionModel();
        selection.setCurrentIndex(model.index(m_current.first - gone, m_current.second),
                                  QItemSelectionModel::NoUpdate);
        for (const QRect &range : m_ranges)
            selection.select(QItemSelection(model.index(std::max(0, range.top() - gone), range.left()),
                                            model.index(range.bottom() - gone, range.right())),
                             QItemSelectionModel::Select);
    }

private:
    std::pair<int, int> m_current;
    std::vector<QRect> m_ranges;
};

} // namespace

StatementLogView::StatementLogView(std::shared_ptr<StatementLog> log, QWidget *parent)
    : QWidget(parent)
    , m_log(std::move(log))
    , m_timer(new QTimer(this))
{
    setObjectName(QStringLiteral("statementLog"));
    m_timer->setInterval(250);
    connect(m_timer, &QTimer::timeout, this, &StatementLogView::refresh);
}

void StatementLogView::setVisible(bool isOn)
{
    if (isOn && !m_grid)
        build(); // before the splitter asks how low it may be
    QWidget::setVisible(isOn);
}

void StatementLogView::build()
{
    m_grid = new FlexGrid;
    m_grid->setObjectName(QStringLiteral("statementLogGrid"));
    m_grid->setAccessibleName(QStringLiteral("送信した文"));
    m_grid->setPlaceholderText(QStringLiteral("送信した文はまだありません"));
    m_grid->horizontalHeader()->setStretchLastSection(true);
    m_grid->setMinimumHeight(8 * m_grid->fontMetrics().lineSpacing());
    auto *toConsole = new QPushButton(QStringLiteral("コンソールへ"));
    toConsole->setObjectName(QStringLiteral("statementLogToConsole"));
    toConsole->setToolTip(QStringLiteral("選択した文をSQLコンソールに写します"));
    auto *clear = new QPushButton(QStringLiteral("ログを消す"));
    clear->setObjectName(QStringLiteral("statementLogClear"));
    clear->setToolTip(QStringLiteral("ログを空にします。サーバーには何も送りません"));
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(toConsole);
    buttons->addWidget(clear);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(m_grid);
    layout->addLayout(buttons);
    followInTabOrder(*this, {m_grid, toConsole, clear});

    connect(toConsole, &QPushButton::clicked, this, &StatementLogView::sendToConsole);
    connect(clear, &QPushButton::clicked, this, [this] {
        m_log->clear();
        refresh();
    });
}

void StatementLogView::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    refresh();
    m_timer->start();
}

void StatementLogView::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    m_timer->stop();
}

void StatementLogView::refresh()
{
    // Not beneath a selection that the mouse is making.
    if (m_shownRevision == m_log->revision() || QApplication::mouseButtons() != Qt::NoButton)
        return;
    m_shownRevision = m_log->revision();
    const int gone = static_cast<int>(m_log->firstNumber() - m_firstNumber);
    m_firstNumber = m_log->firstNumber();
    QScrollBar &vertical = *m_grid->verticalScrollBar(), &horizontal = *m_grid->horizontalScrollBar();
    const bool showsNewest = vertical.value() == vertical.maximum();
    const int top = vertical.value() - gone, left = horizontal.value();
    const QByteArray columns = m_grid->horizontalHeader()->saveState();
    const Selected selected(*m_grid);
    fill();
    if (m_grid->columnCount() > 0 && !m_isEmpty)
        m_grid->horizontalHeader()->restoreState(columns);
    m_isEmpty = m_grid->columnCount() == 0;
    selected.restore(*m_grid, gone);
    m_grid->doItemsLayout(); // now: until then there is nothing to scroll
    vertical.setValue(showsNewest ? vertical.maximum() : top);
    horizontal.setValue(left);
}

void StatementLogView::fill()
{
    const RedrawOff redrawOff(*m_grid);
    m_grid->clearGrid();
    if (m_log->entries().empty())
        return;
    m_grid->setFields({{QStringLiteral("時刻"), FieldKind::Text},
                       {QStringLiteral("ms"), FieldKind::Number},
                       {QStringLiteral("結果"), FieldKind::Text},
                       {QStringLiteral("文"), FieldKind::Text}});
    for (const LoggedStatement &entry : m_log->entries()) {
        const std::array<std::string, 4> texts = cellsOf(entry);
        std::array<Cell, 4> cells;
        for (std::size_t i = 0; i < cells.size(); ++i)
            cells[i].bytes = texts[i];
        m_grid->appendRow(cells);
    }
}

void StatementLogView::sendToConsole()
{
    const QModelIndex current = m_grid->currentIndex();
    if (current.isValid())
        Q_EMIT statementChosen(m_grid->text(current.row(), statementColumn));
}
