#include "browser/commandmenus.h"

#include "browser/frmTarnwellControls.h"
#include "controls/window/stopping.h"

#include <QAction>
#include <QClipboard>
#include <QGuiApplication>
#include <QHelpEvent>
#include <QMenuBar>
#include <QToolTip>

namespace {

constexpr std::pair<Menu, QStringView> menus[] = {
    {Menu::Connection, u"接続"}, {Menu::Database, u"データベース"}, {Menu::Table, u"テーブル"},
    {Menu::Sql, u"SQL"},         {Menu::Server, u"サーバー"},       {Menu::View, u"表示"},
    {Menu::Help, u"ヘルプ"}};

QString nameOf(const QString &item)
{
    return item.contains(u'\t') ? ListItem::parse(item).name : item;
}

QString titleOf(Menu menu)
{
    for (const auto &[each, title] : menus)
        if (each == menu)
            return title.toString();
    return {};
}

} // namespace

CommandMenus::CommandMenus(QWidget &window, const Session &session, const TarnwellControls &controls)
    : m_window(window)
    , m_session(session)
    , m_controls(controls)
{
}

void CommandMenus::add(const CommandRow &row, std::function<void()> carryOut)
{
    auto *action = new QAction(row.title.toString(), &m_window);
    action->setObjectName(QStringLiteral("action_") + QLatin1String(row.id));
    action->setShortcut(QKeySequence(QLatin1String(row.key)));
    m_window.addAction(action); // its key works before any menu was opened
    if (m_buttons.isEmpty())
        for (QPushButton *each : m_window.findChildren<QPushButton *>())
            m_buttons.insert(each->objectName(), each);
    QPushButton *button = m_buttons.value(QLatin1String(row.id));
    if (button) {
        connect(button, &QPushButton::clicked, this, [carryOut = std::move(carryOut)] { carryOut(); });
        connect(action, &QAction::triggered, button, &QPushButton::click);
        button->installEventFilter(this);
    } else {
        connect(action, &QAction::triggered, this, [carryOut = std::move(carryOut)] { carryOut(); });
    }
    m_offers.push_back({row, button, action});
}

QMenuBar *CommandMenus::makeMenuBar()
{
    auto *bar = new QMenuBar(&m_window);
    bar->setObjectName(QStringLiteral("menuBar"));
    for (const auto &[place, title] : menus) {
        QMenu *menu = bar->addMenu(title.toString());
        menu->setToolTipsVisible(true);
        connect(menu, &QMenu::aboutToShow, this, [this, menu, place = place] {
            if (menu->isEmpty())
                fill(*menu, place);
            for (const auto &[extended, addTo] : m_extensions)
                if (extended == place)
                    addTo(*menu);
            open(*menu);
        });
    }
    return bar;
}

void CommandMenus::extend(Menu place, std::function<void(QMenu &menu)> addTo)
{
    m_extensions.emplace_back(place, std::move(addTo));
}

void CommandMenus::fill(QMenu &menu, Menu place)
{
    for (const Offer &offer : m_offers)
        if (offer.row.menu == place)
            menu.addAction(offer.action);
}

// Only while a menu shows them are actions disabled: their keys end in a click on their button, which is or
// is not enabled itself.
void CommandMenus::open(QMenu &menu)
{
    for (const Offer &offer : m_offers) {
        const QString reason = reasonAgainst(offer);
        offer.action->setEnabled(reason.isEmpty());
        offer.action->setToolTip(!reason.isEmpty() ? reason
                                 : offer.button    ? offer.button->toolTip()
                                                   : offer.row.title.toString());
    }
    connect(
        &menu, &QMenu::aboutToHide, this,
        [this] {
            for (const Offer &offer : m_offers)
                offer.action->setEnabled(true);
        },
        Qt::SingleShotConnection);
}

Needs CommandMenus::given() const
{
    const TarnwellControls &c = m_controls;
    const auto when = [](bool is, Needs need) { return is ? need : Needs::Nothing; };
    const bool isConnected = m_session.gCn || !c.cboDSNList->isEnabled(); // one that was lost comes back
    // There the buttons that would tell stay off.
    const auto isShown = [this](const QLabel &name) {
        return m_session.profile.isReadOnly && !name.text().isEmpty();
    };
    return when(!isConnected, Needs::NoConnection) | when(isConnected, Needs::Connection) |
           when(c.cmdExec->isEnabled(), Needs::Databases) |
           when(c.cmdDropTable->isEnabled() || isShown(*c.lblTableName), Needs::Table) |
           when(c.cmdDropProc->isEnabled() || isShown(*c.lblProcName), Needs::Routine) |
           when(!m_session.profile.isReadOnly, Needs::MayWrite) |
           when(m_session.gIsLocalServer, Needs::LocalServer);
}

QString CommandMenus::reasonAgainst(const Offer &offer) const
{
    const bool stops = offer.button && stopsRunningCommand(offer.button);
    if (m_session.runner.isRunning() && !stops && offer.row.needs != Needs::Nothing)
        return QStringLiteral("「%1」の実行中です").arg(m_session.runner.what());
    const QString reason = missing(offer.row.needs, given());
    if (!offer.button)
        return reason;
    if (offer.button->isEnabled())
        return {};
    return reason.isEmpty() ? QStringLiteral("今は使えません") : reason;
}

void CommandMenus::addContextMenu(ChosenList &list, std::function<bool(const CommandRow &row)> belongsTo)
{
    list.setContextMenuPolicy(Qt::CustomContextMenu);
    connect(&list, &QWidget::customContextMenuRequested, this,
            [this, &list, belongsTo = std::move(belongsTo)](const QPoint &position) {
                showContextMenu(list, belongsTo, position);
            });
}

// The item under the pointer is chosen first, so that menu and window agree.
void CommandMenus::showContextMenu(ChosenList &list,
                                   const std::function<bool(const CommandRow &row)> &belongsTo,
                                   const QPoint &position)
{
    QListWidgetItem *item = list.itemAt(position);
    if (item && item != list.currentItem())
        list.setCurrentItem(item);
    QMenu menu(&list);
    menu.setToolTipsVisible(true);
    for (const Offer &offer : m_offers)
        if (belongsTo(offer.row))
            menu.addAction(offer.action);
    menu.addSeparator();
    QAction *copy = menu.addAction(QStringLiteral("名前をコピー"));
    copy->setEnabled(list.currentItem());
    connect(copy, &QAction::triggered, &list,
            [&list] { QGuiApplication::clipboard()->setText(nameOf(list.currentText())); });
    open(menu);
    menu.exec(list.viewport()->mapToGlobal(position));
}

void CommandMenus::turnWritingOff()
{
    for (const Offer &offer : m_offers)
        if (offer.button && includes(offer.row.needs, Needs::MayWrite))
            offer.button->setEnabled(false);
}

std::vector<PaletteEntry> CommandMenus::paletteEntries() const
{
    std::vector<PaletteEntry> entries;
    for (const Offer &offer : m_offers)
        entries.push_back({.name = offer.row.title.toString(),
                           .kind = titleOf(offer.row.menu),
                           .key = offer.action->shortcut().toString(),
                           .hidden = QLatin1String(offer.row.id),
                           .reasonAgainst = reasonAgainst(offer),
                           .choose = [action = offer.action] { action->trigger(); }});
    const auto addItems = [&entries](ChosenList &list, const QString &kind) {
        for (const QString &item : list.texts())
            entries.push_back({.name = nameOf(item),
                               .kind = item.contains(u'\t') ? ListItem::parse(item).tag : kind,
                               .choose = [&list, item] { list.choose(item); }});
    };
    addItems(*m_controls.lstDb, QStringLiteral("[DATABASE]"));
    addItems(*m_controls.lstTables, {});
    addItems(*m_controls.lstProcFunc, {});
    return entries;
}

// A greyed button says why it is, as its menu does. What a read-only connection cannot do stays grey, whoever
// enables its button.
bool CommandMenus::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::EnabledChange && m_session.profile.isReadOnly)
        for (const Offer &offer : m_offers)
            if (offer.button == watched && includes(offer.row.needs, Needs::MayWrite))
                offer.button->setEnabled(false);
    if (event->type() == QEvent::ToolTip)
        for (const Offer &offer : m_offers)
            if (offer.button == watched && !offer.button->isEnabled()) {
                QToolTip::showText(static_cast<QHelpEvent *>(event)->globalPos(),
                                   offer.button->toolTip() + QStringLiteral("\n(") + reasonAgainst(offer) +
                                       u')',
                                   offer.button);
                return true;
            }
    return QObject::eventFilter(watched, event);
}
