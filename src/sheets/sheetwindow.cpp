#include "sheets/sheetwindow.h"

#include "controls/window/building.h"
#include "controls/window/serverstrip.h"
#include "controls/window/statelabel.h"
#include "controls/window/stopping.h"
#include "controls/window/windowsize.h"
#include "sheets/scriptfiledialog.h"
#include "sheets/sheetresults.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QFileInfo>
#include <QLabel>
#include <QMenu>
#include <QPushButton>
#include <QShortcut>
#include <QTabBar>
#include <QTabWidget>
#include <QToolButton>

#include <algorithm>

SheetWindow::SheetWindow(Session &session, SheetServices services, std::unique_ptr<Dialogue> dialogue)
    : m_session(session)
    , m_settings(session.gIniPath)
    , m_services(std::move(services))
    , m_dialogue(dialogue ? std::move(dialogue) : std::make_unique<WidgetDialogue>(this, DialogueParts{}))
    , m_tabs(made<QTabWidget>("sheetTabs"))
    , m_runStatement(tipped<QPushButton>("runStatement", QStringLiteral("文を実行"),
                                         QStringLiteral("カーソルのある文を実行します (Ctrl+Enter)")))
    , m_runSheet(tipped<QPushButton>("runSheet", QStringLiteral("すべて実行"),
                                     QStringLiteral("選択範囲、なければ全体を実行します (F5)")))
    , m_stop(tipped<QPushButton>("stopSheet", QStringLiteral("停止"),
                                 QStringLiteral("実行中の文を止めます (Shift+F5)")))
    , m_commit(tipped<QPushButton>("commitSheet", QStringLiteral("コミット"),
                                   QStringLiteral("開いているトランザクションを確定します (COMMIT)")))
    , m_rollback(tipped<QPushButton>("rollbackSheet", QStringLiteral("ロールバック"),
                                     QStringLiteral("開いているトランザクションを取り消します (ROLLBACK)")))
    , m_open(tipped<QPushButton>("openScript", QStringLiteral("開く"),
                                 QStringLiteral("SQLファイルを新しいシートに開きます (Ctrl+O)")))
    , m_save(tipped<QPushButton>("saveScript", QStringLiteral("保存"), QStringLiteral("Ctrl+S")))
    , m_script(tipped<QPushButton>("runScriptFile", QStringLiteral("ファイルを実行"),
                                   QStringLiteral("大きなファイルも読み込まずに実行します")))
    , m_history(tipped<QPushButton>("showHistory", QStringLiteral("履歴"), QStringLiteral("Ctrl+R")))
    , m_edit(tipped<QPushButton>(
          "editResult", QStringLiteral("編集"),
          QStringLiteral("結果がひとつのテーブルの行なら、変更・追加・削除できるようにします")))
    , m_pin(tipped<QPushButton>("pinResult", QStringLiteral("固定"),
                                QStringLiteral("この結果を次の結果と並べて残します")))
    , m_recent(made<QToolButton>("recentScripts"))
    , m_format(made<QToolButton>("formatSheet"))
    , m_autocommit(made<QCheckBox>("sheetAutocommit", QStringLiteral("自動コミット")))
    , m_goesOn(made<QCheckBox>("goOnAtErrors", QStringLiteral("エラーでも続ける")))
    , m_safeMode(
          tipped<QCheckBox>("safeMode", QStringLiteral("安全モード"),
                            QStringLiteral("WHERE のない UPDATE・DELETE、DROP、TRUNCATE の前に確かめます")))
    , m_state(made<StateLabel>("sheetState"))
    , m_transaction(made<QLabel>("transactionSign"))
{
    setObjectName(QStringLiteral("sheetWindow"));
    setWindowTitle(QStringLiteral("SQLシート"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWorksWhileRunning(this); // on connections of its own, in other threads
    buildLayout();
    m_goesOn->setChecked(m_settings.isOn(QStringLiteral("GoOnAtErrors"), false));
    // Where no saved connection says it, as it was chosen last.
    m_safeModes[QString()] = m_settings.isOn(QStringLiteral("SafeMode"), true);
    connectControls();
    addKeys();
    restoreDrafts();
    restoreSize(*this, m_session.gIniPath, sizeKey, standardSize);
}

SheetWindow::~SheetWindow() = default;

void SheetWindow::format()
{
    const int value = m_settings.number(QStringLiteral("KeywordCase"), 0);
    page()->format(static_cast<KeywordCase>(std::clamp(value, 0, 2)));
}

void SheetWindow::connectControls()
{
    connect(m_runStatement, &QPushButton::clicked, this, [this] { page()->runStatement(options()); });
    connect(m_runSheet, &QPushButton::clicked, this, [this] { page()->runAll(options()); });
    connect(m_stop, &QPushButton::clicked, this, [this] { page()->stop(); });
    connect(m_commit, &QPushButton::clicked, this, [this] { page()->commit(); });
    connect(m_rollback, &QPushButton::clicked, this, [this] { page()->rollback(); });
    connect(m_open, &QPushButton::clicked, this, &SheetWindow::openFile);
    connect(m_save, &QPushButton::clicked, this, &SheetWindow::saveFile);
    connect(m_script, &QPushButton::clicked, this, &SheetWindow::runScriptFile);
    connect(m_history, &QPushButton::clicked, this, [this] {
        if (const QString failure = openHistory(); !failure.isEmpty())
            m_dialogue->refuse(failure);
    });
    connect(m_edit, &QPushButton::clicked, this, [this] { page()->editResult(); });
    connect(m_pin, &QPushButton::toggled, this, [this](bool isOn) { page()->results().setPinned(isOn); });
    connect(m_autocommit, &QCheckBox::clicked, this, [this](bool isOn) { page()->setAutocommit(isOn); });
    connect(m_goesOn, &QCheckBox::toggled, this,
            [this](bool isOn) { m_settings.keep(QStringLiteral("GoOnAtErrors"), isOn); });
    connect(m_safeMode, &QCheckBox::clicked, this, &SheetWindow::setSafe);
    connect(m_recent->menu(), &QMenu::aboutToShow, this, [this] { fillRecent(*m_recent->menu()); });
    connect(m_tabs, &QTabWidget::currentChanged, this, [this] {
        showState();
        if (page())
            page()->setFocus();
    });
    connect(m_tabs, &QTabWidget::tabCloseRequested, this, &SheetWindow::closeSheet);
}

void SheetWindow::addKeys()
{
    for (const auto &[keys, button] : std::initializer_list<std::pair<QList<QKeySequence>, QPushButton *>>{
             {{Qt::CTRL | Qt::Key_Return, Qt::CTRL | Qt::Key_Enter}, m_runStatement},
             {{Qt::Key_F5}, m_runSheet},
             {{Qt::SHIFT | Qt::Key_F5, Qt::Key_Escape}, m_stop},
             {{QKeySequence::Open}, m_open},
             {{QKeySequence::Save}, m_save}})
        for (const QKeySequence &key : keys)
            connect(new QShortcut(key, this), &QShortcut::activated, button, &QPushButton::click);
    const auto onKey = [this](const QKeySequence &key, auto action) {
        connect(new QShortcut(key, this), &QShortcut::activated, this, action);
    };
    onKey(Qt::CTRL | Qt::Key_W, [this] { closeSheet(m_tabs->currentIndex()); });
    onKey(Qt::CTRL | Qt::SHIFT | Qt::Key_F, [this] { format(); });
    onKey(Qt::CTRL | Qt::Key_Space, [this] { page()->offerWords(); });
}

QString SheetWindow::openHistory()
{
    if (!m_services.openHistory)
        return QStringLiteral("履歴はありません。");
    return m_services.openHistory(this, [this](const QString &text) {
        page()->insert(text);
        page()->setFocus();
    });
}

QString SheetWindow::folder() const
{
    return (m_session.settingsFolder.isEmpty() ? m_session.programFolder : m_session.settingsFolder) +
           QStringLiteral("/sheets");
}

void SheetWindow::restoreDrafts()
{
    for (std::unique_ptr<Draft> &draft : Draft::left(folder()))
        add(std::move(draft));
    if (m_tabs->count() == 0)
        addSheet();
    m_tabs->setCurrentIndex(0);
}

SheetPage *SheetWindow::pageAt(int index) const
{
    return qobject_cast<SheetPage *>(m_tabs->widget(index));
}

SheetPage *SheetWindow::page() const
{
    return pageAt(m_tabs->currentIndex());
}

void SheetWindow::addSheet()
{
    if (isVisible() || m_tabs->count() == 0)
        add(std::make_unique<Draft>(folder()));
}

SheetPage *SheetWindow::add(std::unique_ptr<Draft> draft)
{
    auto *added = new SheetPage({m_session, *m_dialogue, m_services}, std::move(draft),
                                QStringLiteral("シート %1").arg(++m_number));
    connect(added, &SheetPage::changed, this, &SheetWindow::showState);
    connect(&added->results(), &QTabWidget::currentChanged, this, &SheetWindow::showState);
    connect(&added->editor(), &SheetEditor::fileDropped, this, &SheetWindow::openPath);
    m_tabs->setCurrentIndex(m_tabs->addTab(added, added->title()));
    added->setFocus();
    return added;
}

void SheetWindow::propose(const QString &text, std::unique_ptr<Session> there)
{
    if (!page()->isEmpty() || !page()->isFor(there ? *there : m_session))
        addSheet();
    if (there)
        page()->workOn(std::move(there));
    page()->put(text);
}

SheetOptions SheetWindow::options() const
{
    return {.goesOnAtErrors = m_goesOn->isChecked(), .isSafe = isSafe()};
}

void SheetWindow::showState()
{
    showTitles();
    const SheetPage *shown = page();
    if (!shown)
        return;
    const bool isRunning = shown->isRunning();
    for (QPushButton *button : {m_runStatement, m_runSheet, m_script})
        switchButton(*button, !isRunning, *page());
    switchButton(*m_stop, isRunning, *page());
    switchButton(*m_autocommit, !isRunning, *page());
    m_autocommit->setChecked(shown->isAutocommit());
    m_transaction->setVisible(shown->isInTransaction());
    for (QPushButton *button : {m_commit, m_rollback})
        switchButton(*button, !isRunning && shown->isInTransaction(), *page());
    switchButton(*m_edit, shown->mayEditResult(), *page());
    m_pin->setEnabled(shown->hasGrid());
    m_pin->setChecked(shown->isResultPinned());
    m_safeMode->setChecked(isSafe());
    m_state->setText(shown->state());
    if (m_profile != shown->profile()) {
        m_profile = shown->profile();
        showServer(*this, m_profile);
    }
}

// As chosen here for this connection, else as it was saved.
bool SheetWindow::isSafe() const
{
    const ConnectionProfile &profile = page()->profile();
    return m_safeModes.value(profile.id, profile.isSafe);
}

void SheetWindow::setSafe(bool isOn)
{
    const ConnectionProfile &profile = page()->profile();
    m_safeModes[profile.id] = isOn;
    if (!profile.isSaved())
        m_settings.keep(QStringLiteral("SafeMode"), isOn);
}

void SheetWindow::takeMarks(const ConnectionProfile &profile)
{
    m_safeModes.remove(profile.id);
    for (int i = 0; i < m_tabs->count(); ++i)
        pageAt(i)->takeMarks(profile);
    showState();
}

void SheetWindow::showTitles()
{
    for (int i = 0; i < m_tabs->count(); ++i) {
        QString title = pageAt(i)->title();
        m_tabs->setTabText(i, title.replace(u'&', QStringLiteral("&&")));
        m_tabs->setTabToolTip(i, plainTip(pageAt(i)->path()));
    }
}

// What runs is stopped; what is not committed is lost, so it is asked about.
bool SheetWindow::mayClose(SheetPage &closing, const std::function<void()> &close)
{
    if (closing.isEditing()) {
        closing.leaveEditing(close);
        return false;
    }
    if (!closing.mayLeaveResults())
        return false;
    if (closing.isInTransaction()) {
        m_tabs->setCurrentWidget(&closing);
        const int choice = m_dialogue->choose(
            closing.title() + QStringLiteral(": 確定していない変更があります。"),
            {QStringLiteral("コミットして閉じる"), QStringLiteral("ロールバックして閉じる")});
        if (choice == 0)
            closing.commitAndThen(close);
        return choice == 1;
    }
    return !closing.isRunning() ||
           m_dialogue->warn(closing.title() + QStringLiteral(": 実行中です。停止して閉じますか？"));
}

void SheetWindow::closeSheet(int index)
{
    SheetPage *closing = pageAt(index);
    if (!closing || !mayClose(*closing, [this, closing] { closeSheet(m_tabs->indexOf(closing)); }))
        return;
    if (closing->isChanged() && !closing->isEmpty() &&
        !m_dialogue->warn(closing->title() + QStringLiteral("\r\n保存していません。捨てて閉じますか？")))
        return;
    closing->removeDraft();
    m_tabs->removeTab(index);
    delete closing;
    if (m_tabs->count() == 0)
        addSheet();
}

// A sheet without a connection yet goes by what the main window has chosen since.
void SheetWindow::changeEvent(QEvent *event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow())
        showState();
}

void SheetWindow::closeEvent(QCloseEvent *event)
{
    for (int i = 0; i < m_tabs->count(); ++i) {
        if (!mayClose(*pageAt(i), [this] { close(); })) {
            event->ignore();
            return;
        }
    }
    for (int i = 0; i < m_tabs->count(); ++i)
        pageAt(i)->keepDraft();
    keepSize(*this, m_session.gIniPath, sizeKey, standardSize);
    event->accept();
}

void SheetWindow::openFile()
{
    openPath(chooseSqlFile(this, QFileInfo(m_settings.recent().value(0)).path(), false,
                           QStringLiteral("SQL ファイル (*.sql)")));
}

void SheetWindow::openPath(const QString &path)
{
    if (path.isEmpty())
        return;
    for (int i = 0; i < m_tabs->count(); ++i)
        if (pageAt(i)->path() == path) {
            m_tabs->setCurrentIndex(i);
            return page()->setFocus();
        }
    SheetPage *target = page() && page()->isEmpty() && page()->path().isEmpty()
                            ? page()
                            : add(std::make_unique<Draft>(folder()));
    if (const QString failure = target->open(path); !failure.isEmpty())
        m_dialogue->refuse(failure);
    else
        m_settings.noteRecent(path);
    target->setFocus(); // to be written in, whatever button or menu was used
}

bool SheetWindow::saveFile()
{
    QString path = page()->path();
    if (path.isEmpty())
        path = chooseSqlFile(this, QFileInfo(m_settings.recent().value(0)).path(), true,
                             QStringLiteral("SQL ファイル (*.sql)"));
    if (path.isEmpty())
        return false;
    if (page()->isDamaged() && path == page()->path() &&
        !m_dialogue->warn(path + QStringLiteral(": 読めない文字がありました。\r\n保存すると、その部分は"
                                                "ファイルから失われます。上書きしますか？")))
        return false;
    if (path == page()->path() && page()->isFileOthers() &&
        !m_dialogue->warn(path + QStringLiteral(": 開いた後に、ほかで変更されています。\r\n保存すると、"
                                                "その変更は失われます。上書きしますか？")))
        return false;
    const QString failure = page()->save(path);
    if (failure.isEmpty())
        m_settings.noteRecent(path);
    else
        m_dialogue->refuse(QStringLiteral("保存できませんでした。\r\n") + failure);
    return failure.isEmpty();
}

void SheetWindow::fillRecent(QMenu &menu)
{
    menu.clear();
    for (const QString &path : m_settings.recent())
        connect(menu.addAction(QString(path).replace(u'&', QStringLiteral("&&"))), &QAction::triggered, this,
                [this, path] { openPath(path); });
    menu.setEnabled(!menu.isEmpty());
}

void SheetWindow::runScriptFile()
{
    if (const std::optional<ScriptOptions> chosen =
            askForScript(this, QFileInfo(m_settings.recent().value(0)).path()))
        page()->runScript(*chosen);
}
