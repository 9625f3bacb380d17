#pragma once

#include "core/command/undolog.h"
#include "transfer/copy/sidetable.h"
#include "transfer/dump/dumpplan.h"

#include <functional>
#include <vector>

// Tables and sequences that a copy puts in the place of others. They are made and filled beside the old ones,
// which stay as they are until all is there; then they change places, and the old ones are dropped last. An
// UndoLog notes it until the copy has ended.
class Staging {
public:
    // `replaced`: what of them there is; nothing: the copied ones are made under their own names. `send`
    // sends a statement as the copy does. `count`: how many tables and sequences are copied.
    Staging(Session &to, QString database, QStringList replaced, qsizetype count,
            std::function<void(const QString &statement)> send);

    bool isUsed() const { return !m_replaced.isEmpty(); }
    // Throws Failure, with nothing changed, where the account may not let tables change places.
    void requireRights();
    // The object as it is made, a table or sequence beside the one that it is to replace.
    DumpObject beside(const DumpObject &object);
    // Throws Failure; giveUp() then says what there is.
    void changePlaces();
    // The copy is there, with all that belongs to its tables.
    void finish() { m_log.close(); }
    bool hasChangedPlaces() const { return m_stage >= Stage::Changed; }
    // Names of tables that a copy has left in the database which did not live to end.
    QStringList leftBehind();
    // After a failure: drops what was made beside the old tables where those still have their places. In
    // words, what the target has then.
    QString giveUp();

private:
    enum class Stage { Filling, Changing, Changed, Done };
    struct Place {
        QString keyword, name;
        SideTable table;
        QString side, old;       // names
        bool isComplete = false; // with its clauses
    };

    void begin();
    QString sideName(qsizetype number) const;
    void beginExchange(const QString &statement, const QStringList &left);
    void requireFreeNames();
    void tryForeignKeys();
    void keepHistory();
    void addClauses(Place &place);
    QString completion(const Place &place) const;
    QString sideOf(const QString &name) const;
    QStringList namesReferredTo();
    QStringList column(const QString &statement);
    QString inDatabase(const QString &name) const;
    void settleDoubt();
    QString wordsOnPlaces();

    Session &m_to;
    const QString m_database;
    const QStringList m_replaced;
    const qsizetype m_count;
    const std::function<void(const QString &)> m_send;
    const QString m_mark; // in all names that this makes
    UndoLog m_log;
    std::vector<Place> m_places;
    Stage m_stage = Stage::Filling;
};
