#include "server/variables/variablepage.h"

#include "controls/window/building.h"
#include "core/command/writing.h"
#include "core/session/basconnection.h"
#include "core/session/wholefile.h"
#include "core/sql/passwords.h"
#include "server/keyedlist.h"
#include "server/variables/setvariablewindow.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <utility>

namespace {

enum Column { Name, SessionValue, GlobalValue, Preset, Changed, Other };

std::vector<KeyedColumn> columns()
{
    return {{QStringLiteral("変数")},
            {QStringLiteral("この画面の接続 (SESSION)")},
            {QStringLiteral("サーバー (GLOBAL)")},
            {QStringLiteral("既定値")},
            {QStringLiteral("変更")},
            {QStringLiteral("比べる相手 (GLOBAL)")}};
}

QString shown(const std::optional<QString> &value)
{
    return value ? u'「' + *value + u'」' : QStringLiteral("（なし）");
}

} // namespace

VariablePage::VariablePage(const ServerSurroundings &around)
    : ServerPage(around, "variablePage", QStringLiteral("変数"))
    , m_table(new KeyedList("variableList", QStringLiteral("変数の一覧"), columns()))
    , m_filter(makeFilter("variableFilter", *m_table))
    , m_onlyChanged(made<QCheckBox>("onlyChanged", QStringLiteral("変えられたものだけ")))
    , m_onlyDifferent(made<QCheckBox>("onlyDifferent", QStringLiteral("相手と違うものだけ")))
    , m_servers(made<QComboBox>("comparedServer"))
    , m_compare(made<QPushButton>("compareVariables", QStringLiteral("比べる")))
    , m_set(made<QPushButton>("setVariable", QStringLiteral("値を変える...")))
    , m_toSheet(made<QPushButton>("variableToSheet", QStringLiteral("シートに入れる")))
    , m_export(made<QPushButton>("exportVariables", QStringLiteral("書き出す...")))
    , m_copy(made<QPushButton>("copyVariables", QStringLiteral("コピー")))
    , m_about(wordsLabel("variableAbout"))
    , m_note(wordsLabel("variableNote"))
{
    buildLayout();
    connectControls();
    offerServers();
    showChoice();
}

void VariablePage::buildLayout()
{
    m_table->setPlaceholderText(QStringLiteral("読んでいます..."));
    m_table->setColumnHidden(Other, true);
    m_onlyDifferent->setEnabled(false);
    m_servers->setAccessibleName(QStringLiteral("比べる接続先"));
    m_servers->setToolTip(QStringLiteral("保存した接続先のサーバーの値を並べます"));
    m_toSheet->setToolTip(
        QStringLiteral("選んだ変数を今の値にする SET SESSION 文を新しいSQLシートに入れます"));
    m_set->setToolTip(QStringLiteral("選んだ変数の値を変えます。送る文を示して確認します"));
    m_copy->setToolTip(QStringLiteral("選んだ行を写します (Ctrl+C)"));
    m_export->setToolTip(QStringLiteral("すべての変数をテキストファイルに書きます"));
    auto *choice = new QHBoxLayout;
    choice->addWidget(m_filter, 1);
    for (QWidget *each :
         std::initializer_list<QWidget *>{m_onlyChanged, m_servers, m_compare, m_onlyDifferent})
        choice->addWidget(each);
    auto *buttons = new QHBoxLayout;
    for (QPushButton *each : {m_set, m_toSheet, m_export, m_copy})
        buttons->addWidget(each);
    buttons->addStretch(1);
    content()->addLayout(choice);
    content()->addWidget(m_table, 1);
    content()->addWidget(m_about);
    content()->addWidget(m_note);
    content()->addLayout(buttons);
}

void VariablePage::connectControls()
{
    connect(m_table, &KeyedList::choiceChanged, this, &VariablePage::showChoice);
    connect(m_table, &KeyedList::activatedRow, this, &VariablePage::set);
    connect(m_onlyChanged, &QCheckBox::toggled, this, &VariablePage::showCondition);
    connect(m_onlyDifferent, &QCheckBox::toggled, this, &VariablePage::showCondition);
    connect(m_compare, &QPushButton::clicked, this, &VariablePage::compare);
    connect(m_set, &QPushButton::clicked, this, &VariablePage::set);
    connect(m_toSheet, &QPushButton::clicked, this, &VariablePage::toSheet);
    connect(m_export, &QPushButton::clicked, this, &VariablePage::exportAll);
    connect(m_copy, &QPushButton::clicked, m_table, &KeyedList::copy);
}

void VariablePage::refresh()
{
    ask([](Session &session) { return readVariables(session.connection()); },
        [this](VariableList list) { show(std::move(list)); });
}

void VariablePage::show(VariableList list)
{
    m_list = std::move(list);
    m_onlyChanged->setEnabled(m_list.tellsPresets);
    if (!m_list.tellsPresets) {
        m_onlyChanged->setChecked(false);
        tellProblem(QStringLiteral("このサーバーは、既定値と、変えられた変数を教えません。"));
    }
    showRows();
}

bool VariablePage::isDifferent(const QString &name) const
{
    const Variable *here = variableOf(m_list, name), *there = variableOf(m_other, name);
    return !here || !there || here->global != there->global;
}

QStringList VariablePage::row(const Variable &variable) const
{
    QStringList marks;
    if (variable.isChanged)
        marks << variable.origin;
    if (variable.mayBeChanged)
        marks << QStringLiteral("SET (全体か接続だけかは不明)");
    if (variable.session && variable.global && variable.session != variable.global)
        marks << QStringLiteral("接続だけ違う");
    const Variable *other = variableOf(m_other, variable.name);
    return {variable.name,
            variable.session.value_or(QString()),
            variable.global.value_or(QString()),
            variable.preset.value_or(QString()),
            marks.join(QStringLiteral("、")),
            m_otherName.isEmpty() ? QString()
            : !other              ? QStringLiteral("（ありません）")
                                  : other->global.value_or(QString())};
}

void VariablePage::showRows()
{
    std::vector<KeyedRow> rows;
    for (const Variable &each : m_list.variables)
        rows.push_back({each.name, row(each), each.isChanged});
    if (!m_otherName.isEmpty())
        for (const Variable &each : m_other.variables)
            if (!variableOf(m_list, each.name))
                rows.push_back({each.name,
                                {each.name,
                                 {},
                                 QStringLiteral("（ありません）"),
                                 {},
                                 {},
                                 each.global.value_or(QString())}});
    m_table->show(std::move(rows));
    showChoice();
}

void VariablePage::showCondition()
{
    const bool changed = m_onlyChanged->isChecked(), different = m_onlyDifferent->isChecked();
    m_table->rows().setCondition([=, this](const KeyedRow &row) {
        return (!changed || !row.cells[Changed].isEmpty()) && (!different || isDifferent(row.key));
    });
}

void VariablePage::showChoice()
{
    const Variable *variable = variableOf(m_list, m_table->currentKey());
    m_set->setEnabled(variable);
    m_toSheet->setEnabled(variable && variable->session && around().openInSheet);
    m_copy->setEnabled(m_table->hasChosen());
    m_export->setEnabled(!m_list.variables.empty());
    m_about->setText(variable ? visibleText(variable->about) : QString());
}

void VariablePage::set()
{
    const Variable *variable = variableOf(m_list, m_table->currentKey());
    if (!variable)
        return;
    auto *window = new SetVariableWindow(m_list, *variable, this);
    connect(window, &SetVariableWindow::chosen, this, &VariablePage::prepare);
    window->open();
}

// What is shown as the old value is the one that the server has now.
void VariablePage::prepare(const Variable &variable, VariableScope scope, const QString &statement)
{
    m_note->clear(); // of what was done before
    // A session that is one's own may be set, but not so that a read-only connection writes.
    const Session &settings = around().link.settings();
    const bool changesServer = scope != VariableScope::Session;
    if ((changesServer || (settings.profile.isReadOnly && mayChange(statement))) &&
        !confirmsWriting(settings, around().dialogue))
        return;
    ask([=,
         name = variable.name](Session &session) { return readVariable(session.connection(), scope, name); },
        [=, this](const std::optional<QString> &before) {
            if (around().dialogue.warn(question(variable, scope, statement, before)))
                send(variable, scope, statement, before);
        });
}

QString VariablePage::question(const Variable &variable, VariableScope scope, const QString &statement,
                               const std::optional<QString> &before) const
{
    const Session &settings = around().link.settings();
    QStringList lines{(scope == VariableScope::Session
                           ? QStringLiteral("サーバー %1 へのこの画面の接続で、変数 %2 の値を変えます。")
                           : QStringLiteral("サーバー %1 で、変数 %2 の値を変えます。"))
                          .arg(serverName(settings), variable.name),
                      QStringLiteral("今の値: ") + shown(before), maskedPasswords(statement)};
    if (scope != VariableScope::Session && scope != VariableScope::PersistOnly && variable.session)
        lines << QStringLiteral("すでにある接続の値は変わりません。");
    lines << QStringLiteral("続けますか？");
    return visibleText(lines.join(u'\n')).replace(u'\n', QStringLiteral("\r\n"));
}

void VariablePage::send(const Variable &variable, VariableScope scope, const QString &statement,
                        const std::optional<QString> &before)
{
    struct Result {
        std::optional<QString> after;
        QString refusal, warnings;
    };
    ask(
        [=, name = variable.name](Session &session) {
            Result result;
            try {
                session.connection().execute(statement);
                result.warnings = readWarnings(session.connection());
            } catch (const Failure &failure) {
                if (failure.isConnectionLost() || failure.isInterrupted())
                    throw;
                result.refusal = failure.description();
            }
            result.after = readVariable(session.connection(), scope, name);
            return result;
        },
        [=, this, name = variable.name](const Result &result) {
            around().log->add({QDateTime::currentDateTime(), maskedPasswords(statement), 0, -1,
                               maskedPasswords(result.refusal)});
            const QString warnings = result.warnings.isEmpty() ? QString() : u'\n' + result.warnings;
            m_note->setText(
                result.refusal.isEmpty()
                    ? QStringLiteral("%1: %2 → %3").arg(name, shown(before), shown(result.after)) +
                          visibleText(warnings)
                    : QStringLiteral("サーバーが断りました。%1 の値は %2 です: %3")
                          .arg(name, shown(result.after), result.refusal));
            refresh();
        });
}

void VariablePage::toSheet()
{
    const Variable *variable = variableOf(m_list, m_table->currentKey());
    if (variable && variable->session)
        around().openInSheet(
            setVariableStatement(VariableScope::Session, m_list, *variable, variable->session));
}

void VariablePage::exportAll()
{
    const QString path =
        QFileDialog::getSaveFileName(this, QStringLiteral("変数の書き出し"), QStringLiteral("variables.txt"));
    if (path.isEmpty())
        return;
    std::vector<const Variable *> all;
    for (const Variable &each : m_list.variables)
        all.push_back(&each);
    const QString problem = saveWholeFile(path, exportText(all).toUtf8());
    m_note->setText(problem.isEmpty()
                        ? QStringLiteral("%1 個の変数を書き出しました: %2").arg(all.size()).arg(path)
                        : QStringLiteral("書き出せませんでした: ") + problem);
}

void VariablePage::offerServers()
{
    m_servers->addItem(QStringLiteral("（比べない）"));
    for (const ConnectionProfile &each : around().savedConnections.all())
        m_servers->addItem(visibleName(each.name), each.id);
}

void VariablePage::compare()
{
    const QString id = m_servers->currentData().toString();
    if (id.isEmpty())
        return endComparing({});
    for (const ConnectionProfile &profile : around().savedConnections.all()) {
        if (profile.id != id)
            continue;
        const std::optional<QString> password = around().savedConnections.password(profile, this);
        if (!password)
            return;
        const std::unique_ptr<Session> there = siblingOf(around().link.settings(), {});
        useProfile(*there, profile, *password);
        m_compare->setEnabled(false);
        m_note->setText(QStringLiteral("「%1」に接続しています...").arg(visibleName(profile.name)));
        m_otherLink = std::make_unique<ServerLink>(*there);
        m_otherLink->ask(
            *this, [](Session &session) { return readVariables(session.connection()); },
            [this, name = profile.name](VariableList list) {
                m_other = std::move(list);
                m_otherName = name;
                endComparing({});
            },
            [this, name = profile.name](const Failure &failure) {
                m_otherName.clear();
                endComparing(QStringLiteral("「%1」の変数を読めません: ").arg(visibleName(name)) +
                             failure.description());
            });
        return;
    }
    endComparing(QStringLiteral("その接続先はもうありません。"));
}

void VariablePage::endComparing(const QString &words)
{
    // It is called by the link itself.
    if (m_otherLink)
        m_otherLink.release()->deleteLater();
    if (m_servers->currentData().toString().isEmpty())
        m_otherName.clear();
    if (m_otherName.isEmpty())
        m_other = {};
    m_compare->setEnabled(true);
    m_onlyDifferent->setEnabled(!m_otherName.isEmpty());
    if (m_otherName.isEmpty())
        m_onlyDifferent->setChecked(false);
    m_table->setColumnHidden(Other, m_otherName.isEmpty());
    m_note->setText(words.isEmpty() && !m_otherName.isEmpty()
                        ? QStringLiteral("「%1」と比べています。").arg(visibleName(m_otherName))
                        : words);
    showRows();
    showCondition();
}
