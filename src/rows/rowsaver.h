#pragma once

#include "core/command/doubt.h"
#include "core/command/sessionvariables.h"
#include "rows/rowchange.h"

#include <functional>

// A row that is not on the server as it was read.
struct RowConflict {
    std::size_t change;           // its place among the changes
    std::vector<RowValue> theirs; // empty: the row is gone
};

// What became of a saving.
struct SaveReport {
    enum class Ending {
        Saved,
        Refused,   // nothing of it is on the server; of a table without transactions: what is in `saved` is
        Conflicts, // as Refused; somebody else has changed rows meanwhile
        Unknown    // nobody can tell whether it is on the server
    };
    Ending ending = Ending::Refused;
    // What each row holds now that is on the server, by its change's place; empty for a deleted row.
    std::map<std::size_t, std::vector<RowValue>> saved = {};
    std::vector<RowConflict> conflicts = {};
    std::optional<std::size_t> refused = {}; // the change that the server did not take
    QString words = {};                      // for the user; empty: nothing to say
    // Saved into the transaction that the user has open: what ends that decides.
    bool isInUsersTransaction = false;
};

// Saves changed rows of one table: in one transaction, of which nothing stays unless every statement changed
// exactly one row; row by row where the table has no transactions.
class RowSaver {
public:
    // Called before anything is final with what takes it back, in order, in terms of all columns of the
    // table; what it throws (a Failure) ends the saving with nothing saved.
    using Keep = std::function<void(const TableShape &whole, const std::vector<RowChange> &inverse)>;
    struct Options {
        // They are put back where they were, though sql_mode forbids them.
        bool allowsZeroDates = false;
        // A transaction of the user's own is joined, by a savepoint; else saving is refused while there is
        // one. Nothing is kept for taking it back then: its rollback does that.
        bool joinsTransaction = false;
    };

    RowSaver(Session &session, const TableShape &table, std::vector<RowChange> changes, Options options);
    RowSaver(Session &session, const TableShape &table, std::vector<RowChange> changes)
        : RowSaver(session, table, std::move(changes), Options())
    {
    }
    // Never throws.
    SaveReport save(const Keep &keep);

private:
    void begin();
    void end();
    void saveAtOnce(const Keep &keep);
    void saveRowByRow(const Keep &keep);
    void readExactly();
    void perform(std::size_t index);
    void requireOneRow(std::size_t index, qint64 affected);
    void readBack();
    void readBackOne(std::size_t index);
    void commit();
    void takeBack(Doubt doubt);
    void settle();
    void fail(const Failure &error);
    void findConflicts();
    std::vector<RowValue> asRead(const std::vector<RowValue> &whole) const;
    qint64 execute(const QString &statement);

    Session &m_session;
    const TableShape m_table, m_whole; // m_whole: with the columns that were not read
    const std::vector<RowChange> m_changes;
    const Options m_options;
    SessionVariables m_variables;
    ServerPlace m_place;
    // By change, every column of m_whole: as it was, where more is needed than was read; and as it became.
    std::map<std::size_t, std::vector<RowValue>> m_exact, m_after;
    std::optional<std::size_t> m_current;
    bool m_hasBegun = false, m_isInConflict = false, m_isCommitting = false;
    SaveReport m_report;
};
