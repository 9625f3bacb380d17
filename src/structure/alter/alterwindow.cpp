#include "structure/alter/alterwindow.h"

#include "controls/text/sqltextbox.h"
#include "controls/window/building.h"
#include "core/command/sessionvariables.h"
#include "core/command/writing.h"
#include "core/sql/statements.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>

namespace {

QPushButton *button(const char *name, const QString &text)
{
    auto *made = ::made<QPushButton>(name, text);
    made->setAutoDefault(false); // Enter in a list does not run anything
    return made;
}

// What a column may have become. Either answer may be the wrong one, so the user gives it: no data until
// then.
QComboBox *choices(const LostColumn &column, int number, const QString &rows)
{
    auto *box = new QComboBox;
    box->setObjectName(QStringLiteral("alterRename_%1").arg(number));
    box->setAccessibleName(QStringLiteral("列「%1」").arg(visibleName(column.name)));
    box->addItem(QStringLiteral("選んで下さい"));
    for (qsizetype i = 0; i < column.candidates.size(); ++i)
        box->addItem(QStringLiteral("名前を「%1」に変える (値は残ります)%2")
                         .arg(visibleName(column.candidates[i]),
                              i == column.guess ? QStringLiteral(" ← 同じ位置、同じ型") : QString()),
                     column.candidates[i]);
    box->addItem(QStringLiteral("削除する (%1の値は失われます)").arg(rows), QString());
    return box;
}

} // namespace

AlterWindow::AlterWindow(Session &session, AlterRequest request, Propose propose, QWidget *parent,
                         std::unique_ptr<Dialogue> dialogue)
    : StoppableDialog(session.runner, parent)
    , m_session(session)
    , m_request(std::move(request))
    , m_propose(std::move(propose))
    , m_dialogue(dialogue ? std::move(dialogue) : std::make_unique<WidgetDialogue>(this, DialogueParts()))
    , m_text(made<SqlTextBox>("alterText"))
    , m_cost(made<QLabel>("alterCost", costWords(m_request.table.server, m_request.size)))
    , m_report(made<QPlainTextEdit>("alterReport"))
    , m_run(button("runAlter", QStringLiteral("実行")))
    , m_sheet(button("alterToSheet", QStringLiteral("シートに入れる")))
    , m_stop(button("alterStop", QStringLiteral("中断")))
    , m_close(button("alterClose", QStringLiteral("閉じる")))
{
    setObjectName(QStringLiteral("alterWindow"));
    setWindowTitle(QStringLiteral("ALTER文"));
    buildLayout();
    connect(m_run, &QPushButton::clicked, this, &AlterWindow::run);
    connect(m_sheet, &QPushButton::clicked, this, [this] {
        QString text = m_text->contents();
        if (text.contains(u'\\')) // a sheet has the server's own mode
            text.prepend(setStatement({{QStringLiteral("sql_mode"), quotedText(m_request.sqlMode)}}) +
                         QStringLiteral(";\n\n"));
        m_propose(text);
        accept();
    });
    connect(m_stop, &QPushButton::clicked, this, [this] { m_session.runner.stop(); });
    connect(m_close, &QPushButton::clicked, this, &QDialog::reject);
    setStopsRunningCommand(m_stop, true);
    setStopsRunningCommand(m_close, true);
    showRunning(false);
    showStatement();
    resize(QSize(760, 560).boundedTo(screen()->availableSize()));
    if (m_names.empty())
        m_text->setFocus();
    else
        m_names.front().second->setFocus();
}

void AlterWindow::buildLayout()
{
    auto *target =
        made<QLabel>("alterTarget", QStringLiteral("サーバー %1　ﾃｰﾌﾞﾙ %2.%3")
                                        .arg(serverName(m_session), visibleName(m_request.table.database),
                                             visibleName(m_request.table.name)));
    target->setTextFormat(Qt::PlainText);
    m_cost->setWordWrap(true);
    m_text->setAccessibleName(QStringLiteral("ALTER文"));
    m_report->setReadOnly(true);
    m_report->setMaximumHeight(150);
    m_report->setPlaceholderText(QStringLiteral("結果はここに表示されます"));
    m_report->setAccessibleName(QStringLiteral("結果"));

    auto *names = new QFormLayout;
    askForNames(*names);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_run);
    buttons->addWidget(m_stop);
    buttons->addWidget(m_sheet);
    buttons->addStretch(1);
    buttons->addWidget(m_close);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(target);
    layout->addLayout(names);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_cost);
    layout->addLayout(buttons);
    layout->addWidget(m_report);
}

void AlterWindow::askForNames(QFormLayout &form)
{
    for (const LostColumn &column : lostColumns(m_request.from, m_request.to, m_request.table.mode)) {
        if (column.candidates.isEmpty())
            continue;
        QComboBox *box = choices(column, static_cast<int>(m_names.size()), rowWords(m_request.size));
        auto *label = new QLabel(QStringLiteral("なくなった列「%1」は").arg(visibleName(column.name)));
        label->setTextFormat(Qt::PlainText);
        label->setBuddy(box);
        form.addRow(label, box);
        m_names.emplace_back(column.name, box);
        connect(box, &QComboBox::currentIndexChanged, this, &AlterWindow::showStatement);
    }
}

// What the user has written into the text comes back by undo.
void AlterWindow::showStatement()
{
    Renames renames;
    QString missing;
    for (const auto &[name, box] : m_names) {
        const QVariant became = box->currentData();
        if (!missing.isEmpty())
            break;
        if (!became.isValid())
            missing = QStringLiteral("列「%1」の名前を変えたのか、削除したのかを選んで下さい。").arg(name);
        else if (renames.values().contains(became.toString()) && !became.toString().isEmpty())
            missing = QStringLiteral("二つの列が同じ名前「%1」になります。").arg(became.toString());
        else if (!became.toString().isEmpty())
            renames[name] = became.toString();
    }
    const QStringList statements =
        missing.isEmpty() ? alterStatements(m_request.from, m_request.to, renames, m_request.table)
                          : QStringList();
    QString text = statements.join(QStringLiteral(";\n\n"));
    if (!statements.isEmpty())
        text += QStringLiteral(";\n");
    m_text->setContents(text);
    m_report->setPlainText(missing.isEmpty() && statements.isEmpty()
                               ? QStringLiteral("編集した定義は、サーバーの定義と違いません。")
                               : missing);
    m_run->setEnabled(missing.isEmpty());
    m_sheet->setEnabled(missing.isEmpty());
}

void AlterWindow::showRunning(bool isRunning)
{
    m_run->setEnabled(!isRunning);
    m_sheet->setEnabled(!isRunning);
    m_text->setReadOnly(isRunning);
    for (const auto &[name, box] : m_names)
        box->setEnabled(!isRunning);
    m_stop->setEnabled(isRunning);
    if (isRunning)
        m_stop->setFocus();
}

void AlterWindow::run()
{
    const QString text = m_text->contents();
    if (text.trimmed().isEmpty() || m_session.runner.isRunning())
        return;
    AlterReport &report = m_lastReport;
    m_report->setPlainText(QStringLiteral("実行しています…"));
    showRunning(true);
    m_session.runner.run(this, windowTitle(),
                         [&] { report = runAlter(m_session, *m_dialogue, m_request, text); });
    showRunning(false);
    m_report->setPlainText(report.words);
    if (!report.isBegun) {
        m_run->setFocus();
        return;
    }
    // The next statement is for the table as it is now: it is made anew from its text.
    m_run->setEnabled(false);
    for (const auto &[name, box] : m_names)
        box->setEnabled(false);
    m_close->setFocus();
}
