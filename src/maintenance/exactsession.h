#pragma once

#include "core/connection.h"

// "BASE TABLE", "VIEW", "SEQUENCE", ...; empty when the database has nothing of that name.
QString objectType(Connection &connection, const QString &database, const QString &name);

// The server's CREATE text of a table or view. Throws SqlError, also when there is none.
QString createText(Connection &connection, const QString &database, const QString &name);

// Session settings under which values and definitions leave the server and come back unchanged, and the
// default database for definitions that name none. The destructor puts the old ones back; a session that had
// no default database keeps this one, since the server cannot take it away.
class ExactSession {
public:
    ExactSession(Connection &connection, const QString &database);
    ~ExactSession();
    ExactSession(const ExactSession &) = delete;
    ExactSession &operator=(const ExactSession &) = delete;

    static QString sqlMode();

private:
    Connection &m_connection;
    QStringList m_putBack;
};
