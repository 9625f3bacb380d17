#pragma once

#include "controls/grid/flexgrid.h"
#include "controls/lists/chosenlist.h"
#include "controls/text/resulttextbox.h"
#include "controls/text/statementbox.h"
#include "controls/window/encryptionsign.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>

#include <array>

// The controls of the console. All belong to the window; the members never change.
struct SqlControls {
    QLabel *lblState, *lblRecordCount, *runTime;
    EncryptionSign *encryption;
    StatementBox *txtSql;
    QPushButton *cmdExec, *cmdStop, *cmdAnalyze;
    std::array<QRadioButton *, 4> optRecord;
    ResultTextBox *txtRecord;
    FlexGrid *flgrid_Record, *flgrid_ANALYZE;
    QWidget *picVariablename;
    ChosenList *lstVariablename, *lstVariable;
    QLineEdit *txtVariablename;
    QPushButton *cmdVariable, *cmdVariabl;
    QComboBox *cboDelimiter;
    QCheckBox *ckNoTextNoGrid;
    std::array<QCheckBox *, 2> ckMemo;
    std::array<QRadioButton *, 2> optFont;
    QPushButton *cmdFolder, *cmdEditer;
    QPlainTextEdit *txtError;

    // Makes every control and lays them out on the window.
    explicit SqlControls(QWidget *window);

    // The four views, in the order of optRecord.
    std::array<QWidget *, 4> views() const;
    // The controls whose fonts may scale with the window.
    QStringList scaledNames() const;
};
