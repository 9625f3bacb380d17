#pragma once

#include "core/command/dialogue.h"
#include "core/session/session.h"
#include "users/accountform.h"
#include "users/frmUserAddControls.h"

// The check boxes of one privilege table, in its order. Each box's tag is a property, "1" or "0".
using CheckBoxes = std::vector<QCheckBox *>;
void setAll(const CheckBoxes &boxes, bool isChecked);

// What the window of the accounts shows: read from the server into the controls, and gathered from them.
// Refusals are told in boxes; nothing is thrown.
class AccountView {
public:
    AccountView(Session &session, UserControls &controls, Dialogue &dialogue)
        : m_session(session)
        , c(controls)
        , m_dialogue(dialogue)
    {
    }

    void Form_Load();
    void sInit(); // all lists anew; the new account is chosen
    void lstUser_Click();
    void lstDB_Click();
    void cboAddDB_Click();
    void lstTable_Click();
    void chooseDatabase(const QString &database); // in lstDB
    void chooseTable(const QString &item);        // in lstTable: "database\ttable"

    AccountForm form() const;

private:
    void MakeList();
    void MakeCbo();
    void showNewAccount();
    void clearGrants();
    void showAccount(const Account &account);
    void readAccount(const Account &account);
    void showUnread();
    void setExistingAccountMode(bool isExisting);
    void enableAccountButtons(bool isOn); // those that act on the chosen account
    Account account() const;              // lblHostName, lblUserName
    // Runs statements; the server's words go into a box, and the answer is false then.
    bool trap(const std::function<void()> &statements);

    Session &m_session;
    UserControls &c;
    Dialogue &m_dialogue;
};
