// What the main window offers of its objects' structure: changing, comparing, searching, and going to what
// was found.
#include "browser/frmTarnwell.h"
#include "structure/alter/alterwindow.h"
#include "structure/compare/comparewindow.h"
#include "structure/search/searchhit.h"
#include "structure/search/searchwindow.h"

namespace {

void bringToFront(QWidget &window)
{
    window.show();
    window.raise();
    window.activateWindow();
}

QString itemOf(const ChosenList &list, const QString &tag, const QString &name)
{
    for (const QString &text : list.texts())
        if (const ListItem item = ListItem::parse(text);
            item.name == name && (tag.isEmpty() || item.tag == tag))
            return text;
    return {};
}

} // namespace

void frmTarnwell::showAlter()
{
    if (m_session.runner.isRunning() || !m_rows.mayLeave())
        return;
    m_dialogue.setLastError({}, true);
    const Selection chosen = selection();
    Outcome outcome;
    std::optional<AlterRequest> request;
    runAlone(this, QStringLiteral("ALTER文を表示"), [&] {
        const BusyPointer busy(m_dialogue);
        CommandContext context{m_session, chosen, m_dialogue};
        request = readAlterRequest(context, outcome);
    });
    reload(outcome.reload);
    if (!request)
        return;
    AlterWindow window(
        m_session, *request, [this](const QString &text) { m_sheets.propose(text); }, this);
    window.exec();
    if (!window.report().isBegun)
        return;
    if (request->to.name != request->from.name) {
        reload(Reload::Objects);
    } else {
        keepEdits(true, false);
        runAlone(m_controls.lstTables, QStringLiteral("一覧の読み込み"), [this] {
            const BusyPointer busy(m_dialogue);
            m_detail.lstTables_Click();
        });
    }
    // Whoever has left the window while it ran reads it here.
    if (!window.report().isAsWanted && m_controls.txtError->toPlainText().isEmpty())
        m_dialogue.setLastError(window.report().words, false);
}

void frmTarnwell::openCompare()
{
    bringToFront(*new CompareWindow(m_session, {copyTargets(), m_controls.lstDb->texts(),
                                                [this](const QString &text) { m_sheets.propose(text); }}));
}

void frmTarnwell::openSearch()
{
    // One window; another server takes the place of the last one.
    if (m_search && !m_search->isOf(m_session))
        delete m_search;
    if (!m_search) {
        m_search = new SearchWindow(m_session);
        connect(m_search, &SearchWindow::opened, this, &frmTarnwell::openHit);
    }
    bringToFront(*m_search);
    m_search->offer(m_controls.lstDb->currentText(), m_controls.lblTableName->text());
}

// The list, the detail and the view in which it is seen.
void frmTarnwell::openHit(const SearchHit &hit)
{
    using Kind = SearchHit::Kind;
    TarnwellControls &c = m_controls;
    if (!m_session.gCn || m_session.runner.isRunning() || (m_search && !m_search->isOf(m_session)))
        return;
    bringToFront(*this);
    if (c.lstDb->texts().isEmpty())
        cmdShowDb_Click();
    if (hit.kind == Kind::Value)
        return openRows(hit.database, hit.object, hit.condition);
    if (c.lstDb->currentText() != hit.database)
        c.lstDb->choose(hit.database);
    if (hit.kind == Kind::Database || hit.kind == Kind::Event || c.lstDb->currentText() != hit.database)
        return;
    const bool isRoutine = hit.kind == Kind::Procedure || hit.kind == Kind::Function;
    ChosenList &list = isRoutine ? *c.lstProcFunc : *c.lstTables;
    const QString tag = !isRoutine                    ? QString()
                        : hit.kind == Kind::Procedure ? QStringLiteral("[PROC]")
                                                      : QStringLiteral("[FUNC]");
    const QString item = itemOf(list, tag, hit.object);
    if (item.isEmpty())
        return m_dialogue.refuse(QStringLiteral("一覧にありません: ") + hit.database + u'.' + hit.object);
    list.choose(item);
    if (!isRoutine)
        c.optField[hit.kind == Kind::View ? 0 : 1]->setChecked(true);
}
