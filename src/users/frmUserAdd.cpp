#include "users/frmUserAdd.h"

#include "controls/lists/chosenlist.h"
#include "controls/window/building.h"
#include "core/command/writing.h"
#include "users/accountcommands.h"

#include <QAction>
#include <QComboBox>
#include <QFocusEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTimer>

frmUserAdd::frmUserAdd(Session &session, QWidget *parent, Dialogue *dialogue)
    : StoppableDialog(session.runner, parent)
    , m_session(session)
    , m_controls(*this)
    , m_boxes(this, {})
    , m_dialogue(dialogue ? *dialogue : m_boxes)
    , m_view(session, m_controls, m_dialogue)
{
    connectControls();
    offerDetails();
    if (m_session.profile.isReadOnly)
        turnWritingOff();
    runAlone([this] {
        m_view.Form_Load();
        m_isRead = !m_session.runner.isStopWanted();
    });
}

void frmUserAdd::runAlone(const std::function<void()> &action)
{
    m_session.runner.run(this, windowTitle(), action);
}

void frmUserAdd::choose(QWidget *list, void (AccountView::*read)())
{
    m_session.runner.choose(list, windowTitle(), [this, read] { (m_view.*read)(); });
}

void frmUserAdd::connectControls()
{
    setObjectName(QStringLiteral("frmUserAdd"));
    setWindowTitle(QStringLiteral("ﾕｰｻﾞｰ設定"));
    UserControls &c = m_controls;
    connect(c.lstUser, &ChosenList::chosen, this,
            [this] { choose(m_controls.lstUser, &AccountView::lstUser_Click); });
    connect(c.lstDB, &ChosenList::chosen, this,
            [this] { choose(m_controls.lstDB, &AccountView::lstDB_Click); });
    connect(c.lstTable, &ChosenList::chosen, this,
            [this] { choose(m_controls.lstTable, &AccountView::lstTable_Click); });
    connect(c.cboAddDB, &QComboBox::currentIndexChanged, this,
            [this] { choose(m_controls.cboAddDB, &AccountView::cboAddDB_Click); });
    for (const auto &[buttons, boxes] :
         {std::pair(c.cmdUserGrantAllCK, &c.ckPrivType), std::pair(c.cmdDbGrantAllCK, &c.ckDBPrivType),
          std::pair(c.cmdTableGrantAllCK, &c.ckTablePrivType)}) {
        connect(buttons[0], &QPushButton::clicked, this, [boxes = boxes] { setAll(*boxes, true); });
        connect(buttons[1], &QPushButton::clicked, this, [boxes = boxes] { setAll(*boxes, false); });
    }
    for (const AccountCommand &command : accountCommands()) {
        connect(findChild<QPushButton *>(QLatin1String(command.id)), &QPushButton::clicked, this,
                [this, &command] { runAlone([this, &command] { run(command); }); });
    }
    connect(c.cmdCancel, &QPushButton::clicked, this, &QDialog::close);
    setStopsRunningCommand(c.cmdCancel, true);

    c.txtPassword->installEventFilter(this);
    // A line break cannot be typed, so one that is left stems from the placeholder.
    connect(c.txtPassword, &QLineEdit::textEdited, this, [box = c.txtPassword](QString text) {
        if (text.contains(u'\r') || text.contains(u'\n'))
            box->setText(text.remove(u'\r').remove(u'\n'));
    });
}

// Beside the boxes: what they do not show.
void frmUserAdd::offerDetails()
{
    ChosenList &list = *m_controls.lstUser;
    auto *details = new QAction(QStringLiteral("権限の詳細..."), &list);
    details->setObjectName(QStringLiteral("privilegeDetails"));
    list.addAction(details);
    list.setContextMenuPolicy(Qt::ActionsContextMenu);
    connect(details, &QAction::triggered, this, [this] {
        const QStringList names = m_controls.lstUser->currentText().split(u'\t');
        if (names.size() != 2 || m_session.runner.isRunning())
            return;
        m_wantedAccount = Account{names[0], names[1]};
        close();
    });
}

// They stay off, whoever enables them, and their tips say why.
void frmUserAdd::turnWritingOff()
{
    for (const AccountCommand &command : accountCommands()) {
        auto *button = findChild<QPushButton *>(QLatin1String(command.id));
        if (!command.writes)
            continue;
        button->setEnabled(false);
        button->setToolTip(
            plainTip(QStringLiteral("接続先「%1」は読み取り専用の接続です。").arg(m_session.profile.name)));
        m_keptOff << button;
        button->installEventFilter(this);
    }
}

void frmUserAdd::txtPassword_GotFocus(bool isByMouse)
{
    m_controls.txtPassword->selectAll();
    // The press that gave the focus comes after it and would take the selection away again.
    if (isByMouse)
        QTimer::singleShot(0, m_controls.txtPassword, &QLineEdit::selectAll);
}

bool frmUserAdd::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_controls.txtPassword && event->type() == QEvent::FocusIn)
        txtPassword_GotFocus(static_cast<QFocusEvent *>(event)->reason() == Qt::MouseFocusReason);
    if (event->type() == QEvent::EnabledChange && m_keptOff.contains(watched))
        static_cast<QWidget *>(watched)->setEnabled(false);
    return QDialog::eventFilter(watched, event);
}

void frmUserAdd::run(const AccountCommand &command)
{
    if (command.writes && !mayWrite(m_session, m_dialogue))
        return;
    const AccountForm form = m_view.form();
    AccountContext context{m_session, form, m_dialogue};
    const AccountOutcome outcome = command.run(context);
    if (outcome.refresh == Refresh::Lists)
        m_view.sInit();
    else if (outcome.refresh == Refresh::Account)
        m_view.lstUser_Click();
    if (!outcome.database.isEmpty())
        m_view.chooseDatabase(outcome.database);
    if (!outcome.table.isEmpty())
        m_view.chooseTable(outcome.table);
}

std::optional<Account> showUserWindow(QWidget *parent, Session &session)
{
    if (session.runner.isRunning())
        return {};
    frmUserAdd window(session, parent);
    if (window.isRead())
        window.exec();
    return window.wantedAccount();
}
