#pragma once

#include <QMessageBox>

// One box over a window, titled with its caption: plain text that can be selected and copied, however
// long, and with signs for what cannot be seen. Escape is Cancel, No, or the only button; Enter the first one
// unless another is named.
QMessageBox::StandardButton showBox(QWidget *window, QMessageBox::Icon icon, const QString &message,
                                    QMessageBox::StandardButtons buttons,
                                    QMessageBox::StandardButton byEnter = QMessageBox::NoButton);

// A box with a button for each choice, and Cancel, which Enter is, too: the choice's index; -1: cancelled.
int showChoices(QWidget *window, const QString &text, const QStringList &choices);

// The arrow instead of an hourglass for as long as it lives: a box waits for the user, not for the server.
class PointerInBox {
public:
    PointerInBox();
    ~PointerInBox();
    PointerInBox(const PointerInBox &) = delete;
    PointerInBox &operator=(const PointerInBox &) = delete;

private:
    bool m_isSet;
};
