#pragma once

#include "core/command/dialogue.h"
#include "rows/lastconditions.h"
#include "rows/rowgrid.h"
#include "rows/rowsavings.h"
#include "rows/rowspane.h"
#include "rows/rowsquery.h"

// What one does with the rows of a table in a pane: find, go on to other pages, edit, save, take back, follow
// foreign keys. Whoever owns the pane reads the rows, by the statement that this gives, and puts them into
// the grid.
class RowsView : public QObject {
    Q_OBJECT

public:
    // All outlive it; what talks to the server runs in the session's runner, for the pane.
    RowsView(Session &session, Dialogue &dialogue, RowsPane &pane);

    // The statement for the rows that are wanted next: the given one for the first rows of the table as they
    // come. Throws Failure when the conditions cannot be sent.
    QString statementFor(const QString &database, const QString &table, int limit, const QString &plain);
    // The rows that it gave stand in the grid now.
    void takeRows();

    // Other rows drop what is not saved; false: the user wants to keep it, or something runs that it must not
    // be dropped under.
    bool mayLeave();
    QString database() const { return m_database; }
    QString table() const { return m_table; }
    void saveRows();
    // What the next reading of that table's rows is to find.
    void showCondition(const QString &database, const QString &table, const QString &condition);

Q_SIGNALS:
    void readWanted();
    // The rows of another table.
    void tableWanted(const QString &database, const QString &table, const QString &condition);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void run(const QString &what, const std::function<void()> &action);
    void readAgain(RowsQuery::Place place, qint64 number = 0);
    void goOn(bool isForward);
    void goToRow();
    void showState(const QString &words = {});
    QString placeText() const;
    void remember();
    void showStatements();
    void cancel();
    void undoSaved();

    // rowsmenu: what a grid's menu offers for its rows.
    void addToMenu(QMenu *menu);
    void addFollowing(QMenu *menu, const QModelIndex &cell);
    void followTo(const ForeignKey &key, int row);
    void followFrom(int row);
    void filterBy(const QModelIndex &cell, bool isExcluded);

    Session &m_session;
    Dialogue &m_dialogue;
    RowsPane &m_pane;
    RowGrid m_rows;
    RowSavings m_savings;
    QString m_database, m_table; // of the rows that are wanted or shown
    RowsQuery m_query;           // that gave them
    RowsQuery m_wanted;
    bool m_isOrdered = false;
    qint64 m_firstNumber = 0; // rows before the page
    LastConditions m_lastConditions;
    bool m_isEscapePressed = false;
};
