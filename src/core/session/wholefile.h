#pragma once

#include <QByteArray>
#include <QFileDevice>
#include <QLockFile>
#include <QString>

// Writes all of the bytes to a file that was opened unbuffered; false: errorString() has the system's own
// words.
bool writeAll(QFileDevice &file, QByteArrayView bytes);

// Waits until the disk holds what was written; false: the system refused (a full disk may say so only here).
bool syncToDisk(QFileDevice &file);

// Who may read the file. As usual: one that is there keeps its permissions.
enum class Readers { AsUsual, OwnerOnly };

// The bytes in a file that is there whole or stays as it was: written beside it and renamed over it. Returns
// the system's own words when it failed, else an empty text.
QString saveWholeFile(const QString &path, const QByteArray &bytes, Readers readers = Readers::AsUsual);

// Takes a file that is there away from all readers but its owner.
void withdrawFromOthers(const QString &path);

// Why the program leaves a file of its own alone: it is no ordinary file (a pipe would never end), or larger
// than any that the program writes. Empty for one that is ordinary or not there.
QString whyLeftAlone(const QString &path);

// Removes the locks in a folder whose files, of a name that ends so, are gone: a program that ended between
// the two left them.
void removeLeftLocks(const QString &folder, const QString &suffix);

// Keeps other programs of this folder from the file between reading and writing it. Waits for them a few
// seconds; one that hangs, and a folder that takes no lock, hold nobody up.
class FileLock {
public:
    explicit FileLock(const QString &path);

private:
    QLockFile m_lock;
};
