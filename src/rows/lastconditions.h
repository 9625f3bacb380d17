#pragma once

#include "core/session/session.h"

#include <QJsonObject>

// The last conditions and orders of each table, newest first: a file beside the settings, for its owner only.
// Where there is no place for settings they live as long as the program.
class LastConditions {
public:
    struct Texts {
        QStringList conditions, orders;
    };

    explicit LastConditions(const Session &session)
        : m_session(session)
    {
    }

    Texts of(const QString &database, const QString &table);
    // Empty texts and those that may hold a password are not kept.
    void add(const QString &database, const QString &table, const QString &condition, const QString &order);

private:
    QString path() const;
    QString keyOf(const QString &database, const QString &table) const;
    void read();

    const Session &m_session;
    QJsonObject m_tables;
};
