#pragma once

#include "core/sql/recordset.h"
#include "core/sql/selectedtable.h"

#include <QPointer>
#include <QTabWidget>

#include <functional>

class EditedRows;
class FlexGrid;
class QPlainTextEdit;

// One result with rows: the grid, and below it, while its rows are edited, what that needs.
class SheetResult : public QWidget {
    Q_OBJECT

public:
    SheetResult(const std::vector<Field> &fields, SelectedTable table, int number);
    ~SheetResult() override;

    FlexGrid &grid() const { return *m_grid; }
    // Whose rows these are, with its database.
    const SelectedTable &table() const { return m_table; }
    // Null: the rows are not edited.
    EditedRows *editor() const { return m_editor; }
    void setEditor(std::unique_ptr<EditedRows> editor);
    bool isPinned = false;
    QString title() const;

private:
    FlexGrid *m_grid;
    EditedRows *m_editor = nullptr;
    const SelectedTable m_table;
    const int m_number; // of its run
};

// The results of a sheet's runs: the list of messages, and a tab with a grid for each result with rows. Those
// of the last run give way to the next one's unless they are pinned; until its first result comes they are
// grey.
class SheetResults : public QTabWidget {
    Q_OBJECT

public:
    explicit SheetResults(QWidget *parent = nullptr);

    // False: a result that would give way holds changes that the user wants to keep.
    bool mayBeginRun();
    // The same for all of them.
    bool mayClose();
    void beginRun();
    void endRun();
    SheetResult &beginGrid(const std::vector<Field> &fields, const SelectedTable &table);
    void addRows(RowBlock &&rows);
    // The message comes to the front when there is no grid to look at.
    void say(const QString &line);
    void showMessages();

    void setPinned(bool isOn); // the result that is shown
    bool isPinned() const;
    SheetResult *shown() const; // null: none

private:
    SheetResult *at(int tab) const;
    bool mayLeave(bool alsoPinned);
    void dropGrey();
    void showTitle(SheetResult &result);

    QPlainTextEdit *m_messages;
    QPointer<SheetResult> m_filled;
    int m_number = 0; // of the last result of this run
    bool m_isGrey = false;
};
