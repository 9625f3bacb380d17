#pragma once

#include "browser/statementlogview.h"
#include "controls/dialogue/percentbar.h"
#include "controls/grid/flexgrid.h"
#include "controls/lists/chosenlist.h"
#include "controls/text/sqltextbox.h"
#include "controls/window/encryptionsign.h"
#include "rows/rowspane.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSplitter>

#include <array>

// The controls of the main window. All belong to the window; the members never change.
struct TarnwellControls {
    QGroupBox *Frame1, *Frame2;
    QComboBox *cboDSNList, *cboDrivers, *cboLimit;
    QLineEdit *txtServer, *txtUser, *txtPass, *txtPort;
    QLabel *serverRole; // shown where there is something to say
    QPushButton *openConnections, *cmdConnect, *cmdClose, *Command1, *cmdEnd;
    ChosenList *lstDb, *lstTables, *lstProcFunc;
    QPushButton *cmdShowDb, *cmdCreateDb, *cmdDropDb, *cmdCreateUser, *openServer;
    std::array<QRadioButton *, 2> optTP;
    std::array<QRadioButton *, 4> optField;
    QWidget *picTable, *picProc;
    QLabel *lblProcName, *lblEditProcName, *lblCreateProc;
    QLabel *lblTableName, *lblEditName, *lblCreateTable, *lblRecordCount;
    SqlTextBox *txtProc, *txtField;
    QPushButton *cmdCreateProc, *cmdDropProc, *cmdCreateTable, *cmdDropTable, *cmdDataGet;
    FlexGrid *flGrid_Field, *flGrid_Index, *flGrid_Status, *flGrid_Data;
    RowsPane *rowsPane; // around flGrid_Data
    QLabel *Label3, *Label8;
    QSplitter *fieldView; // fields above, indexes below
    QPushButton *cmdCheckTable, *cmdRepairTable, *cmdOptimizeTable, *cmdBackup, *cmdRestore, *cmdCopyDb,
        *cmdScriptBackUp, *cmdExec, *openSheets, *cmdInOut;
    QLabel *lblCkTableName, *lblCnt, *timeLeft, *Label13, *lblPreTable;
    PercentBar *picStatus;
    QPlainTextEdit *txtError;
    EncryptionSign *encryption;
    QPushButton *showLog;
    StatementLogView *log;

    // Makes every control and lays them out on the window.
    TarnwellControls(QWidget *window, std::shared_ptr<StatementLog> statements);
};

// The layouts and splitters, with what only stands in them: captions, lines to filter the lists.
void layOut(TarnwellControls &controls, QWidget *window);
