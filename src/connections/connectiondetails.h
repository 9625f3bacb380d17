#pragma once

#include "connections/connectionfields.h"

struct Session;

// The chosen connection: its fields, what is to be known of it, and its password between field and key store.
class ConnectionDetails : public QWidget {
    Q_OBJECT

public:
    // The session outlives it.
    explicit ConnectionDetails(Session &session);

    ConnectionFields &fields() const { return *m_fields; }
    void describe(const ConnectionProfile &profile); // not saved: there is none
    // The session is connected by it.
    bool isInUse(const ConnectionProfile &profile) const;
    // The typed password into the key store, or what is there out of it. What the user has to know of it;
    // mostly nothing.
    QString keepPassword(const ConnectionProfile &before, const ConnectionProfile &now);
    // Connects by the fields and shows how that went.
    void test(const ConnectionProfile &shown);

private:
    std::optional<QString> password(const ConnectionProfile &profile);

    Session &m_session;
    ConnectionFields *m_fields;
    QLabel *m_inUse, *m_result;
    QString m_keptPassword; // what was put into the key store last
};
