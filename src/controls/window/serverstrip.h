#pragma once

#include "core/session/connectionprofile.h"

#include <QObject>

class QWidget;
struct Session;

// Says on the window which server it works on: a strip in the connection's colour with its name and
// environment above everything else, and the same behind the caption. A connection that is not saved has
// none. Once called for a window, it is that window's own, whatever the program's first connection is.
void showServer(QWidget &window, const ConnectionProfile &profile);

// Shows on every window of the program that has none of its own which server the session works on.
class ServerStrips : public QObject {
    Q_OBJECT

public:
    // The session outlives it.
    ServerStrips(const Session &session, QObject *parent);

    void update(); // called after each connection and its end

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    const Session &m_session;
};
