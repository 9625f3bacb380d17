#include "server/locks/lockpage.h"

#include "controls/window/building.h"
#include "server/keyedlist.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSplitter>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

QWidget *titled(const QString &title, QWidget *content)
{
    auto *area = new QWidget;
    auto *layout = new QVBoxLayout(area);
    layout->setContentsMargins({});
    auto *label = new QLabel(title);
    label->setBuddy(content);
    layout->addWidget(label);
    layout->addWidget(content, 1);
    return area;
}

std::vector<KeyedColumn> transactionColumns()
{
    return {{QStringLiteral("セッション"), true},
            {QStringLiteral("開いている秒"), true},
            {QStringLiteral("状態")},
            {QStringLiteral("ユーザー")},
            {QStringLiteral("接続元")},
            {QStringLiteral("データベース")},
            {QStringLiteral("ロックした行"), true},
            {QStringLiteral("変更した行"), true},
            {QStringLiteral("分離レベル")},
            {QStringLiteral("文")}};
}

// An empty tree says what that means.
class Tree : public QTreeWidget {
protected:
    void paintEvent(QPaintEvent *event) override
    {
        QTreeWidget::paintEvent(event);
        if (topLevelItemCount() == 0)
            paintPlaceholder(*this, accessibleDescription());
    }
};

QStringList textsOf(const LockNode &node, const std::vector<Process> &sessions)
{
    const auto found = std::ranges::find(sessions, node.session, &Process::id);
    const Process process = found == sessions.end() ? Process() : *found;
    const QString role = node.isInCircle                 ? QStringLiteral("互いに待つ")
                         : !node.wait                    ? QStringLiteral("待たせている")
                         : node.wait->blocking.isEmpty() ? QStringLiteral("待つ (相手は見えません)")
                                                         : QStringLiteral("待つ");
    return {node.session, role, process.user + (process.host.isEmpty() ? QString() : u'@' + process.host),
            node.wait ? node.wait->seconds : QString(),
            // Where the server tells the object with words only, these are all there is.
            !node.wait                    ? QString()
            : node.wait->object.isEmpty() ? node.wait->mode
                                          : node.wait->object,
            node.wait && !node.wait->object.isEmpty() ? node.wait->mode : QString(),
            process.statement.isEmpty() ? process.command : process.statement};
}

} // namespace

LockPage::LockPage(const ServerSurroundings &around)
    : ServerPage(around, "lockPage", QStringLiteral("ロック"))
    , m_tree(made<Tree>("lockTree"))
    , m_transactions(new KeyedList("transactionList", QStringLiteral("開いているトランザクション"),
                                   transactionColumns()))
    , m_deadlock(made<QPlainTextEdit>("lastDeadlock"))
    , m_showProcess(made<QPushButton>("showProcess", QStringLiteral("プロセスの一覧で示す")))
    , m_readDeadlock(made<QPushButton>("readDeadlock", QStringLiteral("最後のデッドロックを読む")))
{
    buildLayout();
    const auto goTo = [this] {
        if (const QString id = chosenSession(); !id.isEmpty())
            Q_EMIT processWanted(id);
    };
    m_tree->installEventFilter(this);
    m_transactions->installEventFilter(this);
    connect(m_tree, &QTreeWidget::itemActivated, this, goTo);
    connect(m_transactions, &KeyedList::activatedRow, this, goTo);
    connect(m_showProcess, &QPushButton::clicked, this, goTo);
    connect(m_readDeadlock, &QPushButton::clicked, this, &LockPage::readDeadlock);
}

void LockPage::buildLayout()
{
    m_tree->setHeaderLabels({QStringLiteral("セッション"), QStringLiteral("役割"), QStringLiteral("ユーザー"),
                             QStringLiteral("待つ秒"), QStringLiteral("対象"), QStringLiteral("ロック"),
                             QStringLiteral("文")});
    m_tree->setAccessibleName(QStringLiteral("誰が誰を待つか"));
    m_tree->setUniformRowHeights(true);
    constexpr int widths[] = {130, 150, 170, 60, 180, 90};
    for (int column = 0; column < static_cast<int>(std::size(widths)); ++column)
        m_tree->setColumnWidth(column, widths[column]);
    m_deadlock->setReadOnly(true);
    m_deadlock->setLineWrapMode(QPlainTextEdit::NoWrap);
    m_deadlock->setAccessibleName(QStringLiteral("最後のデッドロック"));
    m_deadlock->setPlaceholderText(QStringLiteral("SHOW ENGINE INNODB STATUS から読みます"));
    m_showProcess->setToolTip(QStringLiteral("選んだセッションを示します。そこで止められます (Enter)"));
    auto *split = new QSplitter(Qt::Vertical);
    split->addWidget(titled(QStringLiteral("誰が誰を待つか"), m_tree));
    split->addWidget(titled(QStringLiteral("開いているトランザクション"), m_transactions));
    split->addWidget(titled(QStringLiteral("最後のデッドロック"), m_deadlock));
    split->setChildrenCollapsible(false);
    split->setSizes({200, 180, 110});
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(m_showProcess);
    buttons->addWidget(m_readDeadlock);
    buttons->addStretch(1);
    content()->addWidget(split, 1);
    content()->addLayout(buttons);
}

void LockPage::refresh()
{
    ask([reader = m_reader](Session &session) { return readLocks(session, *reader); },
        [this](const LockPicture &picture) { show(picture); });
}

void LockPage::show(const LockPicture &picture)
{
    // Without the privileges others may wait all the same.
    const QString where = picture.missing.isEmpty() ? QString() : QStringLiteral("見える範囲には、");
    m_tree->setAccessibleDescription(where + QStringLiteral("ロックを待つセッションはありません"));
    m_transactions->setPlaceholderText(where + QStringLiteral("開いているトランザクションはありません"));
    QStringList problems = picture.missing;
    if (std::ranges::any_of(picture.waits, [](const LockWait &wait) { return wait.blocking.isEmpty(); }))
        problems << QStringLiteral(
            "このサーバーは、待たせている相手をすべては教えません。メタデータロックの相手は、"
            "performance_schema か、MariaDB の METADATA_LOCK_INFO があれば見えます。");
    tellProblem(problems.join(u'\n'));
    showTree(picture);
    showTransactions(picture.transactions);
}

void LockPage::showTree(const LockPicture &picture)
{
    const std::vector<LockNode> nodes = lockTree(picture.waits);
    std::vector<std::pair<QString, int>> structure;
    for (const LockNode &node : nodes)
        structure.emplace_back(node.session, node.parent);
    if (structure != m_structure)
        buildTree(nodes);
    m_structure = std::move(structure);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const QStringList texts = textsOf(nodes[i], picture.sessions);
        for (int column = 0; column < texts.size(); ++column) {
            m_items[i]->setText(column, visibleItem(texts[column].simplified().left(300)));
            m_items[i]->setToolTip(column, plainTip(texts[column]));
        }
    }
}

void LockPage::buildTree(const std::vector<LockNode> &nodes)
{
    const QString current = m_tree->currentItem() ? m_tree->currentItem()->text(0) : QString();
    m_tree->clear();
    m_items.clear();
    for (const LockNode &node : nodes) {
        auto *item = node.parent < 0 ? new QTreeWidgetItem(m_tree)
                                     : new QTreeWidgetItem(m_items[static_cast<std::size_t>(node.parent)]);
        m_items.push_back(item);
        item->setText(0, node.session);
        if (node.session == current)
            m_tree->setCurrentItem(item);
    }
    m_tree->expandAll();
    m_tree->viewport()->update(); // the placeholder
}

void LockPage::showTransactions(const std::vector<Transaction> &transactions)
{
    std::vector<KeyedRow> rows;
    for (const Transaction &each : transactions)
        rows.push_back({each.session,
                        {each.session, each.seconds, each.state, each.user, each.host, each.database,
                         each.rowsLocked, each.rowsModified, each.isolation, each.statement}});
    m_transactions->show(std::move(rows));
}

void LockPage::readDeadlock()
{
    ask([](Session &session) { return readLastDeadlock(session); },
        [this](const QString &text) {
            m_deadlock->setPlainText(text.isEmpty() ? QStringLiteral("デッドロックの記録はありません。")
                                                    : text);
        });
}

bool LockPage::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::FocusIn)
        m_isOfTree = watched == m_tree;
    return ServerPage::eventFilter(watched, event);
}

QString LockPage::chosenSession() const
{
    if (m_isOfTree)
        return m_tree->currentItem() ? m_tree->currentItem()->text(0) : QString();
    return m_transactions->currentKey();
}
