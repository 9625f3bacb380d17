#include "structure/search/hitlist.h"

#include "controls/window/building.h"

#include <QHeaderView>
#include <QKeyEvent>

#include <array>
#include <iterator>

namespace {

constexpr std::array<QStringView, 6> titles{u"種類", u"データベース", u"テーブルなど",
                                            u"名前", u"見つかった所", u"内容"};

} // namespace

void HitRows::clear()
{
    beginResetModel();
    m_hits.clear();
    endResetModel();
}

void HitRows::append(SearchHits hits)
{
    if (hits.empty())
        return;
    const int first = rowCount();
    beginInsertRows({}, first, first + static_cast<int>(hits.size()) - 1);
    std::ranges::move(hits, std::back_inserter(m_hits));
    endInsertRows();
}

int HitRows::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(m_hits.size());
}

int HitRows::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(titles.size());
}

QVariant HitRows::data(const QModelIndex &index, int role) const
{
    const bool isText = role == Qt::DisplayRole || role == Qt::ToolTipRole;
    if (!isText || !index.isValid()) // Ctrl+C asks where nothing is chosen, too
        return {};
    const SearchHit &found = hit(index.row());
    const std::array texts{titleOf(found.kind), found.database, found.object,
                           found.name,          found.place,    found.excerpt};
    const QString text = visibleName(texts[static_cast<std::size_t>(index.column())]);
    return role == Qt::ToolTipRole ? plainTip(text) : text;
}

QVariant HitRows::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Vertical || role != Qt::DisplayRole)
        return {};
    return titles[static_cast<std::size_t>(section)].toString();
}

HitList::HitList(const char *name, HitRows &rows)
    : m_rows(rows)
{
    setObjectName(QLatin1String(name));
    setAccessibleName(QStringLiteral("見つかったもの"));
    setModel(&rows);
    setSelectionBehavior(SelectRows);
    setSelectionMode(SingleSelection);
    setEditTriggers(NoEditTriggers);
    setTabKeyNavigation(false);
    setWordWrap(false);
    setShowGrid(false);
    verticalHeader()->hide();
    horizontalHeader()->setStretchLastSection(true);
    horizontalHeader()->setHighlightSections(false);
    const int letter = fontMetrics().horizontalAdvance(u'あ');
    constexpr int letters[] = {7, 9, 11, 11, 10};
    for (int column = 0; column < static_cast<int>(std::size(letters)); ++column)
        setColumnWidth(column, letters[column] * letter);
    fitRows();
    connect(this, &QTableView::doubleClicked, this, &HitList::open);
}

void HitList::setPlaceholderText(const QString &text)
{
    m_placeholder = text;
    setAccessibleDescription(text);
    viewport()->update();
}

void HitList::open(const QModelIndex &index)
{
    if (index.isValid())
        Q_EMIT opened(m_rows.hit(index.row()));
}

void HitList::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        open(currentIndex());
    else
        QTableView::keyPressEvent(event);
}

void HitList::paintEvent(QPaintEvent *event)
{
    QTableView::paintEvent(event);
    if (m_rows.rowCount() == 0)
        paintPlaceholder(*this, m_placeholder);
}

void HitList::changeEvent(QEvent *event)
{
    QTableView::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        fitRows();
}

void HitList::fitRows()
{
    constexpr int margin = 6;
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(fontMetrics().height() + margin);
}
