#pragma once

#include "core/command/dialogue.h"

#include <QDialog>

class DriveBox;
class FileBox;
class FolderBox;

// Asks which definition files of a backup are to be restored.
class frmRestore : public QDialog {
    Q_OBJECT

public:
    explicit frmRestore(QWidget *parent = nullptr);

    // Nothing chosen until OK was pressed.
    const RestoreChoice &choice() const { return m_choice; }

private:
    void layOut();
    void cmdOk_Click();

    DriveBox *Drive1;
    FolderBox *Dir1;
    FileBox *File1;
    RestoreChoice m_choice;
};

// Modal. The first name is empty when the user chose nothing.
RestoreChoice chooseBackupsWithWindow(QWidget *parent);
