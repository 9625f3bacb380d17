#pragma once

#include "controls/dialogue/widgetdialogue.h"

#include <QDialog>
#include <QString>

#include <vector>

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

// Starts the first found of the desktop's usual tools that show what the machine is; false when there is
// none, or it could not be started.
bool startSystemInformation();

struct LibraryVersion {
    QString name;
    QString version;
};

// The libraries that the running program uses, as they report themselves where they can.
std::vector<LibraryVersion> libraryVersions();
