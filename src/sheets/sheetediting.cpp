// How the rows of a sheet's results are edited: over the sheet's own connection, which is lent to that.
#include "controls/grid/flexgrid.h"
#include "sheets/borrowedconnection.h"
#include "sheets/sheetpage.h"
#include "sheets/sheetresults.h"

// Anew after each use: what broke, or was put in its place while a saving found out what had become of it, is
// left behind.
void SheetPage::lendConnection()
{
    const auto make = [this](const QString &) {
        return std::make_unique<BorrowedConnection>(m_thread->worker(), m_pump,
                                                    [this] { return !m_isRunning; });
    };
    m_settings->gCn = m_settings->runner.stoppable(logged(make, m_settings->statementLog))({});
}

bool SheetPage::mayEditResult() const
{
    const SheetResult *result = m_results->shown();
    return m_around.services.editRows && result && result->isEnabled() && !result->editor() &&
           !result->table().name.isEmpty() && !isRunning();
}

void SheetPage::editResult()
{
    if (!mayEditResult())
        return;
    const QPointer<SheetResult> result = m_results->shown();
    std::unique_ptr<EditedRows> editor =
        m_around.services.editRows(*m_settings, m_around.dialogue, result->grid(), result->table());
    if (editor && result) {
        result->setEditor(std::move(editor));
        result->grid().setFocus(); // the button that was pressed is off now
    }
    Q_EMIT changed();
}

bool SheetPage::mayLeaveResults()
{
    return m_results->mayClose();
}

void SheetPage::takeEditingEnd()
{
    if (const std::optional<bool> is =
            m_settings->gCn ? m_settings->gCn->effect().isInTransaction : std::nullopt)
        m_isInTransaction = *is;
    lendConnection();
    Q_EMIT changed();
}
