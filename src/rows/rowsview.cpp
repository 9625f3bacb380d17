#include "rows/rowsview.h"

#include "controls/window/building.h"
#include "core/command/doubt.h"
#include "core/sql/statements.h"
#include "rows/rowdialogs.h"

#include <QHeaderView>
#include <QInputDialog>
#include <QKeyEvent>
#include <QMenu>

#include <algorithm>

using Place = RowsQuery::Place;

namespace {

// Whether a page goes on behind the values of a row. Without an order the first rows came as the table stores
// them: in other engines that is not the order of the key.
bool goesOnByKey(const TableShape &table, const QString &order)
{
    return (!order.isEmpty() || table.engine.compare(u"InnoDB", Qt::CaseInsensitive) == 0) &&
           seekableOrder(table, order);
}

QString grouped(qint64 number)
{
    return QLocale(QLocale::English).toString(number);
}

} // namespace

RowsView::RowsView(Session &session, Dialogue &dialogue, RowsPane &pane)
    : QObject(&pane)
    , m_session(session)
    , m_dialogue(dialogue)
    , m_pane(pane)
    , m_rows(pane.grid, session.runner)
    , m_savings(session, dialogue, m_rows)
    , m_lastConditions(session)
{
    connect(&m_rows, &RowGrid::changed, this, [this] { showState(); });
    connect(&m_rows, &RowGrid::told, this, [this](const QString &words) { showState(words); });
    connect(&pane.grid, &FlexGrid::menuOpening, this, &RowsView::addToMenu);
    // The header tells of it before the grid sorts.
    connect(
        pane.grid.horizontalHeader(), &QHeaderView::sortIndicatorChanged, this, [this] { showState(); },
        Qt::QueuedConnection);
    for (ConditionLine *line : {pane.rowsWhere, pane.rowsOrder})
        connect(line, &QLineEdit::returnPressed, this, &RowsView::readWanted);
    connect(pane.previousRows, &QPushButton::clicked, this, [this] { goOn(false); });
    connect(pane.nextRows, &QPushButton::clicked, this, [this] { goOn(true); });
    connect(pane.saveRows, &QPushButton::clicked, this, &RowsView::saveRows);
    connect(pane.cancelRows, &QPushButton::clicked, this, &RowsView::cancel);
    connect(pane.showRowStatements, &QPushButton::clicked, this, &RowsView::showStatements);
    connect(pane.undoSavedRows, &QPushButton::clicked, this, &RowsView::undoSaved);
    pane.grid.installEventFilter(this);
    // Empty: something else was chosen.
    connect(pane.grid.model(), &QAbstractItemModel::modelReset, this, [this] {
        if (m_pane.grid.columnCount() > 0)
            return;
        for (QLineEdit *line :
             std::initializer_list<QLineEdit *>{m_pane.rowsWhere, m_pane.rowsOrder, m_pane.rowsStatement})
            line->clear();
    });
    showState();
}

void RowsView::run(const QString &what, const std::function<void()> &action)
{
    m_session.runner.run(&m_pane, what, [&] {
        tellingFailure(m_session, m_dialogue, [&] {
            const BusyPointer busy(m_dialogue);
            m_dialogue.setLastError({}, false);
            action();
        });
    });
}

QString RowsView::statementFor(const QString &database, const QString &table, int limit, const QString &plain)
{
    if (database != m_database || table != m_table) {
        m_query = {};
        m_wanted = {};
        m_database = database;
        m_table = table;
    }
    RowsQuery query = m_wanted;
    m_wanted = {};
    query.limit = limit;
    query.where = m_pane.rowsWhere->text().trimmed();
    query.order = m_pane.rowsOrder->text().trimmed();
    for (const QString &text : {query.where, query.order})
        if (const QString words = whyNoCondition(text); !words.isEmpty())
            throw Failure(words + QStringLiteral(": ") + text);
    if (query.where != m_query.where || query.order != m_query.order || !m_rows.isBegun())
        query.place = Place::First;
    TableShape shape = m_rows.isBegun() ? m_rows.table() : TableShape();
    shape.database = database;
    shape.name = table;
    if (!m_rows.isBegun() && !query.order.isEmpty()) // an order that goes on needs the key behind it
        shape = readTableShape(m_session.connection(), database, table);
    if (!goesOnByKey(shape, query.order))
        shape.key.clear();
    m_isOrdered = !isPlain(query) && (query.place != Place::First || !query.order.isEmpty()) &&
                  seekableOrder(shape, query.order);
    const QString statement = isPlain(query) ? plain : ::rowsStatement(shape, query);
    if (query.place == Place::First)
        m_firstNumber = 0;
    else if (query.place == Place::Number)
        m_firstNumber = query.number;
    else if (query.place == Place::After)
        m_firstNumber += m_rows.readRows();
    m_query = query;
    m_pane.rowsStatement->setText(QString(statement).replace(u'\n', u' '));
    m_pane.rowsStatement->setCursorPosition(0);
    return statement;
}

void RowsView::takeRows()
{
    QStringList names;
    for (int column = 0; column < m_pane.grid.columnCount(); ++column)
        names << m_pane.grid.fieldName(column);
    TableShape shape;
    try {
        shape = shapeOfColumns(readTableShape(m_session.connection(), m_database, m_table), names);
    } catch (const Failure &error) {
        // The rows are shown all the same.
        shape.database = m_database;
        shape.name = m_table;
        shape.whyReadOnly = error.description();
    }
    heedConnection(shape, m_session.profile);
    for (ConditionLine *line : {m_pane.rowsWhere, m_pane.rowsOrder})
        line->setNames(names);
    m_rows.begin(shape);
    if (m_query.place == Place::Before) {
        const bool isStart = m_rows.readRows() < m_query.limit;
        m_firstNumber = isStart ? 0 : std::max<qint64>(0, m_firstNumber - m_rows.readRows());
    }
    remember();
    showState();
}

void RowsView::remember()
{
    m_lastConditions.add(m_database, m_table, m_query.where, m_query.order);
    const LastConditions::Texts texts = m_lastConditions.of(m_database, m_table);
    m_pane.rowsWhere->setLastUsed(texts.conditions);
    m_pane.rowsOrder->setLastUsed(texts.orders);
}

bool RowsView::mayLeave()
{
    if (m_rows.changeCount() == 0 || m_session.runner.isRunning())
        return m_rows.changeCount() == 0;
    const int choice = m_dialogue.choose(
        QStringLiteral("保存していない行の変更が %1 件あります。").arg(m_rows.changeCount()),
        {QStringLiteral("保存する"), QStringLiteral("捨てる")});
    if (choice == 0)
        saveRows();
    else if (choice == 1)
        m_rows.discard();
    return m_rows.changeCount() == 0;
}

void RowsView::showCondition(const QString &database, const QString &table, const QString &condition)
{
    m_database = database;
    m_table = table;
    m_wanted = {};
    m_pane.rowsWhere->setText(condition);
    m_pane.rowsOrder->clear();
}

void RowsView::readAgain(Place place, qint64 number)
{
    m_wanted.place = place;
    m_wanted.number = number;
    Q_EMIT readWanted();
}

void RowsView::goOn(bool isForward)
{
    if (!m_rows.isBegun() || m_session.runner.isRunning() || !mayLeave())
        return;
    const int rows = m_rows.readRows();
    const bool seeks = m_isOrdered && rows > 0;
    if (seeks)
        m_wanted.row = m_rows.readRow(isForward ? rows - 1 : 0);
    if (isForward)
        readAgain(seeks ? Place::After : Place::Number, m_firstNumber + rows);
    else
        readAgain(seeks ? Place::Before : Place::Number, std::max<qint64>(0, m_firstNumber - m_query.limit));
}

void RowsView::goToRow()
{
    bool isChosen = false;
    const int last = m_rows.table().approximateRows > 0 ? 2000000000 : std::max(1, m_rows.readRows());
    const int number = QInputDialog::getInt(&m_pane, QStringLiteral("行へ"), QStringLiteral("行の番号:"),
                                            static_cast<int>(m_firstNumber) + 1, 1, last, 1, &isChosen);
    if (!isChosen)
        return;
    const qint64 inPage = number - 1 - m_firstNumber;
    if (inPage >= 0 && inPage < m_rows.readRows()) {
        const QModelIndex current = m_pane.grid.currentIndex();
        m_pane.grid.setCurrentIndex(
            m_pane.grid.model()->index(static_cast<int>(inPage), std::max(0, current.column())));
    } else if (mayLeave()) {
        readAgain(Place::Number, number - 1);
    }
}

QString RowsView::placeText() const
{
    const int rows = m_rows.readRows();
    const bool isFull = rows >= m_query.limit;
    const qint64 all = m_rows.table().approximateRows;
    QString text;
    if (m_query.place == Place::First && !isFull)
        text = QStringLiteral("全 %1 行").arg(grouped(rows));
    else if (m_query.place == Place::First)
        text = QStringLiteral("先頭 %1 行").arg(grouped(rows));
    else if (rows == 0)
        text = QStringLiteral("これより先に行はありません");
    else
        text = QStringLiteral("%1-%2 行目").arg(grouped(m_firstNumber + 1), grouped(m_firstNumber + rows));
    const bool isWhole = m_query.place == Place::First && !isFull;
    if (m_pane.grid.sortedColumn() >= 0 && !isWhole && rows > 0)
        text += QStringLiteral("だけの並べ替え"); // short: there is little room
    if (!m_query.where.isEmpty())
        text = QStringLiteral("条件に合う行: ") + text +
               (isFull ? QStringLiteral(" (続きがあるかもしれません)") : QString());
    else if (all >= 0 && !isWhole)
        text += QStringLiteral(" / 約 %1 行").arg(grouped(std::max<qint64>(all, m_firstNumber + rows)));
    if (!isWhole && rows > 0 && !goesOnByKey(m_rows.table(), m_query.order))
        text += QStringLiteral("。頁は行を数えて送ります");
    return text;
}

void RowsView::showState(const QString &words)
{
    const int changes = m_rows.changeCount();
    const bool isBegun = m_rows.isBegun();
    QStringList lines;
    if (changes > 0)
        lines << QStringLiteral("%1件の変更").arg(changes);
    if (isBegun)
        lines << placeText();
    if (isBegun && !m_rows.mayWrite())
        lines << QStringLiteral("読み取り専用: ") + m_rows.table().whyReadOnly;
    if (!words.isEmpty())
        lines << words;
    m_pane.rowsState->setText(lines.join(QStringLiteral("  |  ")));
    for (QPushButton *button : {m_pane.saveRows, m_pane.cancelRows, m_pane.showRowStatements})
        switchButton(*button, changes > 0, m_pane.grid);
    switchButton(*m_pane.previousRows, isBegun && m_firstNumber > 0, m_pane.grid);
    switchButton(*m_pane.nextRows, isBegun && m_rows.readRows() > 0 && m_rows.readRows() >= m_query.limit,
                 m_pane.grid);
    m_isEscapePressed = false;
}

void RowsView::saveRows()
{
    m_pane.grid.setFocus(); // a cell that is being edited takes its value
    if (m_rows.changeCount() > 0)
        run(QStringLiteral("行の保存"), [this] { showState(m_savings.save()); });
}

void RowsView::showStatements()
{
    showChanges(&m_pane, m_rows.table(), m_rows.changes());
}

void RowsView::cancel()
{
    if (m_rows.changeCount() > 0 && !m_session.runner.isRunning())
        m_rows.discard();
}

void RowsView::undoSaved()
{
    if (m_session.runner.isRunning() || !mayLeave())
        return;
    const std::vector<RowSaving> savings = RowHistory(m_session).savings();
    if (savings.empty()) {
        m_dialogue.inform(QStringLiteral("この接続で保存した行の変更はありません。"));
        return;
    }
    if (const auto saving = chooseSaving(&m_pane, savings))
        run(QStringLiteral("保存した行を元に戻す"), [&] { m_savings.undo(*saving); });
    if (m_rows.isBegun())
        Q_EMIT readWanted();
}

bool RowsView::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress || watched != &m_pane.grid)
        return QObject::eventFilter(watched, event);
    const auto *key = static_cast<QKeyEvent *>(event);
    const bool hasControl = key->modifiers() == Qt::ControlModifier;
    const bool isSecondEscape = std::exchange(m_isEscapePressed, false);
    if (hasControl && key->key() == Qt::Key_S)
        saveRows();
    else if (hasControl && key->key() == Qt::Key_G && m_rows.isBegun())
        goToRow();
    else if (hasControl && key->key() == Qt::Key_PageDown && m_pane.nextRows->isEnabled())
        goOn(true);
    else if (hasControl && key->key() == Qt::Key_PageUp && m_pane.previousRows->isEnabled())
        goOn(false);
    else if (key->key() == Qt::Key_Escape && m_rows.changeCount() > 0 && isSecondEscape)
        cancel();
    else if (key->key() == Qt::Key_Escape && m_rows.changeCount() > 0) {
        showState(QStringLiteral("もう一度 Esc を押すと、変更を捨てます"));
        m_isEscapePressed = true;
    } else
        return false;
    return true;
}
