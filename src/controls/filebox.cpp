#include "controls/filebox.h"

#include "controls/placeholder.h"
#include "controls/visibleitems.h"

#include <QDir>

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
