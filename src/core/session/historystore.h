#pragma once

#include <QDateTime>
#include <QString>
#include <QtPlugin>

#include <memory>
#include <vector>

// One statement that was run, by whichever program of the folder. None holds a password.
struct HistoryEntry {
    qint64 id = 0;
    QDateTime time;
    QString server, database, statement, error;
    qint64 microseconds = 0;
    qint64 rows = -1; // given or touched; -1: not known
    QString name;     // of a favourite; empty: it is none
};

// The statements that were run, in a file that several programs share. What goes wrong costs the history,
// nothing else: nothing here throws.
class HistoryStore {
public:
    virtual ~HistoryStore() = default;
    virtual void add(const HistoryEntry &entry) = 0;
    // Favourites first, then the newest; those that hold the text, whatever the case of its letters.
    virtual std::vector<HistoryEntry> find(const QString &text, int most) = 0;
    virtual void setName(qint64 id, const QString &name) = 0;
    virtual void remove(qint64 id) = 0;
};

// What the module of the history offers. Qt's SQL module stays out of the program until somebody wants it:
// linked into the executable it costs every start several milliseconds.
class HistoryModule {
public:
    virtual ~HistoryModule() = default;
    // Null: the file cannot be opened; `why` has the words.
    // most: entries kept, favourites apart.
    virtual std::unique_ptr<HistoryStore> open(const QString &path, int most, QString &why) = 0;
};
Q_DECLARE_INTERFACE(HistoryModule, "tarnwell.HistoryModule/1")

struct Session;
// The store beside the settings, its module loaded with it. What an older program kept as history.json is
// taken over once, but for the statement that has just been run: it is about to be added with what came of
// it. Null: `why` has the words.
std::unique_ptr<HistoryStore> openHistoryStore(const Session &session, QString &why,
                                               const QString &justRun = {}, int most = 20'000);
