#include "controls/lists/fileboxes.h"

#include "controls/window/building.h"

#include <QDir>
#include <QKeyEvent>
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

FolderBox::FolderBox(QWidget *parent)
    : QListWidget(parent)
{
    setItemDelegate(new VisibleItems(this));
    connect(this, &QListWidget::itemDoubleClicked, this, &FolderBox::enter);
}

bool FolderBox::setPath(const QString &path)
{
    const QDir folder(QDir::cleanPath(QDir(path).absolutePath()));
    if (path.isEmpty() || !folder.exists() || !folder.isReadable())
        return false;
    const QString left = QDir(m_path).dirName();
    const bool isGoingUp = !m_path.isEmpty() && QFileInfo(m_path).absolutePath() == folder.path();
    m_path = folder.path();
    clear();
    if (!folder.isRoot())
        addItem(QStringLiteral(".."));
    addItems(folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name | QDir::IgnoreCase));
    const auto cameFrom = isGoingUp ? findItems(left, Qt::MatchExactly) : QList<QListWidgetItem *>();
    setCurrentItem(cameFrom.isEmpty() ? item(0) : cameFrom.constFirst());
    setToolTip(plainTip(QDir::toNativeSeparators(m_path)));
    Q_EMIT pathChanged(m_path);
    return true;
}

void FolderBox::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        enter(currentItem());
    else if (event->key() == Qt::Key_Backspace)
        goUp();
    else
        QListWidget::keyPressEvent(event);
}

void FolderBox::enter(const QListWidgetItem *item)
{
    if (!item)
        return;
    if (item->text() == QStringLiteral(".."))
        goUp();
    else
        setPath(QDir(m_path).filePath(item->text()));
}

void FolderBox::goUp()
{
    QDir folder(m_path);
    if (folder.cdUp())
        setPath(folder.path());
}

FileBox::FileBox(QWidget *parent)
    : QListWidget(parent)
{
    setSelectionMode(ExtendedSelection);
    setItemDelegate(new VisibleItems(this));
}

void FileBox::setPattern(const QString &pattern)
{
    m_pattern = pattern;
    list();
}

void FileBox::setPath(const QString &path)
{
    m_path = path;
    list();
}

QStringList FileBox::selectedFiles() const
{
    QStringList files;
    for (int row = 0; row < count(); ++row)
        if (item(row)->isSelected())
            files << item(row)->text();
    return files;
}

void FileBox::list()
{
    clear();
    if (!m_path.isEmpty())
        addItems(QDir(m_path).entryList({m_pattern}, QDir::Files, QDir::Name | QDir::IgnoreCase));
}

void FileBox::paintEvent(QPaintEvent *event)
{
    QListWidget::paintEvent(event);
    if (count() == 0)
        paintPlaceholder(*this, m_placeholder);
}
