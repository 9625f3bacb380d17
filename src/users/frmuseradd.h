#pragma once

#include "controls/widgetdialogue.h"
#include "core/session.h"
#include "users/accountform.h"
#include "users/frmuseraddcontrols.h"

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
    using Command = Refresh (*)(Session &session, Dialogue &dialogue, const AccountForm &form);

    void connectControls();
    void Form_Load();
    void sInit();
    void MakeList();
    void MakeCbo();

    void lstUser_Click();
    void showNewAccount();
    void clearGrants();
    void showAccount(const Account &account);
    void readAccount(const Account &account);
    void setExistingAccountMode(bool isExisting);
    void enableAccountButtons(bool isOn); // those that act on the chosen account

    void lstDB_Click();
    void cboAddDB_Click();
    void lstTable_Click();
    void txtPassword_GotFocus(bool isByMouse);

    Refresh run(Command command);
    void cmdDbGrantEdit_Click();
    void cmdTableGrantEdit_Click();

    Account account() const; // lblHostName, lblUserName
    AccountForm form() const;
    // Runs statements; the server's words go into a box.
    void trap(const std::function<void()> &statements);

    Session &m_session;
    UserControls m_controls;
    WidgetDialogue m_boxes;
    Dialogue &m_dialogue;
};

// Shows the window modally.
void showUserWindow(QWidget *parent, Session &session);
