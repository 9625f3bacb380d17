#include "controls/grid/gridsearch.h"

#include "controls/grid/flexgridmodel.h"

#include <algorithm>

namespace {

constexpr int sliceMilliseconds = 8;

char lower(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character + 32) : character;
}

} // namespace

GridSearch::GridSearch(const FlexGridModel &model, QObject *parent)
    : QObject(parent)
    , m_model(model)
{
    m_timer.setInterval(0);
    connect(&m_timer, &QTimer::timeout, this, &GridSearch::run);
}

void GridSearch::start(const QString &text, const QModelIndex &from, bool isForward, bool mayBeFrom)
{
    m_text = text.toStdString();
    std::ranges::transform(m_text, m_text.begin(), lower);
    m_isForward = isForward;
    m_cellsLeft = qint64(m_model.rowCount()) * m_model.columnCount();
    m_row = std::max(0, from.row());
    m_column = std::max(0, from.column());
    if (m_cellsLeft > 0 && !mayBeFrom)
        advance();
    run();
    if (m_timer.isActive())
        Q_EMIT searching();
}

void GridSearch::run()
{
    m_timer.stop();
    QElapsedTimer clock;
    clock.start();
    for (; m_cellsLeft > 0; --m_cellsLeft) {
        if (stepIsHit()) {
            Q_EMIT found(m_row, m_column);
            return;
        }
        advance();
        if ((m_cellsLeft & 63) == 0 && clock.elapsed() >= sliceMilliseconds) {
            --m_cellsLeft;
            m_timer.start();
            return;
        }
    }
    Q_EMIT notFound();
}

bool GridSearch::stepIsHit()
{
    const Cell &cell = m_model.cell(m_row, m_column);
    return holdsText(cell.isNull ? std::string_view("NULL") : cell.bytes, m_text);
}

void GridSearch::advance()
{
    m_column += m_isForward ? 1 : -1;
    if (m_column >= 0 && m_column < m_model.columnCount())
        return;
    m_column = m_isForward ? 0 : m_model.columnCount() - 1;
    m_row += m_isForward ? 1 : -1;
    if (m_row < 0)
        m_row = m_model.rowCount() - 1;
    else if (m_row >= m_model.rowCount())
        m_row = 0;
}

bool holdsText(std::string_view bytes, std::string_view lowered)
{
    return std::ranges::search(bytes, lowered, {}, lower).begin() != bytes.end() || lowered.empty();
}
