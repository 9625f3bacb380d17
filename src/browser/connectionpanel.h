#pragma once

#include "core/session/session.h"

#include <optional>

struct TarnwellControls;

// The entries of a connection: between the panel's boxes and the session.
class ConnectionPanel {
public:
    ConnectionPanel(Session &session, TarnwellControls &controls)
        : m_session(session)
        , c(controls)
    {
    }

    void showSettings(); // what the settings hold, in the text boxes
    void GetDSNsAndDrivers();
    void chooseSaved(); // gDsn and gDriver, in the combo boxes
    // The server's boxes are enabled exactly while they count.
    void cboDSNList_Click();
    // The refusal for the first empty entry; empty when all are there.
    QString missingEntry() const;
    void showProfile(); // the session's saved connection, in all boxes
    bool shows(const ConnectionProfile &profile) const;
    // Into the session, for a connection; a saved one that they do not lead to any more is left.
    void takeEntries();
    void takeTexts(); // the same as they stand, for the console's next one
    // By the user; the connection itself may be lost, or being replaced.
    bool isConnected() const;
    // As fConnect(), and what the server says of its role. No value: connected.
    std::optional<Failure> connect();
    void showRole();

private:
    Session &m_session;
    TarnwellControls &c;
};
