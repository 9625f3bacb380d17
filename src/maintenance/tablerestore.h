#pragma once

#include "maintenance/definition.h"
#include "maintenance/foreignkeys.h"
#include "maintenance/triggers.h"

// Puts one table or view back from its backup files. The old one is renamed aside and dropped only when the
// new one is complete with its rows, triggers and foreign keys.
class TableRestore {
public:
    TableRestore(Session &session, QString database, Definition definition);
    // Throws SqlError: the server's words, and then what became of the old table. Everything is as before,
    // unless the way back failed too; the text then says where the rows are and which statements bring the
    // rest back. Where an answer was lost, a new connection is made once.
    void run();

private:
    // What was being done; whatever failed, failed while the stage was this one.
    enum class Stage { Reading, TakingOff, SettingAside, Making, DroppingOld, Done };

    void readOld();
    void takeOff();
    void setAside();
    void create();
    void load();
    void putOn();
    void dropOld();

    QString undo(const SqlError &error);
    void putBack();
    void putBackOn();
    QString whereRowsAre() const;
    QString takenOffStatements() const;

    void send(const QString &statement) { m_session.connection().execute(statement); }
    bool isThere(const QString &quotedTable);
    void createTrigger(const Trigger &trigger);
    bool hasOld() const { return !m_oldType.isEmpty(); }

    Session &m_session;
    QString m_database;
    Definition m_definition;
    QString m_table; // quoted, with its database
    QString m_aside; // name of the old table while the new one is made
    QString m_asideTable;

    QString m_oldType; // empty: there was nothing of that name
    std::vector<Trigger> m_triggers;
    std::vector<ForeignKey> m_ownKeys, m_incomingKeys;

    Stage m_stage = Stage::Reading;
};
