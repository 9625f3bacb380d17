#include "controls/dialogue/messagebox.h"

#include "core/sql/listitem.h"

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>

#include <algorithm>

namespace {

// A box never grows beyond this; more text scrolls.
constexpr int mostLines = 15;
constexpr int mostCharacters = 900;

// The server's message may hold a whole statement: the box would be taller than the screen and its
// buttons out of reach.
void letTextScroll(QMessageBox &box)
{
    auto *label = box.findChild<QLabel *>(QStringLiteral("qt_msgbox_label"));
    auto *grid = qobject_cast<QGridLayout *>(box.layout());
    if (!label || !grid)
        return;
    auto *area = new QPlainTextEdit(label->text(), &box);
    area->setObjectName(QStringLiteral("messageText"));
    area->setAccessibleName(QStringLiteral("メッセージ"));
    area->setReadOnly(true);
    area->setTabChangesFocus(true);
    delete grid->replaceWidget(label, area);
    label->hide();
    const QFontMetrics metrics = box.fontMetrics();
    const int width = std::min(metrics.averageCharWidth() * 80, box.screen()->availableSize().width() / 2);
    area->setMinimumSize(width, metrics.lineSpacing() * mostLines);
}

void applyStyle(QMessageBox &box, QMessageBox::Icon icon, const QString &text)
{
    box.setIcon(icon);
    box.setWindowTitle(box.parentWidget() ? box.parentWidget()->windowTitle() : QString());
    // A description with "<" in it is not markup.
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    box.setTextInteractionFlags(Qt::TextSelectableByMouse);
    if (text.size() > mostCharacters || text.count(u'\n') >= mostLines)
        letTextScroll(box);
}

} // namespace

QMessageBox::StandardButton showBox(QWidget *window, QMessageBox::Icon icon, const QString &message,
                                    QMessageBox::StandardButtons buttons, QMessageBox::StandardButton byEnter)
{
    const QString text = visibleText(message);
    QMessageBox box(window);
    applyStyle(box, icon, text);
    box.setStandardButtons(buttons);
    if (byEnter != QMessageBox::NoButton)
        box.setDefaultButton(byEnter);
    for (const auto escape : {QMessageBox::Cancel, QMessageBox::No, QMessageBox::Ok})
        if (buttons.testFlag(escape)) {
            box.setEscapeButton(escape);
            break;
        }
    const PointerInBox pointer;
    return static_cast<QMessageBox::StandardButton>(box.exec());
}

int showChoices(QWidget *window, const QString &text, const QStringList &choices)
{
    QMessageBox box(window);
    applyStyle(box, QMessageBox::Question, text);
    QList<QAbstractButton *> buttons;
    for (const QString &choice : choices)
        buttons << box.addButton(choice, QMessageBox::AcceptRole);
    QPushButton *cancel = box.addButton(QMessageBox::Cancel);
    box.setEscapeButton(cancel);
    box.setDefaultButton(cancel);
    const PointerInBox pointer;
    box.exec();
    return static_cast<int>(buttons.indexOf(box.clickedButton()));
}

PointerInBox::PointerInBox()
    : m_isSet(QApplication::overrideCursor() != nullptr)
{
    if (m_isSet)
        QApplication::setOverrideCursor(Qt::ArrowCursor);
}

PointerInBox::~PointerInBox()
{
    if (m_isSet)
        QApplication::restoreOverrideCursor();
}
