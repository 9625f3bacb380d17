#pragma once

#include "server/variables/variablereading.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

// Asks for a variable's new value and where it is to hold, and shows the statement that comes of it. Carries
// nothing out; deletes itself.
class SetVariableWindow : public QDialog {
    Q_OBJECT

public:
    SetVariableWindow(VariableList list, const Variable &variable, QWidget *parent);

Q_SIGNALS:
    void chosen(const Variable &variable, VariableScope scope, const QString &statement);

private:
    void buildLayout();
    void connectControls();
    VariableScope scope() const;
    QString statement() const;
    void showScope();
    void showStatement();
    void choose();

    const VariableList m_list;
    const Variable m_variable;
    QComboBox *m_scope;
    QLineEdit *m_value;
    QCheckBox *m_isDefault;
    QLineEdit *m_statement;
    QLabel *m_note;
    QPushButton *m_go;
};
