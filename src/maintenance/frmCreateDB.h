#pragma once

#include "controls/window/stopping.h"
#include "core/session/session.h"

class Dialogue;
class QLineEdit;

// Asks for a name and creates the database of that name; stays open until that worked or the user cancels.
class frmCreateDB : public StoppableDialog {
    Q_OBJECT

public:
    // mainWindow: where the server's words are shown when it refuses; the box itself says nothing then.
    frmCreateDB(QWidget *parent, Session &session, Dialogue &mainWindow);

private:
    void cmdOk_Click();
    void create(const QString &name);

    Session &m_session;
    Dialogue &m_mainWindow;
    QLineEdit *txtDatabase;
};

// cmdCreateDb. Modal; whatever was done, the list of databases is to be reloaded afterwards. Whether one was
// made.
bool showCreateDatabase(QWidget *parent, Session &session, Dialogue &mainWindow);
