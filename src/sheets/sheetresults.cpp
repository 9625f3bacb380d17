#include "sheets/sheetresults.h"

#include "controls/grid/flexgrid.h"
#include "controls/window/building.h"

#include <QLocale>
#include <QPlainTextEdit>
#include <QTabBar>

namespace {

constexpr const char *pinned = "pinned", *number = "number";
constexpr int mostMessages = 5000; // lines

} // namespace

SheetResults::SheetResults(QWidget *parent)
    : QTabWidget(parent)
    , m_messages(made<QPlainTextEdit>("sheetMessages"))
{
    setObjectName(QStringLiteral("sheetResults"));
    setDocumentMode(true);
    m_messages->setReadOnly(true);
    m_messages->setMaximumBlockCount(mostMessages);
    m_messages->setAccessibleName(QStringLiteral("メッセージ"));
    addTab(m_messages, QStringLiteral("メッセージ"));
}

bool SheetResults::isMessages(int tab) const
{
    return widget(tab) == m_messages;
}

FlexGrid *SheetResults::grid() const
{
    return qobject_cast<FlexGrid *>(currentWidget());
}

void SheetResults::beginRun()
{
    m_number = 0;
    m_filled.clear();
    m_isGrey = true;
    for (int i = 0; i < count(); ++i)
        if (!isMessages(i) && !widget(i)->property(pinned).toBool())
            widget(i)->setEnabled(false);
}

// What gave no result at all leaves the last ones grey.
void SheetResults::endRun()
{
    showCount();
    if (m_filled)
        m_filled->setRedraw(true);
    m_filled.clear();
}

void SheetResults::dropGrey()
{
    if (!std::exchange(m_isGrey, false))
        return;
    for (int i = count() - 1; i >= 0; --i)
        if (!widget(i)->isEnabled())
            widget(i)->deleteLater(), removeTab(i);
}

void SheetResults::beginGrid(const std::vector<Field> &fields)
{
    dropGrey();
    showCount();
    auto *grid = new FlexGrid;
    grid->setObjectName(QStringLiteral("sheetGrid_%1").arg(++m_number));
    grid->setProperty(number, m_number);
    grid->setFields(fields);
    m_filled = grid;
    const int tab = addTab(grid, QString());
    showCount();
    if (m_number == 1)
        setCurrentIndex(tab);
}

void SheetResults::addRows(const RowBlock &rows)
{
    if (!m_filled)
        return;
    const RedrawOff redrawOff(*m_filled);
    for (int row = 0; row < rows.rowCount(); ++row) {
        rows.read(row, m_cells);
        m_filled->appendRow(m_cells);
    }
    showCount();
}

void SheetResults::showCount()
{
    if (m_filled)
        setTabText(indexOf(m_filled), QStringLiteral("結果 %1（%2 行）")
                                          .arg(m_filled->property(number).toInt())
                                          .arg(QLocale().toString(m_filled->rowCount())));
}

void SheetResults::say(const QString &line)
{
    m_messages->appendPlainText(line);
}

void SheetResults::showMessages()
{
    dropGrey();
    setCurrentWidget(m_messages);
}

void SheetResults::setPinned(bool isOn)
{
    FlexGrid *shown = grid();
    if (!shown)
        return;
    shown->setProperty(pinned, isOn);
    const QString sign = QStringLiteral("固定: ");
    const QString text = tabText(currentIndex());
    if (isOn != text.startsWith(sign))
        setTabText(currentIndex(), isOn ? sign + text : text.mid(sign.size()));
}

bool SheetResults::isPinned() const
{
    return grid() && grid()->property(pinned).toBool();
}
