#include "browser/sheetroom.h"

#include "controls/window/building.h"
#include "core/command/writing.h"
#include "core/sql/passwords.h"
#include "rows/resultrows.h"
#include "sheets/historywindow.h"
#include "transfer/commands.h"

#include <algorithm>

SheetRoom::~SheetRoom()
{
    // It works on the session, which ends soon after this.
    delete m_window;
}

void SheetRoom::propose(const QString &statement, std::unique_ptr<Session> there)
{
    show();
    m_window->propose(statement, std::move(there));
}

void SheetRoom::open()
{
    if (isActive())
        m_window->addSheet();
    else
        show();
}

void SheetRoom::show()
{
    if (!m_window)
        m_window = new SheetWindow(m_session, services());
    bringToFront(*m_window);
}

QStringList SheetRoom::lastStatements()
{
    constexpr int most = 300;
    QStringList statements;
    HistoryStore *store = history();
    if (!store)
        return statements;
    std::vector<HistoryEntry> entries = store->find({}, most);
    std::ranges::sort(entries, std::greater(), &HistoryEntry::id); // favourites come first from there
    for (const HistoryEntry &entry : entries)
        statements << entry.statement;
    statements.removeDuplicates();
    return statements;
}

SheetServices SheetRoom::services()
{
    SheetServices services;
    services.remember = [this](const HistoryEntry &note) { remember(note); };
    services.openHistory = [this](QWidget *window, const std::function<void(const QString &)> &put) {
        return openHistory(window, put);
    };
    services.lastStatements = [this] { return lastStatements(); };
    services.offerExport = [](FlexGrid &grid, const std::shared_ptr<Session> &session) {
        ::offerExport(grid, session);
    };
    services.editRows = [](Session &session, Dialogue &dialogue, FlexGrid &grid,
                           const SelectedTable &table) -> std::unique_ptr<EditedRows> {
        auto rows = std::make_unique<ResultRows>(session, dialogue, grid);
        if (!rows->begin(table.database, table.name))
            return nullptr;
        return rows;
    };
    return services;
}

void SheetRoom::takeMarks(const ConnectionProfile &profile)
{
    if (m_window)
        m_window->takeMarks(profile);
}

bool SheetRoom::close()
{
    return !m_window || m_window->close();
}

HistoryStore *SheetRoom::history(const QString &justRun)
{
    if (!m_history && m_whyNoHistory.isEmpty())
        m_history = openHistoryStore(m_session, m_whyNoHistory, justRun);
    return m_history.get();
}

QString SheetRoom::openHistory(QWidget *parent, std::function<void(const QString &)> put)
{
    HistoryStore *store = history();
    if (!store)
        return QStringLiteral("履歴を開けません。\r\n") + m_whyNoHistory;
    if (!put)
        put = [this](const QString &text) { propose(text); };
    (new HistoryWindow(*store, parent, std::move(put)))->show();
    return {};
}

void SheetRoom::remember(HistoryEntry entry)
{
    HistoryStore *store = holdsPassword(entry.statement) ? nullptr : history(entry.statement);
    if (!store)
        return;
    entry.time = QDateTime::currentDateTime();
    if (entry.server.isEmpty())
        entry.server = serverName(m_session);
    store->add(entry);
}
