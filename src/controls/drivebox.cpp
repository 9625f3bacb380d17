#include "controls/drivebox.h"

#include <QDir>
#include <QStorageInfo>

namespace {

// The system's own mounts hold no backups.
bool isForUsers(const QStorageInfo &volume)
{
    const QString root = volume.rootPath();
    for (const char *system : {"/proc", "/sys", "/dev", "/boot", "/snap", "/etc", "/run", "/var/lib"}) {
        const QString folder = QLatin1String(system);
        const bool isBelow = root == folder || root.startsWith(folder + u'/');
        if (isBelow && !root.startsWith(QStringLiteral("/run/media/")))
            return false;
    }
    return volume.isReady() && QFileInfo(root).isDir();
}

} // namespace

DriveBox::DriveBox(QWidget *parent)
    : QComboBox(parent)
{
    QStringList paths{QDir::homePath()};
    for (const QFileInfo &root : QDir::drives())
        paths << root.absoluteFilePath();
    for (const QStorageInfo &volume : QStorageInfo::mountedVolumes())
        if (isForUsers(volume))
            paths << volume.rootPath();
    paths.removeDuplicates();
    paths.sort();
    for (const QString &path : paths)
        addItem(QDir::toNativeSeparators(path), path);
    connect(this, &QComboBox::activated, this, [this] { Q_EMIT driveChosen(drive()); });
}

void DriveBox::showDriveOf(const QString &path)
{
    int best = -1;
    for (int i = 0; i < count(); ++i) {
        const QString root = itemData(i).toString();
        const bool isBelow = path == root || path.startsWith(root.endsWith(u'/') ? root : root + u'/');
        if (isBelow && (best < 0 || root.size() > itemData(best).toString().size()))
            best = i;
    }
    setCurrentIndex(best);
}
