#pragma once

#include "core/session/session.h"

#include <QObject>

class ChosenList;
class QLineEdit;

// The list of user variables and beside it their values: line i of one belongs to line i of the other.
class UserVariables : public QObject {
    Q_OBJECT

public:
    UserVariables(Session &session, ChosenList &lstVariablename, ChosenList &lstVariable,
                  QLineEdit &txtVariablename);

    void load();       // the names, from the session
    void keep() const; // the names, into the session
    void add();        // what txtVariablename holds, every "@" left out
    // Reads all values with one statement. A failing statement leaves the values empty and says nothing.
    void refresh();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void remove(int line);

    Session &m_session;
    ChosenList &m_names;
    ChosenList &m_values;
    QLineEdit &m_name;
};
