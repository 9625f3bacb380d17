#pragma once

#include "controls/widgetdialogue.h"
#include "core/session.h"
#include "users/accountview.h"
#include "users/frmUserAddControls.h"

#include <QDialog>

// The window of the server's accounts and their privileges at three levels.
class frmUserAdd : public QDialog {
    Q_OBJECT

public:
    // Asks and tells in boxes of its own unless given another dialogue.
    frmUserAdd(Session &session, QWidget *parent, Dialogue *dialogue = nullptr);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void connectControls();
    void txtPassword_GotFocus(bool isByMouse);
    void run(const AccountCommand &command);

    Session &m_session;
    UserControls m_controls;
    WidgetDialogue m_boxes;
    Dialogue &m_dialogue;
    AccountView m_view;
};

// Shows the window modally.
void showUserWindow(QWidget *parent, Session &session);
