#pragma once

#include "controls/widgetdialogue.h"

#include <QDialog>

// The About box: what this program is, its version, its licence, what it is built upon.
class frmAbout : public QDialog {
    Q_OBJECT

public:
    // Tells in boxes of its own unless given another dialogue.
    explicit frmAbout(QWidget *parent, Dialogue *dialogue = nullptr);

private:
    void layOut();
    void cmdSysInfo_Click();

    WidgetDialogue m_boxes;
    Dialogue &m_dialogue;
};

// Shows the box modally.
void showAboutBox(QWidget *parent);
