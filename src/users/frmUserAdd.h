#pragma once

#include "controls/dialogue/widgetdialogue.h"
#include "controls/window/stopping.h"
#include "core/session/session.h"
#include "users/accountview.h"
#include "users/frmUserAddControls.h"

#include <optional>

// The window of the server's accounts and their privileges at three levels.
class frmUserAdd : public StoppableDialog {
    Q_OBJECT

public:
    // Asks and tells in boxes of its own unless given another dialogue.
    frmUserAdd(Session &session, QWidget *parent, Dialogue *dialogue = nullptr);
    // False when the user stopped the first reading: the window has nothing to show.
    bool isRead() const { return m_isRead; }
    // Whose rights the user wants to see in full, for which this window was closed.
    const std::optional<Account> &wantedAccount() const { return m_wantedAccount; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void connectControls();
    void offerDetails();
    void turnWritingOff();
    void txtPassword_GotFocus(bool isByMouse);
    void run(const AccountCommand &command);
    // One thing at a time; what is chosen in a list meanwhile is read after it.
    void runAlone(const std::function<void()> &action);
    void choose(QWidget *list, void (AccountView::*read)());

    Session &m_session;
    UserControls m_controls;
    WidgetDialogue m_boxes;
    Dialogue &m_dialogue;
    AccountView m_view;
    bool m_isRead = false;
    std::optional<Account> m_wantedAccount;
    QList<QObject *> m_keptOff; // the connection is read-only
};

// Shows the window modally; whose rights are to be shown in full after it, mostly nobody's.
std::optional<Account> showUserWindow(QWidget *parent, Session &session);
