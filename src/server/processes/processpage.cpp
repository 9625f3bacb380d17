#include "server/processes/processpage.h"

#include "controls/text/sqltextbox.h"
#include "controls/window/building.h"
#include "core/command/writing.h"
#include "server/keyedlist.h"
#include "server/processes/explainwindow.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QSplitter>
#include <QVBoxLayout>

#include <algorithm>
#include <map>

namespace {

enum Column { Mark, Id, User, Host, Database, Command, Seconds, State, Sent, Examined, Statement };

std::vector<KeyedColumn> columns()
{
    return {{QStringLiteral("自分")},
            {QStringLiteral("番号"), true},
            {QStringLiteral("ユーザー")},
            {QStringLiteral("接続元")},
            {QStringLiteral("データベース")},
            {QStringLiteral("種類")},
            {QStringLiteral("秒"), true},
            {QStringLiteral("状態")},
            {QStringLiteral("送った行"), true},
            {QStringLiteral("調べた行"), true},
            {QStringLiteral("文")}};
}

KeyedRow rowOf(const Process &process)
{
    const QString mark = process.owner == Process::Owner::ThisWindow    ? QStringLiteral("この画面")
                         : process.owner == Process::Owner::SameAccount ? QStringLiteral("自分")
                                                                        : QString();
    return {process.id,
            {mark, process.id, process.user, process.host, process.database, process.command, process.seconds,
             process.state, process.rowsSent, process.rowsExamined, process.statement}};
}

} // namespace

ProcessPage::ProcessPage(const ServerSurroundings &around)
    : ServerPage(around, "processPage", QStringLiteral("プロセス"))
    , m_table(new KeyedList("processList", QStringLiteral("プロセスの一覧"), columns()))
    , m_filter(makeFilter("processFilter", *m_table))
    , m_onlyRunning(made<QCheckBox>("onlyRunning", QStringLiteral("実行中だけ")))
    , m_killStatement(tipped<QPushButton>("killStatement", QStringLiteral("文を止める..."),
                                          QStringLiteral("選んだセッションの文を止めます (KILL QUERY)")))
    , m_killSession(tipped<QPushButton>("killSession", QStringLiteral("セッションを終わらせる..."),
                                        QStringLiteral("選んだセッションの接続を切ります (KILL)")))
    , m_explain(tipped<QPushButton>("explainProcess", QStringLiteral("実行計画"),
                                    QStringLiteral("実行中の文がどう実行されているかを示します")))
    , m_toSheet(tipped<QPushButton>("processToSheet", QStringLiteral("シートに入れる"),
                                    QStringLiteral("下の文を新しいSQLシートに入れます")))
    , m_copy(tipped<QPushButton>("copyProcesses", QStringLiteral("コピー"),
                                 QStringLiteral("選んだ行を写します (Ctrl+C)")))
    , m_note(wordsLabel("processNote"))
    , m_statement(made<SqlTextBox>("processStatement"))
{
    buildLayout();
    connectControls();
    showChoice();
}

void ProcessPage::buildLayout()
{
    m_table->setPlaceholderText(QStringLiteral("読んでいます..."));
    m_statement->setReadOnly(true);
    m_statement->setAccessibleName(QStringLiteral("選んだセッションの文"));
    auto *choice = new QHBoxLayout;
    choice->addWidget(m_filter, 1);
    choice->addWidget(m_onlyRunning);
    auto *buttons = new QHBoxLayout;
    for (QPushButton *each : {m_killStatement, m_killSession, m_explain, m_toSheet, m_copy})
        buttons->addWidget(each);
    buttons->addStretch(1);
    auto *split = new QSplitter(Qt::Vertical);
    split->addWidget(m_table);
    split->addWidget(m_statement);
    split->setChildrenCollapsible(false);
    split->setStretchFactor(0, 4);
    split->setStretchFactor(1, 1);
    split->setSizes({400, 110});
    content()->addLayout(choice);
    content()->addWidget(split, 1);
    content()->addWidget(m_note);
    content()->addLayout(buttons);
}

void ProcessPage::connectControls()
{
    connect(m_onlyRunning, &QCheckBox::toggled, this,
            [this](bool isOn) {
                m_table->rows().setCondition(isOn ? [](const KeyedRow &row) {
            return row.cells[Command] != u"Sleep" && row.cells[Command] != u"Daemon";
        } : std::function<bool(const KeyedRow &)>());
            });
    connect(m_table, &KeyedList::choiceChanged, this, &ProcessPage::showChoice);
    connect(m_killStatement, &QPushButton::clicked, this, [this] { kill(Kill::Statement); });
    connect(m_killSession, &QPushButton::clicked, this, [this] { kill(Kill::Session); });
    connect(m_explain, &QPushButton::clicked, this, &ProcessPage::explain);
    connect(m_toSheet, &QPushButton::clicked, this, [this] {
        if (around().openInSheet)
            around().openInSheet(m_statement->contents());
    });
    connect(m_copy, &QPushButton::clicked, m_table, &KeyedList::copy);
}

void ProcessPage::refresh()
{
    ask(
        [reader = m_reader](Session &session) {
            ProcessList list = reader->read(session);
            std::vector<KeyedRow> rows;
            rows.reserve(list.processes.size());
            for (const Process &each : list.processes)
                rows.push_back(rowOf(each));
            return Reading{std::move(list), std::move(rows)};
        },
        [this](Reading reading) { show(std::move(reading)); });
}

void ProcessPage::show(Reading reading)
{
    m_list = std::move(reading.list);
    m_table->show(std::move(reading.table));
    tellProblem(m_list.missing);
    if (!m_wanted.isEmpty())
        m_table->choose(std::exchange(m_wanted, {}));
}

const Process *ProcessPage::process(const QString &id) const
{
    const int place = m_table->rows().place(id);
    return place < 0 ? nullptr : &m_list.processes[static_cast<std::size_t>(place)];
}

const Process *ProcessPage::current() const
{
    return process(m_table->currentKey());
}

bool ProcessPage::isTarget(const QString &id, Kill kill) const
{
    const Process *each = process(id);
    return each && each->owner != Process::Owner::ThisWindow && (kill == Kill::Session || each->isRunning());
}

QStringList ProcessPage::targets(Kill kill) const
{
    QStringList ids = m_table->chosenKeys();
    ids.removeIf([this, kill](const QString &id) { return !isTarget(id, kill); });
    return ids;
}

void ProcessPage::showChoice()
{
    const QStringList chosen = m_table->chosenKeys();
    for (const auto &[button, kill] :
         {std::pair(m_killStatement, Kill::Statement), {m_killSession, Kill::Session}})
        button->setEnabled(
            std::ranges::any_of(chosen, [&](const QString &id) { return isTarget(id, kill); }));
    m_copy->setEnabled(m_table->hasChosen());
    const Process *shown = current();
    m_explain->setEnabled(shown && shown->isRunning() && !shown->statement.isEmpty() &&
                          shown->owner != Process::Owner::ThisWindow);
    m_toSheet->setEnabled(shown && !shown->statement.isEmpty());
    if (!shown)
        return;
    // What is read there shall not move with every reading.
    if (m_shown == shown->id && m_shownExecution == shown->execution + shown->statement)
        return;
    m_shown = shown->id;
    m_shownExecution = shown->execution + shown->statement;
    m_statement->setContents(shown->statement);
    if (!shown->isWhole)
        showWhole(*shown);
}

void ProcessPage::showWhole(const Process &process)
{
    ask([reader = m_reader, id = process.id](
            Session &session) { return reader->readOne(session, id, ProcessReader::Statement::Whole); },
        [this, shown = m_shownExecution](const std::optional<Process> &whole) {
            if (whole && shown == m_shownExecution)
                m_statement->setContents(whole->statement);
        });
}

QString ProcessPage::question(Kill kill, const QStringList &ids) const
{
    constexpr qsizetype mostNamed = 10, mostOfStatement = 60;
    const Session &settings = around().link.settings();
    QStringList lines;
    if (settings.profile.environment == Environment::Production)
        lines << QStringLiteral("本番のサーバー「%1」です。").arg(settings.profile.name);
    lines << (kill == Kill::Statement
                  ? QStringLiteral("サーバー %1 で、%2 個のセッションの文を止めます (KILL QUERY)。")
                  : QStringLiteral("サーバー %1 で、%2 個のセッションを終わらせます (KILL)。"
                                   "確定していない変更は取り消されます。"))
                 .arg(serverName(settings), QLocale().toString(ids.size()));
    for (const QString &id : ids.mid(0, mostNamed)) {
        const Process *each = process(id);
        if (!each)
            continue;
        QString line = QStringLiteral("・%1 %2@%3").arg(id, each->user, each->host);
        line += QStringLiteral(": ") + (each->statement.isEmpty() // a replica's "Binlog Dump" as well
                                            ? each->command
                                            : each->statement.simplified().left(mostOfStatement));
        lines << visibleItem(line);
    }
    if (ids.size() > mostNamed)
        lines << QStringLiteral("ほか %1 個").arg(ids.size() - mostNamed);
    lines << QStringLiteral("続けますか？");
    return lines.join(QStringLiteral("\r\n"));
}

void ProcessPage::kill(Kill kill)
{
    m_note->clear(); // of what was done before
    // As it is now: the list goes on being read while the box waits.
    const QStringList ids = targets(kill);
    const ProcessList list = m_list;
    if (ids.isEmpty() || !around().dialogue.warn(question(kill, ids)))
        return;
    struct Result {
        std::vector<KillOutcome> outcomes;
        QString whyNone; // above the list the next reading would wipe it away
    };
    ask(
        [=, reader = m_reader](Session &session) {
            try {
                return Result{killProcesses(session, *reader, list, ids, kill), {}};
            } catch (const Failure &failure) {
                if (failure.isConnectionLost() || failure.isInterrupted())
                    throw;
                return Result{{}, failure.description()};
            }
        },
        [this, kill](const Result &result) {
            tellOutcomes(result.outcomes, kill);
            if (!result.whyNone.isEmpty())
                m_note->setText(result.whyNone);
            refresh();
        });
}

void ProcessPage::tellOutcomes(const std::vector<KillOutcome> &outcomes, Kill kill)
{
    using End = KillOutcome::End;
    std::map<End, QStringList> ids;
    QStringList words;
    for (const KillOutcome &each : outcomes) {
        ids[each.end] << each.id;
        if (each.end == End::Refused && !words.contains(each.words))
            words << each.words;
        if (each.end == End::Done || each.end == End::Refused)
            around().log->add(
                {QDateTime::currentDateTime(),
                 (kill == Kill::Statement ? QStringLiteral("KILL QUERY ") : QStringLiteral("KILL ")) +
                     each.id,
                 0, -1, each.words});
    }
    QStringList parts;
    for (const auto &[end, text] :
         {std::pair(End::Done, kill == Kill::Statement ? QStringLiteral("文を止めました: ")
                                                       : QStringLiteral("セッションを終わらせました: ")),
          {End::Gone, kill == Kill::Statement ? QStringLiteral("その文はもう終わっていました: ")
                                              : QStringLiteral("もうありませんでした: ")},
          {End::Other, QStringLiteral("同じ番号の別のセッションなので、何もしていません: ")},
          {End::Refused, QStringLiteral("サーバーが断りました: ")}})
        if (ids.contains(end))
            parts << text + ids[end].join(QStringLiteral(", "));
    m_note->setText((parts + words).join(u'\n'));
}

void ProcessPage::explain()
{
    const Process *shown = current();
    if (!shown)
        return;
    ask([id = shown->id](Session &session) { return explainProcess(session.connection(), id); },
        [this, id = shown->id](const ExplainedProcess &explained) {
            if (explained.words.isEmpty())
                showExplained(this, id, explained);
            else
                m_note->setText(explained.words);
        });
}

void ProcessPage::goTo(const QString &id)
{
    m_onlyRunning->setChecked(false);
    m_filter->clear();
    m_table->setFocus();
    m_wanted = m_table->choose(id) ? QString() : id;
}
