#include "sheets/historywindow.h"

#include "controls/window/building.h"
#include "controls/window/stopping.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QInputDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QShortcut>
#include <QTableWidget>
#include <QTimer>
#include <QVBoxLayout>

namespace {

constexpr int mostShown = 1000;

// A line of it is enough for the list.
QString firstWords(const QString &statement)
{
    constexpr qsizetype enough = 300;
    return visibleItem(statement.left(enough).simplified());
}

} // namespace

HistoryWindow::HistoryWindow(HistoryStore &store, QWidget *parent, std::function<void(const QString &)> put)
    : QDialog(parent)
    , m_store(store)
    , m_put(std::move(put))
    , m_filter(made<QLineEdit>("historyFilter"))
    , m_list(made<QTableWidget>("historyList", 0, 6))
{
    setObjectName(QStringLiteral("historyWindow"));
    setWindowTitle(QStringLiteral("SQLの履歴"));
    setAttribute(Qt::WA_DeleteOnClose);
    setWorksWhileRunning(this);
    buildLayout();
    resize(860, 480);
    auto *later = new QTimer(this);
    later->setSingleShot(true);
    later->setInterval(100);
    connect(m_filter, &QLineEdit::textChanged, later, qOverload<>(&QTimer::start));
    connect(later, &QTimer::timeout, this, &HistoryWindow::read);
    connect(m_list, &QTableWidget::cellDoubleClicked, this, &HistoryWindow::putChosen);
    connect(new QShortcut(Qt::Key_Delete, m_list, nullptr, nullptr, Qt::WidgetShortcut),
            &QShortcut::activated, this, &HistoryWindow::removeChosen);
    read();
}

void HistoryWindow::buildLayout()
{
    m_filter->setPlaceholderText(QStringLiteral("文・データベース・サーバー・名前の一部"));
    m_filter->setClearButtonEnabled(true);
    m_list->setHorizontalHeaderLabels({QStringLiteral("時刻"), QStringLiteral("サーバー"),
                                       QStringLiteral("データベース"), QStringLiteral("秒"),
                                       QStringLiteral("行"), QStringLiteral("文")});
    m_list->setAccessibleName(windowTitle());
    m_filter->setAccessibleName(QStringLiteral("履歴の絞り込み"));
    m_list->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->verticalHeader()->hide();
    m_list->horizontalHeader()->setStretchLastSection(true);
    m_list->setWordWrap(false);
    m_list->setTabKeyNavigation(false); // to the buttons, not from cell to cell
    const auto button = [](const char *name, const QString &text) {
        auto *made = ::made<QPushButton>(name, text);
        made->setAutoDefault(false);
        return made;
    };
    auto *put = button("historyPut", QStringLiteral("シートに入れる"));
    put->setDefault(true);
    auto *name = button("historyName", QStringLiteral("お気に入りの名前..."));
    auto *remove = button("historyRemove", QStringLiteral("削除"));
    auto *close = button("historyClose", QStringLiteral("閉じる"));
    connect(put, &QPushButton::clicked, this, &HistoryWindow::putChosen);
    connect(name, &QPushButton::clicked, this, &HistoryWindow::nameChosen);
    connect(remove, &QPushButton::clicked, this, &HistoryWindow::removeChosen);
    connect(close, &QPushButton::clicked, this, &QDialog::reject);
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(put);
    buttons->addWidget(name);
    buttons->addWidget(remove);
    buttons->addStretch(1);
    buttons->addWidget(close);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_filter);
    layout->addWidget(m_list, 1);
    layout->addLayout(buttons);
}

void HistoryWindow::read()
{
    m_entries = m_store.find(m_filter->text(), mostShown);
    m_list->setRowCount(static_cast<int>(m_entries.size()));
    for (int row = 0; row < m_list->rowCount(); ++row) {
        const HistoryEntry &entry = m_entries[static_cast<std::size_t>(row)];
        const QString seconds = entry.microseconds > 0
                                    ? QString::number(static_cast<double>(entry.microseconds) / 1e6, 'f', 3)
                                    : QString();
        const QString words =
            (entry.name.isEmpty() ? QString() : QStringLiteral("★%1　").arg(visibleItem(entry.name))) +
            firstWords(entry.statement);
        const QString rows = !entry.error.isEmpty() ? QStringLiteral("エラー")
                             : entry.rows >= 0      ? QLocale().toString(entry.rows)
                                                    : QString();
        int column = 0;
        for (const QString &text :
             {entry.time.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")), visibleItem(entry.server),
              visibleItem(entry.database), seconds, rows, words}) {
            auto *item = new QTableWidgetItem(text);
            item->setToolTip(plainTip(entry.error.isEmpty()
                                          ? entry.statement.left(2000)
                                          : entry.statement.left(2000) + u'\n' + entry.error));
            if (column == 3 || column == 4)
                item->setTextAlignment(Qt::AlignRight | Qt::AlignVCenter);
            m_list->setItem(row, column++, item);
        }
    }
    if (!m_entries.empty())
        m_list->selectRow(0);
    for (int column = 0; column < 5; ++column)
        m_list->setColumnWidth(column, column == 0 ? 150 : column < 3 ? 110 : 70);
}

const HistoryEntry *HistoryWindow::chosen() const
{
    const int row = m_list->currentRow();
    return row >= 0 && static_cast<std::size_t>(row) < m_entries.size()
               ? &m_entries[static_cast<std::size_t>(row)]
               : nullptr;
}

void HistoryWindow::putChosen()
{
    if (const HistoryEntry *entry = chosen()) {
        m_put(QString(entry->statement)); // the list may be read anew meanwhile
        accept();
    }
}

void HistoryWindow::nameChosen()
{
    const HistoryEntry *entry = chosen();
    if (!entry)
        return;
    // What was typed into the filter a moment ago reads the list anew meanwhile.
    const auto id = entry->id;
    bool isGiven = false;
    const QString name =
        QInputDialog::getText(this, windowTitle(), QStringLiteral("お気に入りの名前（空なら外します）"),
                              QLineEdit::Normal, entry->name, &isGiven);
    if (isGiven)
        m_store.setName(id, name.trimmed());
    read();
}

void HistoryWindow::removeChosen()
{
    if (const HistoryEntry *entry = chosen())
        m_store.remove(entry->id);
    read();
}
