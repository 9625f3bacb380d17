#pragma once

#include "controls/grid/editedrows.h"
#include "core/command/dialogue.h"
#include "rows/rowgrid.h"
#include "rows/rowsavings.h"

class QLabel;
class QPushButton;

// Edits the rows of a result that are those of one table, over the connection that gave them: what is saved
// while the user has a transaction open becomes part of it.
class ResultRows : public EditedRows {
    Q_OBJECT

public:
    // All outlive it, but for the connection of the session.
    ResultRows(Session &session, Dialogue &dialogue, FlexGrid &grid);

    // Reads what the server says of the table; false where it was stopped or failed, which has been told.
    bool begin(const QString &database, const QString &table);
    int changeCount() const override { return m_rows.changeCount(); }
    bool mayLeave() override;
    void saveRows();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    bool run(const QString &what, const std::function<void()> &action);
    void showState(const QString &words = {});
    void showStatements();
    void addToMenu(QMenu *menu);

    Session &m_session;
    Dialogue &m_dialogue;
    FlexGrid &m_grid;
    RowGrid m_rows;
    RowSavings m_savings;
    QLabel *m_state;
    QPushButton *m_show, *m_cancel, *m_save;
};
