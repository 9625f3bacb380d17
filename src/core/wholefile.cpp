#include "core/wholefile.h"

#include <QFileInfo>
#include <QSaveFile>

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

QString saveWholeFile(const QString &path, const QByteArray &bytes, Readers readers)
{
    const bool isForOwner = readers == Readers::OwnerOnly && !QFileInfo::exists(path);
    QSaveFile file(path);
    // With a buffer, Qt 6.4's commit() takes no notice of a write that fails only when it is emptied (a full
    // disk) and would rename an empty file over the old one.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return file.errorString();
    if (isForOwner)
        file.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    if (!writeAll(file, bytes) || !file.commit())
        return file.errorString();
    return {};
}
