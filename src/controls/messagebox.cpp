#include "controls/messagebox.h"

#include "core/signs.h"

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QPlainTextEdit>
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

} // namespace

QMessageBox::StandardButton showBox(QWidget *window, QMessageBox::Icon icon, const QString &message,
                                    QMessageBox::StandardButtons buttons)
{
    const QString text = visibleText(message);
    QMessageBox box(window);
    box.setIcon(icon);
    box.setWindowTitle(window ? window->windowTitle() : QString());
    // A description with "<" in it is not markup.
    box.setTextFormat(Qt::PlainText);
    box.setText(text);
    box.setTextInteractionFlags(Qt::TextSelectableByMouse);
    box.setStandardButtons(buttons);
    for (const auto escape : {QMessageBox::Cancel, QMessageBox::No, QMessageBox::Ok})
        if (buttons.testFlag(escape)) {
            box.setEscapeButton(escape);
            break;
        }
    if (text.size() > mostCharacters || text.count(u'\n') >= mostLines)
        letTextScroll(box);
    const PointerInBox pointer;
    return static_cast<QMessageBox::StandardButton>(box.exec());
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
