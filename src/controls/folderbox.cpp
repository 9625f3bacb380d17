#include "controls/folderbox.h"

#include "controls/plaintip.h"
#include "controls/visibleitems.h"

#include <QDir>
#include <QKeyEvent>

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
