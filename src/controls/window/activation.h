#pragma once

#include <QObject>

class QWidget;

// Tells a window of the program when it becomes active after another window of the program was active (or
// none yet). Message boxes, file dialogs and other programs' windows in between do not count: Qt itself
// reports an activation after each of them.
class WindowActivation : public QObject {
    Q_OBJECT

public:
    // A window of the program is one whose object name begins with "frm", as all of them have it.
    explicit WindowActivation(QWidget *window);

    // A dialog that a window opens for a question of its own: the return from it is no activation.
    static void setPassing(QWidget *dialog);

Q_SIGNALS:
    // From the event loop, never from within the window system's own event.
    void activated();

private:
    void look();

    QWidget *m_window;
    bool m_wasElsewhere = true;
};
