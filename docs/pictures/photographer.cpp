#include "photographer.h"

#include "controls/text/sqltextbox.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QListWidget>
#include <QMessageBox>
#include <QPixmap>

#include <cstdlib>
#include <utility>

namespace {

void letEventsRun(int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    while (clock.elapsed() < milliseconds)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents, 20);
}

} // namespace

void giveUp(const QString &why)
{
    qCritical().noquote() << why;
    std::_Exit(1);
}

Photographer::Photographer(const QDir &folder)
    : m_folder(folder)
{
    QObject::connect(&m_watch, &QTimer::timeout, &m_watch, [this] { lookForDialog(); });
    m_watch.start(20);
}

template <class Control>
Control &Photographer::find(const QString &name) const
{
    auto *control = m_window->findChild<Control *>(name);
    if (!control)
        giveUp(m_window->objectName() + QStringLiteral(" has no ") + name);
    return *control;
}

void Photographer::lookAt(QWidget &window)
{
    m_window = &window;
    window.activateWindow();
    letEventsRun(100);
}

void Photographer::click(const QString &name)
{
    auto &button = find<QAbstractButton>(name);
    if (!button.isEnabled())
        giveUp(name + QStringLiteral(" is disabled"));
    button.click();
}

void Photographer::enter(const QString &name, const QString &text)
{
    if (auto *box = m_window->findChild<SqlTextBox *>(name))
        box->setContents(text);
    else
        find<QLineEdit>(name).setText(text);
}

void Photographer::choose(const QString &name, const QString &text)
{
    if (auto *list = m_window->findChild<QListWidget *>(name)) {
        for (int row = 0; row < list->count(); ++row)
            if (list->item(row)->text().endsWith(text))
                return list->setCurrentRow(row);
    } else {
        auto &box = find<QComboBox>(name);
        for (int row = 0; row < box.count(); ++row)
            if (box.itemText(row).endsWith(text))
                return box.setCurrentIndex(row);
    }
    giveUp(name + QStringLiteral(" has no ") + text);
}

void Photographer::rest(int milliseconds)
{
    letEventsRun(milliseconds);
}

void Photographer::take(const QString &file)
{
    letEventsRun(200);
    if (auto *focus = m_window->focusWidget())
        focus->clearFocus(); // no cursor that blinks
    letEventsRun(50);
    if (!m_window->grab().toImage().save(m_folder.filePath(file + QStringLiteral(".png"))))
        giveUp(file + QStringLiteral(" cannot be written"));
}

void Photographer::lookForDialog()
{
    auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    if (!dialog || !dialog->isVisible() || dialog == m_window)
        return;
    const std::function<void()> visit = std::exchange(m_visit, {});
    if (!visit) {
        auto *box = qobject_cast<QMessageBox *>(dialog);
        giveUp(QStringLiteral("unexpected dialog: ") + (box ? box->text() : dialog->objectName()));
    }
    QWidget *const before = std::exchange(m_window, dialog);
    visit();
    m_window = before;
    dialog->reject();
}

void Photographer::visitDialog(const QString &button, const std::function<void()> &visit)
{
    m_visit = visit;
    click(button);
    if (m_visit)
        giveUp(button + QStringLiteral(" opened no dialog"));
}
