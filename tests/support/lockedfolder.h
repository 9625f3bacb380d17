#pragma once

#include <QFile>

#include <sys/fsuid.h>
#include <unistd.h>

// Nobody may write in the folder for as long as this lives, in this thread and those it starts; not even an
// administrator, who acts as nobody there.
class LockedFolder {
public:
    explicit LockedFolder(const QString &path)
        : m_file(path)
        , m_permissions(m_file.permissions())
    {
        m_file.setPermissions(QFile::ReadOwner | QFile::ExeOwner | QFile::ReadGroup | QFile::ExeGroup |
                              QFile::ReadOther | QFile::ExeOther);
        setfsuid(nobody);
    }
    ~LockedFolder()
    {
        setfsuid(geteuid());
        m_file.setPermissions(m_permissions);
    }
    LockedFolder(const LockedFolder &) = delete;
    LockedFolder &operator=(const LockedFolder &) = delete;

private:
    static constexpr uid_t nobody = 65534;

    QFile m_file;
    const QFile::Permissions m_permissions;
};
