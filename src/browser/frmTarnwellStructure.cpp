// What the main window offers of its objects' structure: changing, comparing, searching, and going to what
// was found.
#include "browser/frmTarnwell.h"
#include "controls/window/building.h"
#include "maintenance/boundobjectdialog.h"
#include "structure/alter/alterwindow.h"
#include "structure/compare/comparewindow.h"
#include "structure/diagram/diagramwindow.h"
#include "structure/search/searchhit.h"
#include "structure/search/searchwindow.h"
#include "structure/surroundings/renametable.h"
#include "structure/surroundings/surroundingspane.h"

#include <QInputDialog>

namespace {

SearchHit::Kind hitKind(RelatedThing::Kind kind)
{
    switch (kind) {
    case RelatedThing::Kind::View:
        return SearchHit::Kind::View;
    case RelatedThing::Kind::Procedure:
        return SearchHit::Kind::Procedure;
    case RelatedThing::Kind::Function:
        return SearchHit::Kind::Function;
    default:
        return SearchHit::Kind::Table;
    }
}

BoundObject boundObject(const RelatedThing &thing)
{
    const bool isTrigger = thing.kind == RelatedThing::Kind::Trigger;
    return {isTrigger, thing.database, thing.name.isEmpty() ? QString() : thing.object};
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
    } else if (!window.report().isUnchanged) { // else the edited text stays, to be mended

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
    bringToFront(*new CompareWindow(m_session, {savedConnections(), m_controls.lstDb->texts(),
                                                [this](const QString &text, std::unique_ptr<Session> there) {
                                                    m_sheets.propose(text, std::move(there));
                                                }}));
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
    if (!m_panel.isConnected() || m_session.runner.isRunning() || (m_search && !m_search->isOf(m_session)))
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

void frmTarnwell::toggleSurroundings()
{
    const auto close = [this] {
        const bool hasFocus = m_surroundings->isAncestorOf(focusWidget());
        m_surroundings->hide();
        if (hasFocus) // which else goes to whatever button is next
            (m_controls.picTable->isVisible() ? m_controls.lstTables : m_controls.lstProcFunc)->setFocus();
    };
    if (m_surroundings && m_surroundings->isVisible() && m_surroundings->isOf(m_session))
        return close();
    if (m_surroundings && !m_surroundings->isOf(m_session))
        delete m_surroundings;
    if (!m_surroundings) {
        // Beside the panels of tables and routines.
        auto *splitter = qobject_cast<QSplitter *>(m_controls.picTable->parentWidget()->parentWidget());
        m_surroundings = new SurroundingsPane(m_session);
        splitter->addWidget(m_surroundings);
        splitter->setSizes({150, 600, 250});
        followInTabOrder(*m_controls.cmdDropProc, m_surroundings->controls()); // the last one to its left
        connect(m_surroundings, &SurroundingsPane::opened, this, [this](const RelatedThing &thing) {
            openHit({hitKind(thing.kind), thing.database, thing.object, thing.object, {}, {}});
        });
        connect(m_surroundings, &SurroundingsPane::changeWanted, this, &frmTarnwell::editRelated);
        connect(m_surroundings, &SurroundingsPane::dropWanted, this, &frmTarnwell::dropRelated);
        connect(m_surroundings, &SurroundingsPane::closed, this, close);
    }
    m_surroundings->show();
    m_surroundings->controls().first()->setFocus();
    showSurroundings();
}

// What is chosen now; where the connection has gone, the pane goes with it.
void frmTarnwell::showSurroundings()
{
    if (!m_surroundings || m_surroundings->isHidden())
        return;
    if (!m_session.gCn || !m_session.gCn->isOpen() || !m_surroundings->isOf(m_session)) {
        m_surroundings->deleteLater();
        m_surroundings.clear();
        return;
    }
    const bool isTable = m_controls.lblPreTable->text() == u"1";
    m_surroundings->showOf(m_controls.lstDb->currentText(),
                           isTable ? m_controls.lblTableName->text() : QString());
}

void frmTarnwell::editRelated(const RelatedThing &thing)
{
    if (m_session.runner.isRunning())
        return;
    const BoundObject object = boundObject(thing);
    QString text = newBoundText(object.isTrigger, thing.object);
    if (!object.name.isEmpty()) {
        text.clear();
        runAlone(this, QStringLiteral("定義の読み込み"), [&] { text = readBoundObject(m_session, object); });
    }
    if (!text.isEmpty() && editBoundObject(this, m_session, object, text))
        showSurroundings();
}

void frmTarnwell::dropRelated(const RelatedThing &thing)
{
    const BoundObject object = boundObject(thing);
    runAlone(this, QStringLiteral("削除"), [&] { dropBoundObject(m_session, m_dialogue, object); });
    showSurroundings();
}

void frmTarnwell::renameShown()
{
    const QString database = m_controls.lstDb->currentText(), table = m_controls.lblTableName->text();
    if (m_session.runner.isRunning() || !m_rows.mayLeave())
        return;
    const QString name =
        QInputDialog::getText(this, QStringLiteral("名前の変更"),
                              QStringLiteral("%1 の新しい名前(&N):").arg(table), QLineEdit::Normal, table);
    if (name.isEmpty() || name == table)
        return;
    bool isRenamed = false;
    runAlone(this, QStringLiteral("名前の変更"),
             [&] { isRenamed = renameTable(m_session, m_dialogue, database, table, name); });
    if (!isRenamed)
        return;
    reload(Reload::Objects);
    if (const QString item = itemOf(*m_controls.lstTables, {}, name); !item.isEmpty())
        m_controls.lstTables->choose(item);
}

void frmTarnwell::openDiagram()
{
    delete m_diagram; // of another database, or as it was some time ago
    m_diagram =
        new DiagramWindow(m_session, m_controls.lstDb->currentText(), m_controls.lblTableName->text());
    connect(m_diagram, &DiagramWindow::opened, this, [this](const QString &database, const QString &table) {
        openHit({SearchHit::Kind::Table, database, table, table, {}, {}});
    });
    bringToFront(*m_diagram);
}
