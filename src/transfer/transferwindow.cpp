#include "transfer/transferwindow.h"

#include "controls/dialogue/percentbar.h"
#include "controls/window/building.h"
#include "controls/window/narrow.h"
#include "controls/window/stopping.h"
#include "core/command/writing.h"
#include "core/sql/listitem.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QShowEvent>

#include <utility>

TransferWindow::TransferWindow(Session &session, const char *name, const QString &title,
                               const char *startName)
    : m_session(session)
    , m_dialogue(this, {})
    , m_formArea(new QWidget)
    , m_form(new QVBoxLayout(m_formArea))
    , m_start(made<QPushButton>(startName, QStringLiteral("開始")))
    , m_stop(made<QPushButton>("stopTransfer", QStringLiteral("中断")))
    , m_bar(made<PercentBar>("transferProgress"))
    , m_status(made<QLabel>("transferStatus"))
    , m_report(made<QPlainTextEdit>("transferReport"))
{
    setObjectName(QLatin1String(name));
    setWindowTitle(title);
    setAttribute(Qt::WA_DeleteOnClose);
    // It has a connection of its own: input reaches it while another window waits for its server.
    setWorksWhileRunning(this);
    m_form->setContentsMargins({});
    m_status->setTextFormat(Qt::PlainText);
    m_bar->hide(); // it is white whatever the desktop's colours
    m_report->setReadOnly(true);
    m_report->setMaximumHeight(120);
    m_report->setPlaceholderText(QStringLiteral("結果はここに表示されます"));
    m_report->setAccessibleName(QStringLiteral("結果"));
    m_stop->setToolTip(QStringLiteral("実行中の処理を止めます (Esc)"));

    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_bar);
    buttons->addWidget(m_status, 1);
    buttons->addWidget(m_start);
    buttons->addWidget(m_stop);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(scrolling(m_formArea), 1); // the buttons stay in view
    layout->addLayout(buttons);
    layout->addWidget(m_report);

    connect(m_start, &QPushButton::clicked, this, [this] {
        m_report->clear(); // what it says is of another run
        start();
    });
    connect(m_stop, &QPushButton::clicked, this, [this] { m_job.stop(); });
    connect(&m_job, &TransferJob::progressed, this, &TransferWindow::showProgress);
    connect(&m_job, &TransferJob::finished, this, &TransferWindow::finish);
    setRunning(false);
}

TransferWindow::~TransferWindow() = default;

void TransferWindow::begin(const QString &database, const TransferJob::Work &work)
{
    setRunning(true, serverName(m_session));
    m_job.start(m_session, database, work);
}

void TransferWindow::begin(const Session &from, const Session &to, const TransferJob::WorkOfTwo &work)
{
    setRunning(true, serverName(from) + QStringLiteral(" → ") + serverName(to));
    m_job.start(from, to, work);
}

void TransferWindow::begin(const std::function<TransferReport(const ReportProgress &)> &work)
{
    setRunning(true);
    m_job.start(work);
}

void TransferWindow::setRunning(bool isRunning, const QString &where)
{
    m_where = where;
    m_formArea->setEnabled(!isRunning);
    m_start->setEnabled(!isRunning);
    m_stop->setEnabled(isRunning);
    if (!isRunning)
        return;
    m_sinceStart.start();
    m_bar->clearBar();
    m_bar->show();
    m_status->setText(QStringLiteral("接続中…"));
    m_report->clear();
    m_stop->setFocus();
}

QString TransferWindow::whatWouldBeLost() const
{
    if (!m_job.isRunning() || isOnlyLooking())
        return {};
    return m_where.isEmpty() ? windowTitle() : QStringLiteral("%1 (%2)").arg(windowTitle(), m_where);
}

void TransferWindow::showProgress(const TransferStatus &status)
{
    if (!m_job.isRunning())
        return;
    const QLocale locale;
    QString text =
        status.objects > 0
            ? QStringLiteral("%1 (%2/%3)  ").arg(status.object).arg(status.finished + 1).arg(status.objects)
            : status.object + QStringLiteral("  ");
    text += QStringLiteral("%1 行").arg(locale.toString(status.rows));
    const bool isOfFile = status.expectedBytes > 0;
    const qint64 done = isOfFile ? status.bytes : status.rows;
    // The server only guesses the number of rows.
    const qint64 expected = std::max(isOfFile ? status.expectedBytes : status.expectedRows, done);
    if (expected > 0 && (isOfFile || status.expectedRows > 0)) {
        constexpr int parts = 1000;
        m_bar->setFraction(static_cast<double>(done) / static_cast<double>(expected));
        text += QStringLiteral("  ") +
                batchTime(m_sinceStart.elapsed(), parts, static_cast<int>(done * parts / expected));
    } else if (status.objects > 0) {
        m_bar->setFraction(static_cast<double>(status.finished) / status.objects);
    }
    m_status->setText(text);
}

void TransferWindow::finish(const TransferReport &report)
{
    setRunning(false);
    m_status->clear();
    if (report.hasFailed)
        m_bar->clearBar();
    else
        m_bar->setFraction(1, true);
    tell(report.text, report.hasFailed);
    const AtEnd wanted = std::exchange(m_atEnd, AtEnd::Stay);
    if (wanted == AtEnd::Close || (wanted == AtEnd::CloseUnlessToBeRead && !report.isToBeRead)) {
        close();
        return;
    }
    m_start->setFocus();
    ended(report.hasFailed);
}

void TransferWindow::tell(const QString &text, bool isFailure)
{
    // It may name characters of the data that cannot be seen, or turn the line round.
    m_report->setPlainText(visibleText(isFailure ? QStringLiteral("失敗: ") + text : text));
}

void TransferWindow::closeEvent(QCloseEvent *event)
{
    if (m_job.isRunning()) {
        // Else the program goes, and its window with it.
        m_atEnd = event->spontaneous() ? AtEnd::CloseUnlessToBeRead : AtEnd::Close;
        m_job.stop();
        event->ignore();
        return;
    }
    QWidget::closeEvent(event);
}

void TransferWindow::keyPressEvent(QKeyEvent *event)
{
    if (event->key() != Qt::Key_Escape)
        return QWidget::keyPressEvent(event);
    if (m_job.isRunning())
        m_job.stop();
    else
        close();
}

void TransferWindow::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    if (event->spontaneous())
        return;
    constexpr int fewLines = 64;
    layout()->activate();
    if (m_formArea->sizeHint().height() > m_formArea->parentWidget()->height())
        m_report->setMaximumHeight(fewLines); // the form needs the room
    for (QWidget *next = m_formArea->nextInFocusChain(); next != m_formArea; next = next->nextInFocusChain())
        if (m_formArea->isAncestorOf(next) && next->isVisible() && next->isEnabled() &&
            (next->focusPolicy() & Qt::TabFocus) != 0)
            return next->setFocus();
}

bool TransferWindow::mayReplace(const QString &path)
{
    return !QFileInfo(path).isFile() || // what is none is refused when the run begins
           m_dialogue.warn(QStringLiteral("ファイル「%1」は既に存在します。置き換えますか？").arg(path));
}

QCheckBox *tick(const char *name, const QString &text, bool isOn, const QString &tip)
{
    auto *box = made<QCheckBox>(name, text);
    box->setChecked(isOn);
    box->setToolTip(tip);
    return box;
}

QString choosePath(QWidget *window, PathKind kind, const QString &start, const QString &filter)
{
    if (kind == PathKind::Folder)
        return QFileDialog::getExistingDirectory(window, window->windowTitle(), start);
    // What is there is asked about when the run begins, however its name was given.
    return kind == PathKind::SaveFile
               ? QFileDialog::getSaveFileName(window, window->windowTitle(), start, filter, nullptr,
                                              QFileDialog::DontConfirmOverwrite)
               : QFileDialog::getOpenFileName(window, window->windowTitle(), start, filter);
}

QHBoxLayout *pathRow(const char *buttonName, QLineEdit *line, const std::function<void()> &browse)
{
    auto *button = made<QPushButton>(buttonName, QStringLiteral("..."));
    button->setAccessibleName(QStringLiteral("ﾌｧｲﾙを選択"));
    button->setMaximumWidth(40);
    QObject::connect(button, &QPushButton::clicked, button, browse);
    line->setAccessibleName(QStringLiteral("パス"));
    auto *row = new QHBoxLayout;
    row->addWidget(line);
    row->addWidget(button);
    return row;
}
