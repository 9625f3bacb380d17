#pragma once

#include "core/sql/recordset.h"

#include <QPointer>
#include <QTabWidget>

class FlexGrid;
class QPlainTextEdit;

// The results of a sheet's runs: the list of messages, and a tab with a grid for each result with rows. Those
// of the last run give way to the next one's unless they are pinned; until its first result comes they are
// grey.
class SheetResults : public QTabWidget {
    Q_OBJECT

public:
    explicit SheetResults(QWidget *parent = nullptr);

    void beginRun();
    void endRun();
    void beginGrid(const std::vector<Field> &fields);
    void addRows(const RowBlock &rows);
    // The message comes to the front when there is no grid to look at.
    void say(const QString &line);
    void showMessages();

    void setPinned(bool isOn); // the result that is shown
    bool isPinned() const;
    FlexGrid *grid() const; // that is shown; null: none

private:
    void dropGrey();
    void showCount();
    bool isMessages(int tab) const;

    QPlainTextEdit *m_messages;
    QPointer<FlexGrid> m_filled;
    std::vector<Cell> m_cells;
    int m_number = 0; // of the last result of this run
    bool m_isGrey = false;
};
