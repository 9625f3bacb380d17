#pragma once

#include "controls/dialogue/widgetdialogue.h"
#include "controls/window/stopping.h"
#include "inout/inoutcommands.h"

class QGroupBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QRadioButton;

// The controls of frmInOut, each found by its name; the window owns them.
struct InOutControls {
    QRadioButton *optInOut_0, *optInOut_1, *optRorI_0, *optRorI_1;
    QLabel *lblTitle, *Label1, *lblTableName;
    QLineEdit *txtFilename;
    QGroupBox *fraRorI;
    QPushButton *cmdFolder, *cmdOut, *cmdIn, *cmdCancel;
    QLabel *inOutError;

    explicit InOutControls(QWidget &window);
};

// The dialog that writes a table to a file of the server's machine, or reads one into it.
class frmInOut : public StoppableDialog {
    Q_OBJECT

public:
    // item: the chosen item of lstTables; throws Failure when it has no table name. Asks and tells in boxes
    // of its own unless given another dialogue.
    frmInOut(Session &session, const QString &item, QWidget *parent, Dialogue &mainWindow,
             Dialogue *dialogue = nullptr);

private:
    void connectControls();
    void Form_Load(const QString &tableName);
    void optInOut_Click(int index);
    void cmdFolder_Click();
    void run(const InOutCommand &command);

    InOutForm form() const;
    void rememberFolder();

    Session &m_session;
    InOutControls m_controls;
    WidgetDialogue m_boxes;
    Dialogue &m_dialogue;
    Dialogue &m_mainWindow;
    QString m_fileFolder; // a folder with a separator at its end; after the file dialog the path chosen there
};

// Shows the dialog modally for the chosen item of lstTables. Where the statement failed, the server's words
// are in the main window's last error.
void showInOutWindow(QWidget *parent, Session &session, const QString &item, Dialogue &mainWindow);
