#include "core/wholefile.h"

#include <QSaveFile>

QString saveWholeFile(const QString &path, const QByteArray &bytes)
{
    QSaveFile file(path);
    // Qt 6.4's commit() takes no notice of a write that fails only when its buffer is emptied (a full disk)
    // and would rename an empty file over the old one.
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush() ||
        !file.commit())
        return file.errorString();
    return {};
}
