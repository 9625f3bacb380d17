#include "connections/connectionswindow.h"

#include "connections/connectiondetails.h"
#include "connections/connectionlist.h"
#include "connections/keystore.h"
#include "controls/window/building.h"
#include "core/session/session.h"
#include "core/sql/listitem.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPushButton>
#include <QScreen>
#include <QSplitter>

ConnectionsWindow::ConnectionsWindow(Session &session, const QString &chosenId, QWidget *parent)
    : StoppableDialog(session.runner, parent)
    , m_session(session)
    , m_store(connectionsFile(session))
    , m_before(m_store)
    , m_dialogue(this, {})
    , m_list(made<ConnectionList>("connectionList"))
    , m_filter(made<QLineEdit>("connectionFilter"))
    , m_details(new ConnectionDetails(session))
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
        if (item == m_list->currentItem()) // a folder is never the current one
            use();
    });
    connect(&m_details->fields(), &ConnectionFields::edited, this, [this] {
        if (isChosen())
            m_list->describe(fields().profile(m_shown));
    });
    m_list->installEventFilter(this);
    m_filter->installEventFilter(this);
    tell(m_store.read());
    m_before = m_store;
    fill(chosenId);
    m_filter->setFocus(); // a part of the name and Enter are enough
    resize(QSize(820, 560).boundedTo(screen()->availableSize() - QSize(40, 60)));
}

QWidget *ConnectionsWindow::listSide()
{
    m_filter->setPlaceholderText(QStringLiteral("絞り込み"));
    m_filter->setAccessibleName(QStringLiteral("接続先の絞り込み"));
    connect(m_filter, &QLineEdit::textChanged, this, [this] {
        keep();
        m_list->filter(m_filter->text());
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
    auto *side = new QWidget;
    auto *layout = new QVBoxLayout(side);
    layout->setContentsMargins({});
    layout->addWidget(m_details, 1);
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

ConnectionFields &ConnectionsWindow::fields() const
{
    return m_details->fields();
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
    m_list->fill(m_store.profiles(), idToChoose);
    fields().setFolders(QStringList{QString()} + m_list->folders());
    m_shown = {};
    showChosen();
}

void ConnectionsWindow::showChosen()
{
    keep();
    const ConnectionProfile *profile = m_store.find(m_list->chosenId());
    m_shown = profile ? *profile : ConnectionProfile();
    m_details->describe(m_shown);
    for (QPushButton *each : m_needChosen)
        each->setEnabled(profile);
}

bool ConnectionsWindow::keep()
{
    if (!isChosen())
        return true;
    ConnectionProfile now = fields().profile(m_shown);
    tell(m_details->keepPassword(m_shown, now));
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
    if (now.id == id && !isMoved) {
        m_list->describe(now);
        return true;
    }
    // Not from within the list's own signal.
    QMetaObject::invokeMethod(
        this,
        [this] {
            const QString current = m_list->chosenId();
            keep();
            fill(current);
        },
        Qt::QueuedConnection);
    return true;
}

void ConnectionsWindow::tell(const QString &words)
{
    if (words.isEmpty())
        return;
    if (m_isLeft) // nothing that waits in the event loop comes any more
        m_dialogue.inform(words);
    else
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
    fields().beginWithName();
}

void ConnectionsWindow::copy()
{
    keep();
    ConnectionProfile profile = m_shown;
    profile.id.clear();
    profile.name += QStringLiteral(" のコピー");
    tell(m_store.put(profile));
    fill(profile.id);
    fields().beginWithName();
}

void ConnectionsWindow::remove()
{
    const QString goesOn =
        m_details->isInUse(m_shown)
            ? QStringLiteral("\r\nこの接続先に接続しています。接続は続きますが、切断した後は、"
                             "暗号化の条件や色、環境は使われません。")
            : QString();
    if (!m_dialogue.warn(QStringLiteral("接続先「%1」を削除しますか？").arg(m_shown.name) + goesOn))
        return;
    const ConnectionProfile removed = std::exchange(m_shown, {});
    tell(m_store.remove(removed));
    if (!m_store.find(removed.id) && removed.keeping == PasswordKeeping::Desktop)
        m_session.runner.run(this, QStringLiteral("キーストア"), [&] { KeyStore().remove(removed.id); });
    fill({});
}

void ConnectionsWindow::test()
{
    m_details->test(m_shown);
}

void ConnectionsWindow::import()
{
    const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("接続先の読み込み"), {},
                                                      QStringLiteral("JSON (*.json)"));
    if (path.isEmpty())
        return;
    keep();
    const QString words = m_store.import(path);
    fill(m_shown.id);
    m_dialogue.inform(words);
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
    if (!isChosen() || !m_list->showsChosen() || m_session.runner.isRunning() || !keep())
        return;
    m_choice = {m_shown, fields().password(), connectsNow};
    accept();
}

void ConnectionsWindow::done(int result)
{
    m_isLeft = true;
    const bool goes =
        keep() || m_dialogue.warn(QStringLiteral("「%1」の変更を捨てて閉じますか？").arg(m_shown.name));
    m_isLeft = goes;
    if (goes)
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
