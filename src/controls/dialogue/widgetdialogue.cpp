#include "controls/dialogue/widgetdialogue.h"

#include "controls/dialogue/basfolder.h"
#include "controls/dialogue/messagebox.h"
#include "controls/dialogue/pendingchanges.h"
#include "controls/dialogue/percentbar.h"
#include "controls/window/building.h"

#include <QApplication>
#include <QLabel>
#include <QPlainTextEdit>

namespace {

QMessageBox::Icon boxIcon(Icon icon)
{
    return icon == Icon::Critical ? QMessageBox::Critical : QMessageBox::Information;
}

QString minutes(qint64 milliseconds)
{
    const qint64 seconds = (milliseconds + 500) / 1000;
    return QStringLiteral("%1:%2").arg(seconds / 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
}

} // namespace

QString batchTime(qint64 elapsedMilliseconds, int total, int current)
{
    QString text = QStringLiteral("経過 ") + minutes(elapsedMilliseconds);
    if (current > 0 && current < total)
        text += QStringLiteral(" / 残り 約") + minutes(elapsedMilliseconds * (total - current) / current);
    return text;
}

WidgetDialogue::WidgetDialogue(QWidget *window, DialogueParts parts)
    : m_window(window)
    , m_parts(std::move(parts))
{
}

bool WidgetDialogue::confirm(const QString &question, Icon icon)
{
    return showBox(m_window, boxIcon(icon), question, QMessageBox::Ok | QMessageBox::Cancel) ==
           QMessageBox::Ok;
}

bool WidgetDialogue::warn(const QString &question)
{
    return showBox(m_window, QMessageBox::Critical, question, QMessageBox::Ok | QMessageBox::Cancel,
                   QMessageBox::Cancel) == QMessageBox::Ok;
}

bool WidgetDialogue::ask(const QString &question)
{
    return showBox(m_window, QMessageBox::Question, question, QMessageBox::Yes | QMessageBox::No) ==
           QMessageBox::Yes;
}

bool WidgetDialogue::askCarefully(const QString &question)
{
    return showBox(m_window, QMessageBox::Question, question, QMessageBox::Yes | QMessageBox::No,
                   QMessageBox::No) == QMessageBox::Yes;
}

int WidgetDialogue::choose(const QString &question, const QStringList &choices)
{
    return showChoices(m_window, question, choices);
}

void WidgetDialogue::tell(const QString &text, Icon icon)
{
    showBox(m_window, boxIcon(icon), text, QMessageBox::Ok);
}

QString WidgetDialogue::chooseFolder(const QString &title, const QString &startFolder)
{
    const PointerInBox pointer;
    const QString folder = fBrowseFolder(title, m_window, startFolder.isEmpty() ? m_lastFolder : startFolder);
    if (!folder.isEmpty())
        m_lastFolder = folder;
    return folder;
}

RestoreChoice WidgetDialogue::chooseBackups()
{
    const PointerInBox pointer;
    return m_parts.chooseBackups ? m_parts.chooseBackups(m_window) : RestoreChoice{};
}

PendingAnswer WidgetDialogue::askPending(const std::vector<PendingChange> &changes)
{
    const PointerInBox pointer;
    return askPendingChanges(m_window, changes);
}

void WidgetDialogue::progress(int total, int current)
{
    if (m_parts.lblCnt)
        m_parts.lblCnt->setText(QStringLiteral("%1/%2").arg(current).arg(total));
    showTime(total, current);
    QCoreApplication::processEvents();
    progressBar(total == 0 ? 0 : double(current) / total);
}

void WidgetDialogue::showTime(int total, int current)
{
    if (!m_parts.timeLeft)
        return;
    if (current == 0 || !m_batch.isValid())
        m_batch.start();
    m_parts.timeLeft->setText(batchTime(m_batch.elapsed(), total, current));
}

void WidgetDialogue::progressBar(double fraction)
{
    if (m_parts.picStatus)
        sProgressBar(*m_parts.picStatus, fraction);
    // At either end of the bar the batch is over, and nothing is left.
    if (m_parts.timeLeft && (fraction <= 0 || fraction >= 1) && m_batch.isValid())
        m_parts.timeLeft->setText(batchTime(m_batch.elapsed(), 0, 0));
}

QString WidgetDialogue::target() const
{
    return m_parts.lblCkTableName ? m_parts.lblCkTableName->text() : QString();
}

void WidgetDialogue::setTarget(const QString &name)
{
    if (m_parts.lblCkTableName)
        m_parts.lblCkTableName->setText(name);
}

void WidgetDialogue::setLastError(const QString &description, bool withTip)
{
    if (m_parts.txtError)
        m_parts.txtError->setPlainText(description);
    if (withTip && m_parts.Label13)
        m_parts.Label13->setToolTip(plainTip(description));
}

void WidgetDialogue::setBusy(bool isBusy)
{
    if (isBusy)
        QApplication::setOverrideCursor(Qt::WaitCursor);
    else
        QApplication::restoreOverrideCursor();
}

void WidgetDialogue::refresh()
{
    m_window->repaint();
}
