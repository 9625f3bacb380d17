#pragma once

#include "core/session.h"

#include <QMap>
#include <QStringList>

class SqlTextBox;

// Offers SQL words and the names of the connected database's tables and columns for the word before the
// cursor; after a table's name and a dot, that table's columns alone. The names are read when they are first
// asked for, never before.
class WordCompletion {
public:
    WordCompletion(Session &session, SqlTextBox &box);

    // canReadNames: no statement of the connection is under way.
    void offer(bool canReadNames);
    void forgetNames() { m_hasNames = false; }

private:
    void readNames();
    QStringList wordsFor(const QString &begun, const QString &table) const;

    Session &m_session;
    SqlTextBox &m_box;
    QMap<QString, QStringList> m_columns; // by table, its name in lower case
    QStringList m_names;
    bool m_hasNames = false;
};
