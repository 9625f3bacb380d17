#include "sheets/sheetresults.h"

#include "controls/grid/editedrows.h"
#include "controls/grid/flexgrid.h"
#include "controls/window/building.h"

#include <QLocale>
#include <QPlainTextEdit>
#include <QTabBar>
#include <QVBoxLayout>

namespace {

constexpr int mostMessages = 5000; // lines

} // namespace

SheetResult::SheetResult(const std::vector<Field> &fields, SelectedTable table, int number)
    : m_grid(made<FlexGrid>(QStringLiteral("sheetGrid_%1").arg(number).toLatin1().constData()))
    , m_table(std::move(table))
    , m_number(number)
{
    m_grid->setFields(fields);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(m_grid, 1);
    setFocusProxy(m_grid);
}

// It works on the grid to its end.
SheetResult::~SheetResult()
{
    delete m_editor;
}

void SheetResult::setEditor(std::unique_ptr<EditedRows> editor)
{
    m_editor = editor.release();
    layout()->addWidget(m_editor);
}

QString SheetResult::title() const
{
    return (isPinned ? QStringLiteral("固定: ") : QString()) +
           QStringLiteral("結果 %1（%2 行）").arg(m_number).arg(QLocale().toString(m_grid->rowCount()));
}

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

SheetResult *SheetResults::at(int tab) const
{
    return qobject_cast<SheetResult *>(widget(tab));
}

SheetResult *SheetResults::shown() const
{
    return at(currentIndex());
}

bool SheetResults::mayLeave(bool alsoPinned)
{
    for (int i = 0; i < count(); ++i) {
        const SheetResult *result = at(i);
        if (!result || !result->editor() || (result->isPinned && !alsoPinned))
            continue;
        if (result->editor()->changeCount() > 0)
            setCurrentIndex(i);
        if (!result->editor()->mayLeave())
            return false;
    }
    return true;
}

bool SheetResults::mayBeginRun()
{
    return mayLeave(false);
}

bool SheetResults::mayClose()
{
    return mayLeave(true);
}

void SheetResults::beginRun()
{
    m_number = 0;
    m_filled.clear();
    m_isGrey = true;
    for (int i = 0; i < count(); ++i)
        if (SheetResult *result = at(i); result && !result->isPinned)
            result->setEnabled(false);
}

// What gave no result at all leaves the last ones grey.
void SheetResults::endRun()
{
    if (m_filled)
        showTitle(*m_filled);
    m_filled.clear();
}

void SheetResults::dropGrey()
{
    if (!std::exchange(m_isGrey, false))
        return;
    for (int i = count() - 1; i >= 0; --i)
        if (SheetResult *result = at(i); result && !result->isEnabled()) {
            removeTab(i);
            result->deleteLater();
        }
}

SheetResult &SheetResults::beginGrid(const std::vector<Field> &fields, const SelectedTable &table)
{
    dropGrey();
    auto *result = new SheetResult(fields, table, ++m_number);
    m_filled = result;
    const int tab = addTab(result, result->title());
    if (m_number == 1)
        setCurrentIndex(tab);
    return *result;
}

void SheetResults::addRows(RowBlock &&rows)
{
    if (!m_filled)
        return;
    m_filled->grid().appendBlock(std::move(rows));
    showTitle(*m_filled);
}

void SheetResults::showTitle(SheetResult &result)
{
    setTabText(indexOf(&result), result.title());
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
    if (SheetResult *result = shown()) {
        result->isPinned = isOn;
        showTitle(*result);
    }
}

bool SheetResults::isPinned() const
{
    return shown() && shown()->isPinned;
}
