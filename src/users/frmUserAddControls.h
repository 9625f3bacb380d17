#pragma once

#include "users/privileges.h"

#include <array>

class ChosenList;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QWidget;

// The controls of frmUserAdd, each found by its name; the window owns them.
struct UserControls {
    ChosenList *lstUser, *lstDB, *lstAddDB, *lstTable, *lstAddTable;
    QComboBox *cboAddDB;
    QLabel *lblHostName, *lblUserName, *lblDbName, *lblTableNameDB, *lblTableName;
    QLineEdit *txtUser, *txtHost, *txtPassword;
    std::vector<QCheckBox *> ckPrivType, ckDBPrivType, ckTablePrivType;
    std::array<QPushButton *, 2> cmdUserGrantAllCK, cmdDbGrantAllCK, cmdTableGrantAllCK;
    QPushButton *cmdOk, *cmdGrantEdit, *cmdDelete, *cmdCancel;
    QPushButton *cmdDbGrantAdd, *cmdDbGrantEdit, *cmdDbGrantDel;
    QPushButton *cmdTableGrantAdd, *cmdTableGrantEdit, *cmdTableGrantDel;

    // Makes the controls and lays them out in the window.
    explicit UserControls(QWidget &window);
};
