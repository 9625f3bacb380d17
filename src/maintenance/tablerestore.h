#pragma once

#include "core/connection.h"
#include "core/sqlerror.h"
#include "maintenance/definition.h"
#include "maintenance/foreignkeys.h"
#include "maintenance/tablechangetriggers.h"

#include <QStringList>

// Puts one table or view back from its backup files, within an ExactSession. The old one is renamed aside
// and dropped only when the new one is complete with its rows, triggers and foreign keys.
class TableRestore {
public:
    TableRestore(Connection &connection, QString database, Definition definition);
    // Throws SqlError: the server's words, and then what became of the old table. Everything is as before,
    // unless the connection was lost or the way back failed too; the text then says where the rows are and
    // which statements bring the rest back.
    void run();

private:
    // What the old table's rows are found under.
    enum class Place { OldName, OldNameOrAside, Aside, AsideUntilDropped };

    void readOld();
    void takeOff();
    void setAside();
    void create();
    void load();
    void putOn();
    void dropOld();

    QString recover(const SqlError &error);
    void putBack();
    QString whereRowsAre() const;
    QString takenOffStatements() const;

    void send(const QStringList &statements);
    void step(const QStringList &statements, std::vector<QStringList> &undoList, const QStringList &undo);
    void undo(std::vector<QStringList> &undoList);
    QStringList createTrigger(const Trigger &trigger) const;
    QString dropTrigger(const Trigger &trigger) const;
    bool hasOld() const { return !m_oldType.isEmpty(); }

    Connection &m_connection;
    QString m_database;
    Definition m_definition;
    QString m_table; // quoted, with its database
    QString m_aside; // name of the old table while the new one is made

    QString m_oldType; // empty: there was nothing of that name
    std::vector<Trigger> m_triggers;
    std::vector<ForeignKey> m_ownKeys, m_incomingKeys;

    Place m_place = Place::OldName;
    bool m_isCreated = false;
    bool m_isTakenOff = false; // triggers and keys may be off the old table and not on the new
    std::vector<QStringList> m_undoOld, m_undoNew; // in the order of the steps that they undo
};
