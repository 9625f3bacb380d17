#include "connections/connectionlist.h"

#include "controls/lists/filterline.h"
#include "controls/window/building.h"
#include "core/session/connectionstring.h"
#include "core/sql/listitem.h"

#include <QCollator>
#include <QPainter>
#include <QSignalBlocker>
#include <QStyle>

#include <algorithm>

namespace {

constexpr int idRole = Qt::UserRole, searchedRole = Qt::UserRole + 1;

bool isFolder(const QTreeWidgetItem &item)
{
    return item.data(0, idRole).toString().isEmpty();
}

class Item : public QTreeWidgetItem {
public:
    using QTreeWidgetItem::QTreeWidgetItem;
    bool operator<(const QTreeWidgetItem &other) const override
    {
        if (isFolder(*this) != isFolder(other))
            return isFolder(other);
        QCollator order; // db2 before db10
        order.setNumericMode(true);
        return order.compare(text(0), other.text(0)) < 0;
    }
};

QString shownName(const ConnectionProfile &profile)
{
    QString name = profile.name.isEmpty() ? profile.server + shownSource(profile.source) : profile.name;
    if (name.isEmpty())
        name = QStringLiteral("（名前なし）");
    const QString environment = environmentText(profile.environment);
    return visibleName(name) +
           (environment.isEmpty() ? QString() : QStringLiteral("（%1）").arg(environment));
}

// Where there is no colour the names still stand in line.
QIcon dot(const QString &colour, qreal scale)
{
    QPixmap picture(QSize(12, 12) * scale);
    picture.setDevicePixelRatio(scale);
    picture.fill(Qt::transparent);
    if (const QColor shown(colour); shown.isValid()) {
        QPainter painter(&picture);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(shown);
        painter.drawEllipse(1, 1, 10, 10);
    }
    return picture;
}

} // namespace

ConnectionList::ConnectionList()
{
    setHeaderHidden(true);
    setRootIsDecorated(false); // what is in no folder would stand as if it were in one
    setIndentation(14);
    setAccessibleName(QStringLiteral("接続先の一覧"));
}

void ConnectionList::fill(const std::vector<ConnectionProfile> &profiles, const QString &idToChoose)
{
    const QSignalBlocker quiet(this);
    clear();
    for (const ConnectionProfile &profile : profiles) {
        auto *item = new Item;
        item->setData(0, idRole, profile.id);
        if (profile.folder.isEmpty())
            addTopLevelItem(item);
        else
            folderItem(profile.folder)->addChild(item);
        describe(profile);
    }
    sortItems(0, Qt::AscendingOrder);
    expandAll();
    filter(m_filter);
    QTreeWidgetItem *chosen = find(idToChoose);
    const std::vector<QTreeWidgetItem *> all = connections();
    if (!chosen && !all.empty())
        chosen = firstSeen() ? firstSeen() : all.front();
    setCurrentItem(chosen);
}

QTreeWidgetItem *ConnectionList::firstSeen() const
{
    const std::vector<QTreeWidgetItem *> all = connections();
    const auto seen = std::ranges::find_if(all, [](const auto *each) { return !each->isHidden(); });
    return seen == all.end() ? nullptr : *seen;
}

void ConnectionList::describe(const ConnectionProfile &profile)
{
    QTreeWidgetItem *item = find(profile.id);
    if (!item)
        return;
    item->setText(0, shownName(profile));
    item->setIcon(0, dot(profile.colour, devicePixelRatioF()));
    item->setToolTip(0, plainTip(visibleName(profile.user + u'@' + profile.server + u':' + profile.port)));
    item->setData(0, searchedRole,
                  QStringList{profile.name, profile.folder, profile.server, profile.user, profile.source,
                              environmentText(profile.environment)}
                      .join(u' '));
}

void ConnectionList::filter(const QString &text)
{
    m_filter = text;
    for (int i = 0; i < topLevelItemCount(); ++i)
        topLevelItem(i)->setHidden(true); // a folder until one of its connections is seen
    for (QTreeWidgetItem *item : connections()) {
        const bool isSeen = passesFilter(item->data(0, searchedRole).toString(), text);
        item->setHidden(!isSeen);
        if (isSeen && item->parent())
            item->parent()->setHidden(false);
    }
    // Enter goes by what is chosen: that is never one that is not seen, unless there is no other.
    if (QTreeWidgetItem *seen = firstSeen(); seen && currentItem() && currentItem()->isHidden())
        setCurrentItem(seen);
}

void ConnectionList::paintEvent(QPaintEvent *event)
{
    QTreeWidget::paintEvent(event);
    if (topLevelItemCount() == 0)
        paintPlaceholder(*this, QStringLiteral("「新規」で接続先を加えます"));
    else if (!firstSeen())
        paintPlaceholder(*this, QStringLiteral("絞り込みに合うものがありません"));
}

bool ConnectionList::showsChosen() const
{
    return currentItem() && !currentItem()->isHidden();
}

QString ConnectionList::chosenId() const
{
    return currentItem() ? currentItem()->data(0, idRole).toString() : QString();
}

QStringList ConnectionList::folders() const
{
    QStringList names;
    for (int i = 0; i < topLevelItemCount(); ++i)
        if (isFolder(*topLevelItem(i)))
            names << topLevelItem(i)->text(0);
    return names;
}

QTreeWidgetItem *ConnectionList::folderItem(const QString &folder)
{
    for (int i = 0; i < topLevelItemCount(); ++i)
        if (QTreeWidgetItem *item = topLevelItem(i); isFolder(*item) && item->text(0) == folder)
            return item;
    auto *item = new Item({folder});
    item->setFlags(Qt::ItemIsEnabled);
    item->setIcon(0, style()->standardIcon(QStyle::SP_DirIcon));
    addTopLevelItem(item);
    return item;
}

QTreeWidgetItem *ConnectionList::find(const QString &id) const
{
    const std::vector<QTreeWidgetItem *> all = connections();
    const auto found =
        std::ranges::find_if(all, [&](const auto *each) { return each->data(0, idRole).toString() == id; });
    return found == all.end() ? nullptr : *found;
}

std::vector<QTreeWidgetItem *> ConnectionList::connections() const
{
    std::vector<QTreeWidgetItem *> items;
    for (int i = 0; i < topLevelItemCount(); ++i) {
        QTreeWidgetItem *item = topLevelItem(i);
        if (!isFolder(*item))
            items.push_back(item);
        for (int child = 0; child < item->childCount(); ++child)
            items.push_back(item->child(child));
    }
    return items;
}
