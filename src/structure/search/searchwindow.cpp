#include "structure/search/searchwindow.h"

#include "controls/lists/filterline.h"
#include "controls/window/building.h"
#include "controls/window/serverstrip.h"
#include "controls/window/stopping.h"
#include "controls/window/windowsize.h"
#include "core/command/writing.h"
#include "core/session/basconnection.h"
#include "structure/search/hitlist.h"
#include "structure/search/namesearch.h"
#include "structure/search/valuesearch.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSplitter>
#include <QTimer>
#include <QVBoxLayout>

namespace {

// What runs is stopped by the next search, which takes the server a while: then more letters are waited for.
constexpr std::chrono::milliseconds pauseInTyping(40), pauseWhileSearching(200);

} // namespace

SearchWindow::SearchWindow(const Session &session)
    : m_settingsFile(session.gIniPath)
    , m_connection(connectionStringOf(session))
    , m_link(std::make_unique<ServerLink>(session))
    , m_text(made<QLineEdit>("searchText"))
    , m_databases(made<QComboBox>("searchDatabase"))
    , m_ofNames(made<QRadioButton>("searchNames", QStringLiteral("名前・コメント・定義(&N)")))
    , m_ofValues(made<QRadioButton>("searchValues", QStringLiteral("テーブルの値(&V)")))
    , m_tables(made<QListWidget>("searchTables"))
    , m_tablePane(new QWidget)
    , m_start(made<QPushButton>("startSearch", QStringLiteral("検索(&S)")))
    , m_stop(made<QPushButton>("stopSearch", QStringLiteral("停止")))
    , m_rows(new HitRows(this))
    , m_hits(new HitList("searchHits", *m_rows))
    , m_progress(made<QProgressBar>("searchProgress"))
    , m_state(made<QLabel>("searchState"))
    , m_pause(new QTimer(this))
{
    setObjectName(QStringLiteral("searchWindow"));
    setWindowTitle(QStringLiteral("検索 %1").arg(serverName(session)));
    setAttribute(Qt::WA_DeleteOnClose);
    setWorksWhileRunning(this); // on a connection of its own, in another thread
    buildLayout();
    connectControls();
    m_ofNames->setChecked(true);
    showMode();
    end({});
    showServer(*this, session.profile);
    restoreSize(*this, m_settingsFile, sizeKey, standardSize);
}

SearchWindow::~SearchWindow()
{
    ++*m_latest; // what waits in the link's thread is not begun any more
}

bool SearchWindow::isOf(const Session &session) const
{
    return m_connection == connectionStringOf(session);
}

void SearchWindow::buildLayout()
{
    m_text->setPlaceholderText(QStringLiteral("探す文字"));
    m_text->setAccessibleName(m_text->placeholderText());
    m_text->setClearButtonEnabled(true);
    m_databases->setAccessibleDescription(QStringLiteral("探すデータベース"));
    m_databases->addItem(QStringLiteral("すべて (システムを除く)"));
    m_databases->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    m_tables->setAccessibleName(QStringLiteral("値を探すテーブル"));
    m_tables->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_tables->setUniformItemSizes(true);
    m_progress->setAccessibleName(QStringLiteral("進み具合"));
    m_progress->setTextVisible(false);
    m_progress->setMaximumWidth(150);
    m_state->setTextFormat(Qt::PlainText);
    m_state->setWordWrap(true);
    m_hits->setPlaceholderText(QStringLiteral("見つかったものは Enter かダブルクリックで開きます"));

    auto *first = new QHBoxLayout;
    first->addWidget(m_text, 1);
    first->addWidget(m_databases);
    first->addWidget(m_start);
    first->addWidget(m_stop);
    auto *modes = new QHBoxLayout;
    modes->addWidget(m_ofNames);
    modes->addWidget(m_ofValues);
    modes->addStretch(1);
    auto *tables = new QVBoxLayout(m_tablePane);
    tables->setContentsMargins({});
    auto *filter = made<FilterLine>("searchTables_Filter", *m_tables);
    filter->setAccessibleName(QStringLiteral("テーブルの絞り込み"));
    tables->addWidget(filter);
    tables->addWidget(m_tables, 1);
    auto *split = new QSplitter(Qt::Horizontal);
    split->addWidget(m_tablePane);
    split->addWidget(m_hits);
    split->setChildrenCollapsible(false);
    split->setStretchFactor(1, 1);
    split->setSizes({200, 700});
    auto *last = new QHBoxLayout;
    last->addWidget(m_state, 1);
    last->addWidget(m_progress);
    auto *layout = new QVBoxLayout(this);
    layout->addLayout(first);
    layout->addLayout(modes);
    layout->addWidget(split, 1);
    layout->addLayout(last);
    makeOptionGroup(this, {m_ofNames, m_ofValues});
}

void SearchWindow::connectControls()
{
    m_pause->setSingleShot(true);
    connect(m_pause, &QTimer::timeout, this, &SearchWindow::start);
    connect(m_text, &QLineEdit::textChanged, this, &SearchWindow::type);
    connect(m_text, &QLineEdit::returnPressed, this, &SearchWindow::start);
    connect(m_start, &QPushButton::clicked, this, &SearchWindow::start);
    connect(m_stop, &QPushButton::clicked, this, &SearchWindow::stop);
    connect(m_ofNames, &QRadioButton::toggled, this, &SearchWindow::showMode);
    connect(m_databases, &QComboBox::activated, this, [this] {
        readTables();
        type();
    });
    connect(m_hits, &HitList::opened, this, &SearchWindow::opened);
}

void SearchWindow::offer(const QString &database, const QString &table)
{
    m_wantedTable = table;
    int place = m_databases->findText(database, Qt::MatchExactly | Qt::MatchCaseSensitive);
    if (place < 0 && !database.isEmpty()) {
        m_databases->addItem(database, true);
        place = m_databases->count() - 1;
    }
    if (!database.isEmpty())
        m_databases->setCurrentIndex(place);
    readTables();
    m_text->setFocus();
    m_text->selectAll();
}

void SearchWindow::showEvent(QShowEvent *event)
{
    QWidget::showEvent(event);
    readDatabases();
}

void SearchWindow::closeEvent(QCloseEvent *event)
{
    keepSize(*this, m_settingsFile, sizeKey, standardSize);
    QWidget::closeEvent(event);
}

// Escape stops what runs; then it closes.
void SearchWindow::keyPressEvent(QKeyEvent *event)
{
    const bool isClose = event->key() == Qt::Key_W && event->modifiers() == Qt::ControlModifier;
    if (event->key() == Qt::Key_Escape && isSearching())
        stop();
    else if (event->key() == Qt::Key_Escape || isClose)
        close();
    else if (event->key() == Qt::Key_Down && m_text->hasFocus() && m_rows->rowCount() > 0)
        m_hits->setFocus(), m_hits->selectRow(0);
    else
        QWidget::keyPressEvent(event);
}

QString SearchWindow::database() const
{
    return m_databases->currentIndex() > 0 ? m_databases->currentText() : QString();
}

bool SearchWindow::isOfValues() const
{
    return m_ofValues->isChecked();
}

void SearchWindow::readDatabases()
{
    m_link->ask(
        *this, [](Session &session) { return searchableDatabases(session); },
        [this](const QStringList &names) {
            const QString chosen = database();
            while (m_databases->count() > 1)
                m_databases->removeItem(1);
            m_databases->addItems(names);
            m_databases->setCurrentIndex(
                chosen.isEmpty() ? 0 : std::max(0, static_cast<int>(names.indexOf(chosen)) + 1));
        },
        [this](const Failure &failure) { end(failure.description()); });
}

void SearchWindow::readTables()
{
    m_tables->clear();
    if (database().isEmpty() || !isOfValues())
        return;
    m_link->ask(
        *this, [name = database()](Session &session) { return searchableTables(session, name); },
        [this, name = database()](const QStringList &names) {
            if (name != database())
                return;
            m_tables->clear();
            m_tables->addItems(names);
            const int wanted = static_cast<int>(names.indexOf(m_wantedTable));
            if (wanted >= 0)
                m_tables->setCurrentRow(wanted);
            else
                m_tables->selectAll();
        },
        [this](const Failure &failure) { end(failure.description()); });
}

void SearchWindow::showMode()
{
    m_tablePane->setVisible(isOfValues());
    m_start->setEnabled(isOfValues());
    stop();
    m_rows->clear();
    readTables();
    type();
}

// Names are looked for as one types. Values are not: that reads whole tables.
void SearchWindow::type()
{
    if (isOfValues())
        return end(database().isEmpty() ? QStringLiteral("値を探すデータベースを選んで下さい。") : QString());
    m_pause->start(isSearching() ? pauseWhileSearching : pauseInTyping);
}

void SearchWindow::start()
{
    m_pause->stop();
    const QString text = m_text->text();
    if (text.trimmed().isEmpty()) {
        stop();
        m_rows->clear();
        return end({});
    }
    Search search{text, database(), {}};
    if (isOfValues()) {
        for (int row = 0; row < m_tables->count(); ++row)
            if (m_tables->item(row)->isSelected() && !m_tables->item(row)->isHidden())
                search.questions << m_tables->item(row)->text();
        if (search.questions.isEmpty())
            return end(QStringLiteral("値を探すテーブルを選んで下さい。"));
    } else {
        search.questions = nameStatements(text, search.database);
    }
    begin(std::move(search));
}

// An older search is stopped first: its answer is of no use any more.
void SearchWindow::begin(Search search)
{
    stop();
    search.number = ++*m_latest;
    m_search = std::move(search);
    m_hasCut = false;
    m_refusals.clear();
    m_rows->clear();
    m_progress->setRange(0, static_cast<int>(m_search.questions.size()));
    m_progress->show();
    m_stop->setEnabled(true);
    askNext(0);
}

void SearchWindow::askNext(qsizetype place)
{
    if (place == m_search.questions.size()) {
        m_search.questions.clear();
        QString words = QStringLiteral("%L1 件").arg(m_rows->rowCount());
        if (m_hasCut)
            words += isOfValues()
                         ? QStringLiteral("　多いテーブルは先頭の %L1 行までです").arg(mostRowsOfTable)
                         : QStringLiteral("　多い種類は %L1 件までです").arg(mostNames);
        if (!m_refusals.isEmpty())
            words += QStringLiteral("　読めなかった所があります (%1): %2")
                         .arg(m_refusals.size())
                         .arg(m_refusals.first());
        return end(words);
    }
    const QString question = m_search.questions[place];
    m_progress->setValue(static_cast<int>(place));
    m_state->setText(isOfValues() ? QStringLiteral("%1/%2 %3 を検索中…　%L4 件")
                                        .arg(place + 1)
                                        .arg(m_search.questions.size())
                                        .arg(visibleName(question))
                                        .arg(m_rows->rowCount())
                                  : QStringLiteral("検索中…　%L1 件").arg(m_rows->rowCount()));
    const auto isLatest = [latest = m_latest, number = m_search.number] { return *latest == number; };
    m_link->ask(
        *this,
        [isLatest, question, isOfValues = isOfValues(), search = m_search](Session &session) {
            if (!isLatest())
                throw interruptedError();
            return isOfValues ? searchTable(session, search.database, question, search.text)
                              : readNames(session, question);
        },
        [this, isLatest, place](SearchHits hits) {
            if (isLatest())
                take(std::move(hits), place);
        },
        [this, isLatest, question, place](const Failure &failure) {
            if (isLatest())
                refuse(failure, question, place);
        });
}

void SearchWindow::take(SearchHits hits, qsizetype place)
{
    m_hasCut |= static_cast<int>(hits.size()) >= (isOfValues() ? mostRowsOfTable : mostNames);
    m_rows->append(std::move(hits));
    askNext(place + 1);
}

// What one question may not see, or an old server does not have, keeps nothing from the others.
void SearchWindow::refuse(const Failure &failure, const QString &question, qsizetype place)
{
    m_refusals << (isOfValues() ? question + QStringLiteral(": ") : QString()) + failure.description();
    if (failure.isConnectionLost() || failure.isInterrupted() || !m_link->problem().isEmpty()) {
        m_search.questions.clear();
        return end(m_refusals.last());
    }
    askNext(place + 1);
}

void SearchWindow::stop()
{
    if (!isSearching())
        return;
    ++*m_latest;
    m_link->stop();
    m_search.questions.clear();
    end(QStringLiteral("停止しました。%L1 件").arg(m_rows->rowCount()));
}

void SearchWindow::end(const QString &words)
{
    m_progress->hide();
    m_stop->setEnabled(false);
    m_state->setText(words);
}
