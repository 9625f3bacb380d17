#pragma once

#include "core/session/historystore.h"

#include <QDialog>

#include <functional>

class QLineEdit;
class QTableWidget;

// The statements that were run, filtered while typing. A double click, or Enter, puts one where the window
// came from; a favourite has a name and stands first. Deletes itself when it is closed.
class HistoryWindow : public QDialog {
    Q_OBJECT

public:
    // The store outlives it.
    HistoryWindow(HistoryStore &store, QWidget *parent, std::function<void(const QString &)> put);

private:
    void buildLayout();
    void read();
    void putChosen();
    void nameChosen();
    void removeChosen();
    const HistoryEntry *chosen() const;

    HistoryStore &m_store;
    const std::function<void(const QString &)> m_put;
    QLineEdit *m_filter;
    QTableWidget *m_list;
    std::vector<HistoryEntry> m_entries;
};
