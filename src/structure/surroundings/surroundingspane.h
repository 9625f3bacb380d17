#pragma once

#include "core/session/serverlink.h"
#include "structure/surroundings/surroundings.h"

#include <QWidget>

class QLabel;
class QPushButton;
class QTreeWidget;

// What hangs together with the table that is shown, or with its database: asked over a connection of its own
// when it is first looked at, and again for each other table.
class SurroundingsPane : public QWidget {
    Q_OBJECT

public:
    // The session is only read here.
    explicit SurroundingsPane(const Session &session);

    // Whether it asks what the session's connection leads to.
    bool isOf(const Session &session) const;
    // Both empty: nothing is chosen. The same again: read anew.
    void showOf(const QString &database, const QString &table);
    // What Tab is to walk through, from above. The pane has no focus proxy: Tab would enter it a second time
    // where the pane itself stands in the order (Qt 6.4).
    QList<QWidget *> controls() const;

Q_SIGNALS:
    void opened(const RelatedThing &thing); // a table, view or routine is to be shown
    // A trigger or event: to be changed or dropped; or, without a name, to be made.
    void changeWanted(const RelatedThing &thing);
    void dropWanted(const RelatedThing &thing);
    void closed();

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void buildLayout();
    void showGroups(const Surroundings &groups);
    const RelatedThing *chosen() const;
    void open();
    void showButtons();
    static bool isChangeable(const RelatedThing &thing);

    const QString m_connection;
    std::unique_ptr<ServerLink> m_link;
    QString m_database, m_table;
    int m_asked = 0; // the answers of older questions are of no use
    Surroundings m_groups;
    QLabel *m_title;
    QTreeWidget *m_tree;
    QPushButton *m_newTrigger, *m_newEvent, *m_change, *m_drop;
};
