#pragma once

#include "server/serverpage.h"
#include "server/variables/variablereading.h"

class KeyedList;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

// The server's variables with their values of the session and of all, what was changed, and beside them those
// of another server; sets one of them.
class VariablePage : public ServerPage {
    Q_OBJECT

public:
    explicit VariablePage(const ServerSurroundings &around);

    bool followsClock() const override { return false; }

protected:
    void refresh() override;

private:
    void buildLayout();
    void connectControls();
    void show(VariableList list);
    void showRows();
    void showChoice();
    void showCondition();
    QStringList row(const Variable &variable) const;
    bool isDifferent(const QString &name) const; // from the other server's

    void set();
    void prepare(const Variable &variable, VariableScope scope, const QString &statement);
    void send(const Variable &variable, VariableScope scope, const QString &statement,
              const std::optional<QString> &before);
    QString question(const Variable &variable, VariableScope scope, const QString &statement,
                     const std::optional<QString> &before) const;
    void exportAll();
    void toSheet();
    void offerServers();
    void compare();
    void endComparing(const QString &words);

    VariableList m_list, m_other;
    std::unique_ptr<ServerLink> m_otherLink;
    QString m_otherName; // empty: nothing is compared
    KeyedList *m_table;
    QLineEdit *m_filter;
    QCheckBox *m_onlyChanged, *m_onlyDifferent;
    QComboBox *m_servers;
    QPushButton *m_compare, *m_set, *m_toSheet, *m_export, *m_copy;
    QLabel *m_about, *m_note;
};
