#include "structure/surroundings/surroundingspane.h"

#include "controls/window/building.h"
#include "controls/window/narrow.h"
#include "controls/window/stopping.h"
#include "core/session/basconnection.h"
#include "core/sql/statements.h"

#include <QGridLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

constexpr int thingRole = Qt::UserRole; // its group and its place there

} // namespace

SurroundingsPane::SurroundingsPane(const Session &session)
    : m_connection(connectionStringOf(session))
    , m_link(std::make_unique<ServerLink>(session))
    , m_title(made<QLabel>("surroundingsTitle"))
    , m_tree(made<QTreeWidget>("surroundingsTree"))
    , m_newTrigger(made<QPushButton>("newTrigger", QStringLiteral("トリガー作成...")))
    , m_newEvent(made<QPushButton>("newEvent", QStringLiteral("イベント作成...")))
    , m_change(made<QPushButton>("changeRelated", QStringLiteral("変更...")))
    , m_drop(made<QPushButton>("dropRelated", QStringLiteral("削除...")))
{
    setObjectName(QStringLiteral("objectSurroundings"));
    buildLayout();
    const bool mayWrite = !session.profile.isReadOnly;
    m_newTrigger->setVisible(mayWrite);
    m_newEvent->setVisible(mayWrite);
    m_drop->setVisible(mayWrite);
    connect(m_tree, &QTreeWidget::itemActivated, this, &SurroundingsPane::open);
    connect(m_tree, &QTreeWidget::currentItemChanged, this, &SurroundingsPane::showButtons);
    connect(m_newTrigger, &QPushButton::clicked, this, [this] {
        Q_EMIT changeWanted({RelatedThing::Kind::Trigger, {}, {}, m_database, m_table});
    });
    connect(m_newEvent, &QPushButton::clicked, this, [this] {
        Q_EMIT changeWanted({RelatedThing::Kind::Event, {}, {}, m_database});
    });
    connect(m_change, &QPushButton::clicked, this, &SurroundingsPane::open);
    connect(m_drop, &QPushButton::clicked, this, [this] {
        if (const RelatedThing *thing = chosen())
            Q_EMIT dropWanted(RelatedThing(*thing));
    });
    showButtons();
}

void SurroundingsPane::buildLayout()
{
    m_title->setTextFormat(Qt::PlainText);
    m_tree->setHeaderLabels({QStringLiteral("名前"), QStringLiteral("内容")});
    m_tree->setAccessibleName(QStringLiteral("周辺"));
    m_tree->setColumnWidth(0, fontMetrics().averageCharWidth() * 26);
    m_tree->setUniformRowHeights(true);
    m_newTrigger->setToolTip(QStringLiteral("選んでいるテーブルのトリガーを作ります"));
    m_newEvent->setToolTip(QStringLiteral("選んでいるデータベースのイベントを作ります"));
    m_drop->setToolTip(QStringLiteral("選んだトリガーかイベントを削除します"));
    m_change->setToolTip(QStringLiteral("トリガーかイベントの定義を開きます (Enter)"));
    for (QPushButton *button : {m_newTrigger, m_newEvent, m_change, m_drop})
        letBeNarrow(*button);
    auto *buttons = new QGridLayout;
    buttons->setSpacing(4);
    buttons->addWidget(m_newTrigger, 0, 0);
    buttons->addWidget(m_newEvent, 0, 1);
    buttons->addWidget(m_change, 1, 0);
    buttons->addWidget(m_drop, 1, 1);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(m_title);
    layout->addWidget(m_tree, 1);
    layout->addLayout(buttons);
}

QList<QWidget *> SurroundingsPane::controls() const
{
    return {m_tree, m_newTrigger, m_newEvent, m_change, m_drop};
}

bool SurroundingsPane::isOf(const Session &session) const
{
    return m_connection == connectionStringOf(session);
}

void SurroundingsPane::showOf(const QString &database, const QString &table)
{
    m_database = database;
    m_table = table;
    const int number = ++m_asked;
    m_link->stop();
    const QString name = table.isEmpty() ? database : database + u'.' + table;
    m_newTrigger->setEnabled(!table.isEmpty());
    m_newEvent->setEnabled(!database.isEmpty());
    if (database.isEmpty()) {
        m_title->setText(QStringLiteral("周辺: データベースかテーブルを選んで下さい"));
        return showGroups({});
    }
    m_title->setText(QStringLiteral("周辺: %1　読み込み中…").arg(visibleName(name)));
    m_link->ask(
        *this, [database, table](Session &session) { return readSurroundings(session, database, table); },
        [this, number, name](const Surroundings &groups) {
            if (number != m_asked)
                return;
            m_title->setText(QStringLiteral("周辺: ") + visibleName(name));
            showGroups(groups);
        },
        [this, number, name](const Failure &failure) {
            if (number != m_asked)
                return;
            m_title->setText(QStringLiteral("周辺: %1　%2").arg(visibleName(name), failure.description()));
            showGroups({});
        });
}

void SurroundingsPane::showGroups(const Surroundings &groups)
{
    m_tree->clear();
    m_groups = groups;
    QFont bold = font();
    bold.setBold(true);
    for (std::size_t i = 0; i < m_groups.size(); ++i) {
        const RelatedGroup &group = m_groups[i];
        auto *head = new QTreeWidgetItem(
            m_tree, {group.title, !group.refusal.isEmpty() ? group.refusal
                                  : group.things.empty()   ? QStringLiteral("なし")
                                  : !group.isCounted       ? QString()
                                                           : QStringLiteral("%L1").arg(group.things.size())});
        head->setFont(0, bold);
        for (std::size_t place = 0; place < group.things.size(); ++place) {
            const RelatedThing &thing = group.things[place];
            auto *item = new QTreeWidgetItem(head, {visibleName(thing.name), visibleName(thing.details)});
            item->setToolTip(1, plainTip(thing.details));
            item->setData(0, thingRole, QSize(static_cast<int>(i), static_cast<int>(place)));
        }
        head->setExpanded(true);
    }
    showButtons();
}

const RelatedThing *SurroundingsPane::chosen() const
{
    const QTreeWidgetItem *item = m_tree->currentItem();
    if (!item || !item->data(0, thingRole).isValid())
        return nullptr;
    const QSize place = item->data(0, thingRole).toSize();
    return &m_groups[static_cast<std::size_t>(place.width())]
                .things[static_cast<std::size_t>(place.height())];
}

bool SurroundingsPane::isChangeable(const RelatedThing &thing)
{
    return thing.kind == RelatedThing::Kind::Trigger || thing.kind == RelatedThing::Kind::Event;
}

void SurroundingsPane::open()
{
    const RelatedThing *thing = chosen();
    if (!thing || thing->object.isEmpty())
        return;
    const RelatedThing copy = *thing; // the tree may be filled anew meanwhile
    if (isChangeable(copy))
        Q_EMIT changeWanted(copy);
    else
        Q_EMIT opened(copy);
}

void SurroundingsPane::showButtons()
{
    const RelatedThing *thing = chosen();
    const bool is = thing && isChangeable(*thing);
    m_change->setEnabled(is);
    m_drop->setEnabled(is);
}

void SurroundingsPane::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Escape)
        Q_EMIT closed();
    else
        QWidget::keyPressEvent(event);
}
