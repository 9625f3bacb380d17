#pragma once

#include "connections/connectionstore.h"
#include "controls/dialogue/widgetdialogue.h"
#include "controls/window/stopping.h"

#include <optional>

class ConnectionDetails;
class ConnectionFields;
class ConnectionList;
class QLineEdit;
class QPushButton;

// The saved connections in their folders, and the fields of the chosen one. What is edited is kept when
// another one is chosen and when the window is left. Ends accepted when one is to be used.
class ConnectionsWindow : public StoppableDialog {
    Q_OBJECT

public:
    ConnectionsWindow(Session &session, const QString &chosenId, QWidget *parent);

    struct Choice {
        ConnectionProfile profile;
        QString typedPassword;
        bool connectsNow = false; // else it only fills the panel
    };
    const std::optional<Choice> &choice() const { return m_choice; }
    const ConnectionStore &before() const { return m_before; } // as it was when the window was opened

protected:
    void done(int result) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *listSide();
    QWidget *fieldSide();
    QPushButton *button(const char *name, const QString &text, void (ConnectionsWindow::*action)());
    void fill(const QString &idToChoose);
    void showChosen();
    bool isChosen() const { return m_shown.isSaved(); }
    // What the fields say, into the file; false when it could not be kept.
    bool keep();
    void tell(const QString &words);
    ConnectionFields &fields() const;

    void add();
    void copy();
    void remove();
    void test();
    void import();
    void exportAll();
    void use();
    void fillPanel();
    void choose(bool connectsNow);

    Session &m_session;
    ConnectionStore m_store, m_before;
    WidgetDialogue m_dialogue;
    ConnectionList *m_list;
    QLineEdit *m_filter;
    ConnectionDetails *m_details;
    QPushButton *m_use = nullptr;
    std::vector<QPushButton *> m_needChosen;
    ConnectionProfile m_shown; // as it was read
    bool m_isLeft = false;
    std::optional<Choice> m_choice;
};
