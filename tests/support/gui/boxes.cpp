#include "support/gui/boxes.h"

#include <QAbstractButton>
#include <QApplication>
#include <QCloseEvent>
#include <QFileDialog>
#include <QLineEdit>
#include <QPointer>
#include <QRegularExpression>
#include <QTest>
#include <QTimer>

namespace {

constexpr int lookEvery = 5;

void fail(const QString &message)
{
    QTest::qFail(qPrintable(message), __FILE__, __LINE__);
}

QString described(const QDialog &dialog)
{
    const auto *box = qobject_cast<const QMessageBox *>(&dialog);
    return box ? QStringLiteral("box \"%1\"").arg(box->text())
               : QStringLiteral("dialog %1 \"%2\"").arg(dialog.objectName(), dialog.windowTitle());
}

} // namespace

Boxes::Boxes()
{
    QTimer::singleShot(lookEvery, this, &Boxes::look);
}

Boxes::~Boxes()
{
    for (const Expected &expected : m_expected)
        fail(QStringLiteral("never came: \"%1\"").arg(expected.text));
}

void Boxes::expect(const QString &text, QMessageBox::StandardButton answer)
{
    m_expected.push_back({Expected::Message, text, answer, {}});
}

void Boxes::expectFile(const QString &path)
{
    m_expected.push_back({Expected::File, path, QMessageBox::NoButton, {}});
}

void Boxes::expectDialog(const QString &objectName, std::function<void(QDialog &)> use)
{
    m_expected.push_back({Expected::Dialog, objectName, QMessageBox::NoButton, std::move(use)});
}

void Boxes::agree(const QString &path, std::function<void(QDialog &)> use)
{
    m_agreed = {Expected::File, path, QMessageBox::NoButton, std::move(use)};
}

void Boxes::look()
{
    // A new timer each time: one that is running its slot does not fire in the box that the slot opens.
    QTimer::singleShot(lookEvery, this, &Boxes::look);
    auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
    // While a dialog is being used its own boxes are answered; the dialog itself is not asked twice.
    if (m_isPaused || !dialog || !dialog->isVisible() || dialog->property("isBeingUsed").toBool())
        return;
    if (const auto *box = qobject_cast<QMessageBox *>(dialog))
        m_seen << box->windowTitle() + u'|' + box->text();
    if (m_expected.empty() && m_agreed && agreeTo(*dialog))
        return;
    if (m_expected.empty()) {
        fail(QStringLiteral("unexpected %1").arg(described(*dialog)));
        dialog->reject();
        return;
    }
    const Expected expected = std::move(m_expected.front());
    m_expected.pop_front();
    if (!answer(*dialog, expected)) {
        fail(QStringLiteral("%1 came or could not be answered\n   expected: \"%2\"")
                 .arg(described(*dialog), expected.text));
        dialog->reject();
    }
}

bool Boxes::answer(QDialog &dialog, const Expected &expected)
{
    dialog.setProperty("isBeingUsed", true);
    if (auto *box = qobject_cast<QMessageBox *>(&dialog)) {
        QAbstractButton *button = box->button(expected.answer);
        if (expected.kind != Expected::Message || box->text() != expected.text || !button)
            return false;
        button->click();
        return true;
    }
    if (auto *files = qobject_cast<QFileDialog *>(&dialog))
        return expected.kind == Expected::File && chooseFile(*files, expected.text);
    if (expected.kind != Expected::Dialog || dialog.objectName() != expected.text)
        return false;
    const QPointer<QDialog> guard(&dialog);
    expected.use(dialog);
    const QDialog *left = guard.data();
    return left == nullptr || left->isHidden();
}

bool Boxes::agreeTo(QDialog &dialog)
{
    dialog.setProperty("isBeingUsed", true);
    if (auto *box = qobject_cast<QMessageBox *>(&dialog)) {
        for (QAbstractButton *each : box->buttons()) {
            const auto standard = box->standardButton(each);
            if (standard == QMessageBox::Yes || standard == QMessageBox::Ok || each->text().contains(u"変更"))
                return each->click(), true;
        }
        return false;
    }
    if (auto *files = qobject_cast<QFileDialog *>(&dialog))
        return chooseFile(*files, m_agreed->text);
    if (m_agreed->use)
        m_agreed->use(dialog);
    return m_agreed->use != nullptr;
}

bool chooseFile(QFileDialog &dialog, const QString &path)
{
    if (path.isEmpty()) {
        dialog.reject();
        return true;
    }
    if (auto *line = dialog.findChild<QLineEdit *>("fileNameEdit"))
        line->setText(path);
    else
        dialog.selectFile(path);
    QMetaObject::invokeMethod(&dialog, "accept");
    return !dialog.isVisible();
}

void failOnAnyWarning()
{
    // The offscreen platform says the one of much that windows do, a machine without fonts for all scripts
    // the other of a file that is shown in a wrong encoding. Neither is shown: thousands of them would cover
    // what fails.
    static const QRegularExpression noise("^This plugin does not support |OpenType support missing for ");
    static QtMessageHandler forward = nullptr;
    if (!forward)
        forward = qInstallMessageHandler(
            [](QtMsgType type, const QMessageLogContext &context, const QString &message) {
                if (!noise.match(message).hasMatch())
                    forward(type, context, message);
            });
    QTest::failOnWarning(QRegularExpression(""));
}

void closeByUser(QWidget &window)
{
    QCloseEvent event;
    QSpontaneKeyEvent::setSpontaneous(&event);
    qApp->notify(&window, &event);
}
