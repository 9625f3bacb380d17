#include "core/session/wholefile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <filesystem>

#ifdef Q_OS_WIN
#include <io.h>
#else
#include <unistd.h>
#endif

namespace {

constexpr auto ownersPermissions = QFileDevice::ReadOwner | QFileDevice::WriteOwner;

} // namespace

bool writeAll(QFileDevice &file, QByteArrayView bytes)
{
    for (qint64 done = 0; done < bytes.size();) {
        // A disk that fills up takes a part and gives no reason; the next write has it.
        const qint64 written = file.write(bytes.data() + done, bytes.size() - done);
        if (written <= 0)
            return false;
        done += written;
    }
    return true;
}

bool syncToDisk(QFileDevice &file)
{
#ifdef Q_OS_WIN
    return file.flush() && _commit(file.handle()) == 0;
#else
    return file.flush() && fsync(file.handle()) == 0;
#endif
}

QString saveWholeFile(const QString &path, const QByteArray &bytes, Readers readers)
{
    QSaveFile file(path);
    // With a buffer, Qt 6.4's commit() takes no notice of a write that fails only when it is emptied (a full
    // disk) and would rename an empty file over the old one.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return file.errorString();
    if (readers == Readers::OwnerOnly)
        file.setPermissions(ownersPermissions);
    if (!writeAll(file, bytes) || !file.commit())
        return file.errorString();
    return {};
}

void withdrawFromOthers(const QString &path)
{
    constexpr auto others =
        QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ReadOther | QFileDevice::WriteOther;
    if (QFileInfo(path).isFile() && (QFile::permissions(path) & others))
        QFile::setPermissions(path, ownersPermissions);
}

QString whyLeftAlone(const QString &path)
{
    constexpr qint64 largest = 1024 * 1024;
    std::error_code unknown;
    const auto kind = std::filesystem::status(QFile::encodeName(path).toStdString(), unknown).type();
    using std::filesystem::file_type;
    if (unknown || kind == file_type::not_found || kind == file_type::unknown)
        return {}; // to open it will have the system's own words
    if (kind != file_type::regular)
        return QStringLiteral("「%1」は通常のファイルではないため、読み書きしません。").arg(path);
    if (QFileInfo(path).size() > largest)
        return QStringLiteral("「%1」は 1 MB を超えるため、読み書きしません。").arg(path);
    return {};
}

void removeLeftLocks(const QString &folder, const QString &suffix)
{
    const QString ending = QStringLiteral(".lock");
    const QDir place(folder);
    for (const QString &name : place.entryList({u'*' + suffix + ending}, QDir::Files)) {
        if (place.exists(name.chopped(ending.size())))
            continue;
        QLockFile lock(place.filePath(name));
        lock.setStaleLockTime(0);
        lock.tryLock(0); // one that lives has it, else it goes with this
    }
}

FileLock::FileLock(const QString &path)
    : m_lock(path + QStringLiteral(".lock"))
{
    constexpr int patience = 3000;
    m_lock.tryLock(patience);
}
