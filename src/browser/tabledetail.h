#pragma once

#include "core/session/session.h"

class QLabel;
class SqlTextBox;
struct TarnwellControls;

// The chosen table or view in the detail pane, and the chosen routine. All throw Failure; the pane
// keeps what was filled before the failing step.
class TableDetail {
public:
    TableDetail(Session &session, TarnwellControls &controls)
        : m_session(session)
        , m_controls(controls)
    {
    }

    void lstTables_Click();
    void lstProcFunc_Click();
    void sIndex_show();
    void optField_Click(int index);
    // The server's own text of what is shown, quotes and all, for editing.
    void showOwnTable();
    void showOwnRoutine();
    // What the user has made of a definition that was shown, and not applied; else empty.
    QString editedTable() const;
    QString editedRoutine() const;

private:
    void showFields(const QString &name);
    void showCreateText(const QString &name);
    void showStatus(const QString &name);
    void showOwn(const QString &showStatement, QLabel &shown, SqlTextBox &editor);

    Session &m_session;
    TarnwellControls &m_controls;
};
