#pragma once

#include "server/locks/lockreading.h"
#include "server/serverpage.h"

class KeyedList;
class QPlainTextEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

// Who waits for whom, what is open for how long, and what the last deadlock was.
class LockPage : public ServerPage {
    Q_OBJECT

public:
    explicit LockPage(const ServerSurroundings &around);

protected:
    void refresh() override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void buildLayout();
    void show(const LockPicture &picture);
    void showTree(const LockPicture &picture);
    void buildTree(const std::vector<LockNode> &nodes);
    void showTransactions(const std::vector<Transaction> &transactions);
    void readDeadlock();
    // Of the tree or of the list, whichever was used last; empty: none.
    QString chosenSession() const;

    // Used in the connection's thread alone.
    const std::shared_ptr<ProcessReader> m_reader = std::make_shared<ProcessReader>();
    QTreeWidget *m_tree;
    KeyedList *m_transactions;
    QPlainTextEdit *m_deadlock;
    QPushButton *m_showProcess, *m_readDeadlock;
    std::vector<QTreeWidgetItem *> m_items;           // of the nodes
    std::vector<std::pair<QString, int>> m_structure; // session and parent of each
    bool m_isOfTree = true;                           // what had the focus last
};
