#include "server/serverwindow.h"

#include "controls/window/building.h"
#include "controls/window/serverstrip.h"
#include "controls/window/stopping.h"
#include "controls/window/windowsize.h"
#include "core/command/writing.h"
#include "core/session/basconnection.h"
#include "core/session/profilefile.h"
#include "core/session/wholefile.h"
#include "server/accounts/privilegepage.h"
#include "server/processes/processpage.h"
#include "server/serverpages.h"

#include <QCheckBox>
#include <QEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QScreen>
#include <QShortcut>
#include <QSpinBox>
#include <QTabWidget>
#include <QTime>
#include <QTimer>
#include <QVBoxLayout>

namespace {

const QString section = QStringLiteral("Server");
const QString secondsKey = QStringLiteral("RefreshSeconds");

} // namespace

ServerWindow::ServerWindow(const Session &session, ServerServices services,
                           std::unique_ptr<Dialogue> dialogue)
    : m_settingsFile(session.gIniPath)
    , m_connection(connectionStringOf(session))
    , m_dialogue(dialogue ? std::move(dialogue) : std::make_unique<WidgetDialogue>(this, DialogueParts{}))
    , m_link(std::make_unique<ServerLink>(session))
    , m_pages(made<QTabWidget>("serverPages"))
    , m_state(wordsLabel("serverState"))
    , m_seconds(made<QSpinBox>("refreshSeconds"))
    , m_paused(made<QCheckBox>("refreshPaused", QStringLiteral("更新を止める")))
    , m_refresh(made<QPushButton>("refreshServer", QStringLiteral("更新")))
    , m_timer(new QTimer(this))
{
    setObjectName(QStringLiteral("serverWindow"));
    setWindowTitle(QStringLiteral("サーバー %1").arg(serverName(session)));
    setAttribute(Qt::WA_DeleteOnClose);
    setWorksWhileRunning(this); // on a connection of its own, in another thread
    for (ServerPage *page : makeServerPages({*m_link, *m_dialogue, std::move(services.openInSheet),
                                             session.statementLog, std::move(services.savedConnections)})) {
        m_pages->addTab(page, page->title());
        connect(page, &ServerPage::processWanted, this, &ServerWindow::showProcess);
        connect(page, &ServerPage::refreshed, this, [this, page] { noteRefresh(page); });
    }
    buildLayout();
    connectControls();
    showServer(*this, session.profile);
    restoreSize(*this, m_settingsFile, sizeKey, standardSize);
    resize(size().boundedTo(screen()->availableSize())); // it needs no more than half of its standard width
}

ServerWindow::~ServerWindow()
{
    disconnect(m_pages, nullptr, this, nullptr);
    delete m_pages; // before the link that they ask
}

bool ServerWindow::isOf(const Session &session) const
{
    return m_connection == connectionStringOf(session);
}

void ServerWindow::takeMarks(const ConnectionProfile &profile)
{
    m_link->takeMarks(profile);
    if (m_link->settings().profile.id == profile.id)
        showServer(*this, m_link->settings().profile);
}

void ServerWindow::buildLayout()
{
    m_seconds->setRange(1, 60);
    m_seconds->setSuffix(QStringLiteral(" 秒"));
    m_seconds->setValue(keptSeconds());
    m_seconds->setAccessibleName(QStringLiteral("更新の間隔"));
    m_refresh->setToolTip(QStringLiteral("今すぐ読み直します (F5)"));
    auto *caption = new QLabel(QStringLiteral("更新の間隔 :"));
    caption->setBuddy(m_seconds);
    auto *line = new QHBoxLayout;
    line->addWidget(m_state, 1);
    for (QWidget *control : std::initializer_list<QWidget *>{caption, m_seconds, m_paused, m_refresh})
        line->addWidget(control);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_pages, 1);
    layout->addLayout(line);
}

void ServerWindow::connectControls()
{
    connect(m_timer, &QTimer::timeout, this, &ServerWindow::tick);
    connect(m_refresh, &QPushButton::clicked, this, &ServerWindow::refreshNow);
    connect(m_pages, &QTabWidget::currentChanged, this, &ServerWindow::refreshNow);
    connect(m_paused, &QCheckBox::toggled, this, &ServerWindow::setTicking);
    connect(m_seconds, &QSpinBox::valueChanged, this, [this](int seconds) {
        keepSeconds(seconds);
        setTicking();
    });
    connect(m_link.get(), &ServerLink::stateChanged, this, &ServerWindow::showState);
    connect(new QShortcut(Qt::Key_F5, this), &QShortcut::activated, m_refresh, &QPushButton::click);
    connect(new QShortcut(Qt::Key_Escape, this), &QShortcut::activated, m_link.get(), &ServerLink::stop);
    connect(new QShortcut(Qt::CTRL | Qt::Key_W, this), &QShortcut::activated, this, &QWidget::close);
}

ServerPage *ServerWindow::pageAt(int index) const
{
    return qobject_cast<ServerPage *>(m_pages->widget(index));
}

ServerPage *ServerWindow::page() const
{
    return pageAt(m_pages->currentIndex());
}

void ServerWindow::setTicking()
{
    if (isVisible() && !isMinimized() && !m_paused->isChecked())
        m_timer->start(m_seconds->value() * 1000);
    else
        m_timer->stop();
}

// A server that is away is asked ever more seldom; one that refuses the account is not asked again, or it
// would lock the account out.
void ServerWindow::tick()
{
    if (m_link->isRefused() || !m_nextAttempt.hasExpired())
        return;
    const bool isAway = !m_link->problem().isEmpty();
    if (page()->isWaiting() && !isAway)
        m_state->setText(QStringLiteral("サーバーの答えを待っています (Esc で中断)"));
    for (int i = 0; i < m_pages->count(); ++i)
        if (pageAt(i)->gathers() || (pageAt(i) == page() && (page()->followsClock() || isAway)))
            pageAt(i)->startRefresh();
}

void ServerWindow::refreshNow()
{
    if (isVisible() && page())
        page()->startRefresh();
}

void ServerWindow::showProcess(const QString &id)
{
    auto *processes = m_pages->findChild<ProcessPage *>();
    m_pages->setCurrentWidget(processes);
    processes->goTo(id);
}

void ServerWindow::showAccount(const QString &user, const QString &host)
{
    auto *privileges = m_pages->findChild<PrivilegePage *>();
    m_pages->setCurrentWidget(privileges);
    privileges->goTo({user, host});
}

void ServerWindow::noteRefresh(const ServerPage *refreshed)
{
    constexpr qint64 longestPause = 30'000; // milliseconds
    const int failed = m_link->failedAttempts();
    m_nextAttempt.setRemainingTime(failed > 1 ? std::min<qint64>(longestPause, 1000LL << std::min(failed, 6))
                                              : 0);
    if (refreshed == page())
        showState();
}

void ServerWindow::showState()
{
    if (m_link->problem().isEmpty())
        m_state->setText(QTime::currentTime().toString(QStringLiteral("h:mm:ss")) +
                         QStringLiteral(" に読みました"));
    else
        m_state->setText((m_link->isRefused()
                              ? QStringLiteral("接続できません。「更新」でもう一度試します: ")
                              : QStringLiteral("接続が切れています。つながるまで待ちます: ")) +
                         m_link->problem());
}

void ServerWindow::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    setTicking();
    refreshNow();
}

void ServerWindow::hideEvent(QHideEvent *event)
{
    QWidget::hideEvent(event);
    setTicking();
}

void ServerWindow::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::WindowStateChange)
        setTicking();
}

void ServerWindow::closeEvent(QCloseEvent *event)
{
    keepSize(*this, m_settingsFile, sizeKey, standardSize);
    QWidget::closeEvent(event);
}

int ServerWindow::keptSeconds() const
{
    constexpr int standard = 2;
    const int seconds = ProfileFile(m_settingsFile).value(section, secondsKey).toInt();
    return seconds > 0 ? seconds : standard;
}

// A file that cannot be written costs the choice, nothing else.
void ServerWindow::keepSeconds(int seconds) const
{
    const FileLock lock(m_settingsFile);
    ProfileFile file(m_settingsFile);
    file.setValue(section, secondsKey, QString::number(seconds));
    file.save();
}
