#pragma once

#include "core/session/session.h"

#include <QDialog>

class QLineEdit;

// Asks for the program that opens the console's result file.
class frmTextEditer : public QDialog {
    Q_OBJECT

public:
    explicit frmTextEditer(Session &session, QWidget *parent = nullptr);

private:
    void cmdFolder_Click();
    void cmdIn_Click();

    Session &m_session;
    QLineEdit *txtFilename;
};
