#include "connections/connectionswindow.h"

#include "connections/connectionadvice.h"
#include "connections/connectionfields.h"
#include "connections/connectiontest.h"
#include "connections/keystore.h"
#include "controls/lists/filterline.h"
#include "controls/window/building.h"
#include "core/session/session.h"
#include "core/sql/listitem.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QSplitter>
#include <QTreeWidget>

namespace {

constexpr int idRole = Qt::UserRole;

QString shownName(const ConnectionProfile &profile)
{
    const QString name = profile.name.isEmpty() ? profile.server + profile.source : profile.name;
    const QString environment = environmentText(profile.environment);
    return visibleName(name) +
           (environment.isEmpty() ? QString() : QStringLiteral("（%1）").arg(environment));
}

QIcon dot(const QString &colour)
{
    QPixmap picture(12, 12);
    picture.fill(colour.isEmpty() ? QColor(Qt::transparent) : QColor(colour));
    return picture;
}

void describe(const ConnectionProfile &profile, QTreeWidgetItem &item)
{
    item.setText(0, shownName(profile));
    item.setIcon(0, dot(profile.colour));
    item.setToolTip(0, plainTip(visibleName(profile.user + u'@' + profile.server + u':' + profile.port)));
}

} // namespace

ConnectionsWindow::ConnectionsWindow(Session &session, const QString &chosenId, QWidget *parent)
    : StoppableDialog(session.runner, parent)
    , m_session(session)
    , m_store(connectionsFile(session))
    , m_dialogue(this, {})
    , m_list(made<QTreeWidget>("connectionList"))
    , m_filter(made<QLineEdit>("connectionFilter"))
    , m_fields(new ConnectionFields(this))
    , m_result(made<QLabel>("connectionResult"))
{
    setObjectName(QStringLiteral("connectionsWindow"));
    setWindowTitle(QStringLiteral("接続先"));
    auto *split = new QSplitter;
    split->addWidget(listSide());
    split->addWidget(fieldSide());
    split->setChildrenCollapsible(false);
    split->setStretchFactor(1, 1);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(split);
    connect(m_list, &QTreeWidget::currentItemChanged, this, &ConnectionsWindow::showChosen);
    connect(m_list, &QTreeWidget::itemDoubleClicked, this, [this](const QTreeWidgetItem *item) {
        if (!item->data(0, idRole).toString().isEmpty())
            use();
    });
    m_list->installEventFilter(this);
    m_filter->installEventFilter(this);
    tell(m_store.read());
    fill(chosenId);
    m_list->setFocus();
    resize(QSize(820, 560).boundedTo(screen()->availableSize() - QSize(40, 60)));
}

QWidget *ConnectionsWindow::listSide()
{
    m_list->setHeaderHidden(true);
    m_list->setIndentation(14);
    m_list->setAccessibleName(QStringLiteral("接続先の一覧"));
    m_filter->setPlaceholderText(QStringLiteral("絞り込み"));
    m_filter->setAccessibleName(QStringLiteral("接続先の絞り込み"));
    connect(m_filter, &QLineEdit::textChanged, this, [this] {
        keep();
        applyFilter();
    });
    auto *side = new QWidget;
    auto *layout = new QVBoxLayout(side);
    layout->setContentsMargins({});
    layout->addWidget(m_filter);
    layout->addWidget(m_list, 1);
    auto *edit = new QHBoxLayout;
    edit->addWidget(button("newConnection", QStringLiteral("新規"), &ConnectionsWindow::add));
    for (QPushButton *needsOne :
         {button("copyConnection", QStringLiteral("コピー"), &ConnectionsWindow::copy),
          button("deleteConnection", QStringLiteral("削除"), &ConnectionsWindow::remove)}) {
        edit->addWidget(needsOne);
        m_needChosen.push_back(needsOne);
    }
    layout->addLayout(edit);
    auto *files = new QHBoxLayout;
    files->addWidget(button("importConnections", QStringLiteral("読み込み..."), &ConnectionsWindow::import));
    files->addWidget(
        button("exportConnections", QStringLiteral("書き出し..."), &ConnectionsWindow::exportAll));
    layout->addLayout(files);
    return side;
}

QWidget *ConnectionsWindow::fieldSide()
{
    m_result->setTextFormat(Qt::PlainText);
    m_result->setWordWrap(true);
    m_result->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_result->setAccessibleName(QStringLiteral("接続テストの結果"));
    auto *side = new QWidget;
    auto *layout = new QVBoxLayout(side);
    layout->setContentsMargins({});
    auto *area = new QScrollArea; // small screens do not hold all fields
    area->setWidgetResizable(true);
    area->setFrameShape(QFrame::NoFrame);
    area->setWidget(m_fields);
    layout->addWidget(area, 1);
    layout->addWidget(m_result);
    auto *buttons = new QHBoxLayout;
    for (QPushButton *each :
         {button("testConnection", QStringLiteral("接続テスト"), &ConnectionsWindow::test),
          button("fillConnection", QStringLiteral("入力欄に写す"), &ConnectionsWindow::fillPanel),
          m_use = button("useConnection", QStringLiteral("接続"), &ConnectionsWindow::use)}) {
        buttons->addWidget(each);
        m_needChosen.push_back(each);
    }
    m_use->setDefault(true);
    auto *close = made<QPushButton>("closeConnections", QStringLiteral("閉じる"));
    close->setAutoDefault(false);
    setStopsRunningCommand(close, true);
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    buttons->insertStretch(1);
    buttons->addWidget(close);
    layout->addLayout(buttons);
    return side;
}

QPushButton *ConnectionsWindow::button(const char *name, const QString &text,
                                       void (ConnectionsWindow::*action)())
{
    auto *result = made<QPushButton>(name, text);
    result->setAutoDefault(false);
    connect(result, &QPushButton::clicked, this, action);
    return result;
}

void ConnectionsWindow::fill(const QString &idToChoose)
{
    {
        const QSignalBlocker quiet(m_list);
        m_list->clear();
        for (const ConnectionProfile &profile : m_store.profiles()) {
            QTreeWidgetItem *folder = folderItem(profile.folder);
            QTreeWidgetItem *item = itemOf(profile);
            if (folder)
                folder->addChild(item);
            else
                m_list->addTopLevelItem(item);
        }
        m_list->sortItems(0, Qt::AscendingOrder);
        m_list->expandAll();
        applyFilter();
        QStringList folders{QString()};
        for (int i = 0; i < m_list->topLevelItemCount(); ++i)
            if (m_list->topLevelItem(i)->data(0, idRole).toString().isEmpty())
                folders << m_list->topLevelItem(i)->text(0);
        m_fields->setFolders(folders);
        QTreeWidgetItem *chosen = findItem(idToChoose);
        for (QTreeWidgetItemIterator each(m_list); *each && !chosen; ++each)
            if (!(*each)->data(0, idRole).toString().isEmpty())
                chosen = *each;
        m_list->setCurrentItem(chosen);
    }
    m_shown = {};
    showChosen();
}

QTreeWidgetItem *ConnectionsWindow::itemOf(const ConnectionProfile &profile)
{
    auto *item = new QTreeWidgetItem;
    item->setData(0, idRole, profile.id);
    describe(profile, *item);
    return item;
}

QTreeWidgetItem *ConnectionsWindow::folderItem(const QString &folder)
{
    if (folder.isEmpty())
        return nullptr;
    for (int i = 0; i < m_list->topLevelItemCount(); ++i)
        if (QTreeWidgetItem *item = m_list->topLevelItem(i);
            item->data(0, idRole).toString().isEmpty() && item->text(0) == folder)
            return item;
    auto *item = new QTreeWidgetItem({folder});
    item->setFlags(Qt::ItemIsEnabled);
    m_list->addTopLevelItem(item);
    return item;
}

QTreeWidgetItem *ConnectionsWindow::findItem(const QString &id) const
{
    for (QTreeWidgetItemIterator each(m_list); *each && !id.isEmpty(); ++each)
        if ((*each)->data(0, idRole).toString() == id)
            return *each;
    return nullptr;
}

void ConnectionsWindow::applyFilter()
{
    for (QTreeWidgetItemIterator each(m_list); *each; ++each) {
        QTreeWidgetItem *item = *each;
        const QString id = item->data(0, idRole).toString();
        if (id.isEmpty()) {
            item->setHidden(true); // until one of its items is seen
            continue;
        }
        const ConnectionProfile *profile = m_store.find(id);
        const bool isSeen =
            profile &&
            passesFilter(QStringList{profile->name, profile->folder, profile->server, profile->user,
                                     profile->source, environmentText(profile->environment)}
                             .join(u' '),
                         m_filter->text());
        item->setHidden(!isSeen);
        if (isSeen && item->parent())
            item->parent()->setHidden(false);
    }
}

void ConnectionsWindow::showChosen()
{
    keep();
    const QTreeWidgetItem *item = m_list->currentItem();
    const ConnectionProfile *profile = item ? m_store.find(item->data(0, idRole).toString()) : nullptr;
    m_shown = profile ? *profile : ConnectionProfile();
    m_keptPassword.clear();
    m_fields->show(m_shown);
    m_fields->setEnabled(profile);
    m_result->clear();
    for (QPushButton *each : m_needChosen)
        each->setEnabled(profile);
}

bool ConnectionsWindow::keep()
{
    if (!isChosen())
        return true;
    ConnectionProfile now = m_fields->profile(m_shown);
    keepPassword(m_shown, now);
    if (now == m_shown)
        return true;
    const QString id = m_shown.id;
    const bool isMoved = now.folder != m_shown.folder;
    const QString words = m_store.put(now, m_shown);
    const bool isKept = m_store.find(now.id) && *m_store.find(now.id) == now;
    tell(words);
    if (!isKept)
        return false;
    m_shown = now;
    QTreeWidgetItem *item = findItem(id);
    if (item && now.id == id && !isMoved) {
        describe(now, *item);
        return true;
    }
    // Not from within the list's own signal.
    QMetaObject::invokeMethod(
        this,
        [this] {
            const QTreeWidgetItem *current = m_list->currentItem();
            keep();
            fill(current ? current->data(0, idRole).toString() : QString());
        },
        Qt::QueuedConnection);
    return true;
}

void ConnectionsWindow::keepPassword(const ConnectionProfile &before, const ConnectionProfile &now)
{
    const QString typed = m_fields->password();
    const bool isForStore = now.keeping == PasswordKeeping::Desktop;
    if (isForStore ? typed.isEmpty() || typed == m_keptPassword : before.keeping != PasswordKeeping::Desktop)
        return;
    m_session.runner.run(this, QStringLiteral("キーストア"), [&] {
        KeyStore store;
        const QString why = isForStore ? store.write(now.id, typed) : store.remove(now.id);
        if (isForStore && !why.isEmpty())
            tell(QStringLiteral("パスワードをキーストアに保存できません。接続のたびに尋ねます。\n") + why);
        m_keptPassword = isForStore ? typed : QString();
    });
}

QString ConnectionsWindow::password(const ConnectionProfile &profile)
{
    const QString typed = m_fields->password();
    if (!typed.isEmpty() || profile.keeping != PasswordKeeping::Desktop)
        return typed;
    QString why;
    return KeyStore().read(profile.id, why).value_or(QString());
}

void ConnectionsWindow::tell(const QString &words)
{
    if (!words.isEmpty())
        QMetaObject::invokeMethod(
            this, [this, words] { m_dialogue.inform(words); }, Qt::QueuedConnection);
}

void ConnectionsWindow::add()
{
    keep();
    ConnectionProfile profile;
    profile.name = QStringLiteral("新しい接続先");
    profile.folder = m_shown.folder;
    tell(m_store.put(profile));
    m_filter->clear();
    fill(profile.id);
    m_fields->beginWithName();
}

void ConnectionsWindow::copy()
{
    keep();
    ConnectionProfile profile = m_shown;
    profile.id.clear();
    profile.name += QStringLiteral(" のコピー");
    tell(m_store.put(profile));
    fill(profile.id);
    m_fields->beginWithName();
}

void ConnectionsWindow::remove()
{
    if (!m_dialogue.ask(QStringLiteral("接続先「%1」を削除しますか？").arg(m_shown.name)))
        return;
    const ConnectionProfile removed = std::exchange(m_shown, {});
    tell(m_store.remove(removed.id));
    if (removed.keeping == PasswordKeeping::Desktop)
        m_session.runner.run(this, QStringLiteral("キーストア"), [&] { KeyStore().remove(removed.id); });
    fill({});
}

void ConnectionsWindow::test()
{
    const ConnectionProfile profile = m_fields->profile(m_shown);
    m_session.runner.run(this, QStringLiteral("接続テスト"), [&] {
        m_result->setText(QStringLiteral("接続しています･･･"));
        const BusyPointer busy(m_dialogue);
        try {
            m_result->setText(tryConnection(m_session, profile, password(profile)));
        } catch (const Failure &error) {
            m_result->setText(visibleText(withAdvice(error, profile.tls)));
        }
    });
}

void ConnectionsWindow::import()
{
    const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("接続先の読み込み"), {},
                                                      QStringLiteral("JSON (*.json)"));
    if (path.isEmpty())
        return;
    keep();
    int count = 0;
    const QString words = m_store.import(path, count);
    fill(m_shown.id);
    m_dialogue.inform(words.isEmpty() ? QStringLiteral("%1 件を読み込みました。").arg(count) : words);
}

void ConnectionsWindow::exportAll()
{
    keep();
    const QString path =
        QFileDialog::getSaveFileName(this, QStringLiteral("接続先の書き出し"),
                                     QStringLiteral("connections.json"), QStringLiteral("JSON (*.json)"));
    if (path.isEmpty())
        return;
    const QString words = m_store.exportTo(path);
    m_dialogue.inform(words.isEmpty() ? QStringLiteral("パスワードを除いて書き出しました。") : words);
}

void ConnectionsWindow::use()
{
    choose(true);
}

void ConnectionsWindow::fillPanel()
{
    choose(false);
}

void ConnectionsWindow::choose(bool connectsNow)
{
    if (!isChosen() || m_session.runner.isRunning() || !keep())
        return;
    m_choice = {m_shown, m_fields->password(), connectsNow};
    accept();
}

void ConnectionsWindow::done(int result)
{
    keep();
    StoppableDialog::done(result);
}

// Enter in the list uses what is chosen, and the down key leads from the filter into the list.
bool ConnectionsWindow::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress)
        return StoppableDialog::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent *>(event)->key();
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        use();
        return true;
    }
    if (watched == m_filter && key == Qt::Key_Down) {
        m_list->setFocus();
        return true;
    }
    return StoppableDialog::eventFilter(watched, event);
}
