#include "core/session/fileclaim.h"

#include <filesystem>

#ifndef Q_OS_WIN
#include <cerrno>
#include <sys/file.h>
#include <sys/stat.h>
#endif

namespace {

std::filesystem::path systemPath(const QString &path)
{
    return QFile::encodeName(path).toStdString();
}

} // namespace

#ifdef Q_OS_WIN
// Nobody can rename or remove there what somebody has open.
bool claimForWriting(QFile &)
{
    return true;
}
#else
bool claimForWriting(QFile &file)
{
    if (flock(file.handle(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
        return false;
    using Status = struct stat;
    Status opened{}, named{};
    return fstat(file.handle(), &opened) == 0 &&
           stat(QFile::encodeName(file.fileName()).constData(), &named) == 0 &&
           opened.st_ino == named.st_ino && opened.st_dev == named.st_dev;
}
#endif

QString renameClaimed(QFile &file, const QString &name)
{
    const QString before = file.fileName();
#ifdef Q_OS_WIN
    file.close();
#endif
    std::error_code error;
    std::filesystem::rename(systemPath(before), systemPath(name), error);
    file.close();
    return error ? QString::fromStdString(error.message()) : QString();
}
