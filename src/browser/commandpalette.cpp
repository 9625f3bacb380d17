#include "browser/commandpalette.h"

#include "controls/lists/filterline.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

constexpr int mostShown = 200; // of a database with thousands of tables
constexpr int entryRole = Qt::UserRole;

// A name that is, then one that begins with, the first word stands before what only holds it.
int rank(const PaletteEntry &entry, const QString &word)
{
    const QString name = comparable(entry.name);
    return name == word ? 0 : name.startsWith(word) ? 1 : 2;
}

bool matches(const PaletteEntry &entry, const QStringList &words)
{
    const QString all = comparable(entry.name + u' ' + entry.kind + u' ' + entry.hidden);
    return std::ranges::all_of(words, [&](const QString &word) { return all.contains(word); });
}

QString shownText(const PaletteEntry &entry)
{
    QString text = entry.name + QStringLiteral("　") + entry.kind;
    if (!entry.key.isEmpty())
        text += QStringLiteral("　") + entry.key;
    if (!entry.reasonAgainst.isEmpty())
        text += QStringLiteral("　(%1)").arg(entry.reasonAgainst);
    return text;
}

} // namespace

CommandPalette::CommandPalette(std::vector<PaletteEntry> entries, QWidget *parent)
    : QDialog(parent)
    , m_entries(std::move(entries))
    , m_text(new QLineEdit(this))
    , m_list(new QListWidget(this))
{
    setObjectName(QStringLiteral("commandPalette"));
    setWindowTitle(QStringLiteral("コマンドとオブジェクトを探す"));
    m_text->setObjectName(QStringLiteral("paletteText"));
    m_text->setPlaceholderText(QStringLiteral("コマンド、データベース、テーブル、ルーチンの名前"));
    m_text->setAccessibleName(windowTitle());
    m_list->setObjectName(QStringLiteral("paletteList"));
    m_list->setAccessibleName(QStringLiteral("見つかったもの"));
    m_list->setUniformItemSizes(true);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_text);
    layout->addWidget(m_list);
    resize(fontMetrics().averageCharWidth() * 60, fontMetrics().height() * 24);
    m_text->installEventFilter(this);
    connect(m_text, &QLineEdit::textChanged, this, &CommandPalette::find);
    connect(m_text, &QLineEdit::returnPressed, this, &CommandPalette::choose);
    connect(m_list, &QListWidget::itemClicked, this, &CommandPalette::choose);
    find({});
}

void CommandPalette::find(const QString &text)
{
    const QStringList words = comparable(text).split(u' ', Qt::SkipEmptyParts);
    std::vector<const PaletteEntry *> found;
    for (const PaletteEntry &entry : m_entries)
        if (matches(entry, words))
            found.push_back(&entry);
    std::ranges::stable_sort(found, {},
                             [&](const PaletteEntry *entry) { return rank(*entry, words.value(0)); });
    found.resize(std::min<std::size_t>(found.size(), mostShown));
    m_list->clear();
    for (const PaletteEntry *entry : found) {
        auto *item = new QListWidgetItem(shownText(*entry), m_list);
        item->setData(entryRole, QVariant::fromValue(static_cast<int>(entry - m_entries.data())));
        if (!entry->reasonAgainst.isEmpty())
            item->setFlags(item->flags() & ~Qt::ItemIsEnabled);
    }
    m_list->setCurrentRow(0);
}

void CommandPalette::choose()
{
    const QListWidgetItem *item = m_list->currentItem();
    if (!item || !(item->flags() & Qt::ItemIsEnabled))
        return;
    m_chosen = &m_entries[static_cast<std::size_t>(item->data(entryRole).toInt())];
    accept();
}

// The list is moved through while one types.
bool CommandPalette::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_text && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent *>(event)->key();
        if (key == Qt::Key_Up || key == Qt::Key_Down || key == Qt::Key_PageUp || key == Qt::Key_PageDown) {
            QCoreApplication::sendEvent(m_list, event);
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}
