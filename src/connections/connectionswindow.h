#pragma once

#include "connections/connectionstore.h"
#include "controls/dialogue/widgetdialogue.h"
#include "controls/window/stopping.h"

#include <optional>

class ConnectionFields;
class QLabel;
class QLineEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

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

protected:
    void done(int result) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QWidget *listSide();
    QWidget *fieldSide();
    QPushButton *button(const char *name, const QString &text, void (ConnectionsWindow::*action)());
    void fill(const QString &idToChoose);
    QTreeWidgetItem *itemOf(const ConnectionProfile &profile);
    QTreeWidgetItem *folderItem(const QString &folder);
    QTreeWidgetItem *findItem(const QString &id) const;
    void applyFilter();
    void showChosen();
    bool isChosen() const { return m_shown.isSaved(); }
    // What the fields say, into the file; false when it could not be kept.
    bool keep();
    void tell(const QString &words);
    // The typed password into the key store, or what is there out of it.
    void keepPassword(const ConnectionProfile &before, const ConnectionProfile &now);
    // The typed one, else what the key store has.
    QString password(const ConnectionProfile &profile);

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
    ConnectionStore m_store;
    WidgetDialogue m_dialogue;
    QTreeWidget *m_list;
    QLineEdit *m_filter;
    ConnectionFields *m_fields;
    QLabel *m_result;
    QPushButton *m_use = nullptr;
    std::vector<QPushButton *> m_needChosen;
    ConnectionProfile m_shown; // as it was read
    QString m_keptPassword;    // what was put into the key store last
    std::optional<Choice> m_choice;
};
