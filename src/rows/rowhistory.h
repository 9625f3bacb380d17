#pragma once

#include "core/session/session.h"
#include "rows/rowchange.h"

#include <QDateTime>

// A saving of rows, with what takes it back.
struct RowSaving {
    QString id;
    QDateTime time;
    QString database, table;
    QString what;     // "変更 2, 追加 1"
    QString timeZone; // of the session: in another one a TIMESTAMP's text is another moment
    QStringList columns;
    std::vector<RowChange> inverse;
    QStringList statements;  // of the inverse, for the user to read; long ones are cut
    bool isTooLarge = false; // it was not kept, and cannot be taken back
    bool isUndone = false;
};

// The part of a file's name that tells the session's server and account from others.
QString fileStemOf(const Session &session);

// The last savings of a connection: a file for each day beside the settings, for its owner only. A saving of
// more than mostSavingBytes is noted without what takes it back; of a file that grows beyond mostFileBytes
// the oldest go.
class RowHistory {
public:
    static constexpr qsizetype mostSavingBytes = 16 * 1024 * 1024;
    static constexpr qsizetype mostFileBytes = 64 * 1024 * 1024;

    // Empty texts where the session has no place for settings: nothing is kept then.
    explicit RowHistory(const Session &session);

    struct Kept {
        QString id = {};
        bool isTooLarge = false; // only that there was a saving is noted
    };
    // Notes a saving that is about to be committed. Throws Failure with the system's words.
    Kept add(RowSaving saving);
    // Gone again: it was not saved after all.
    void drop(const QString &id);
    void markUndone(const QString &id);
    // Newest first, of the last days.
    std::vector<RowSaving> savings() const;

private:
    QString todaysFile() const;
    QStringList files() const; // newest first
    void change(const QString &id, bool drops);

    QString m_folder, m_stem;
};

RowSaving savingOf(const TableShape &whole, const std::vector<RowChange> &inverse);
