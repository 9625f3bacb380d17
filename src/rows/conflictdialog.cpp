#include "rows/conflictdialog.h"

#include "controls/dialogue/messagebox.h"
#include "controls/window/building.h"
#include "rows/rowgrid.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace {

using Kind = RowChange::Kind;

enum Column { Row, Name, Before, Mine, Theirs, Staying };

// The words for the two sorts of rows that cannot be changed.
struct Words {
    QString intro, before, mine, theirs;
};

Words wordsFor(ConflictOf of)
{
    if (of == ConflictOf::Saving)
        return {QStringLiteral("読んだあとで、他の人が次の行を変えています。%"
                               "1\n行ごとに、残す方を選んで下さい。選んだ後で、もう一度保存します。"),
                QStringLiteral("読んだ値"), QStringLiteral("自分"), QStringLiteral("相手")};
    return {QStringLiteral("保存したあとで、次の行が変わっています。%"
                           "1\n行ごとに、戻すか今のままにするかを選ぶと、ほかの行とともに元に戻します。"),
            QStringLiteral("保存した値"), QStringLiteral("戻す値"), QStringLiteral("今の値")};
}

QString textOf(const TableColumn &column, const RowValue &value)
{
    return value ? editedText(column, value) : QStringLiteral("NULL");
}

class ConflictDialog : public QDialog {
public:
    ConflictDialog(QWidget *parent, const TableShape &table, const std::vector<RowChange> &changes,
                   const std::vector<RowConflict> &conflicts, ConflictOf of, const QString &done);

    std::vector<bool> keepsMine() const;

private:
    void fillTree();
    void buildLayout(const QString &done);
    void addConflict(const RowConflict &conflict);
    void addLine(QTreeWidgetItem *row, std::size_t column, const RowConflict &conflict);
    QPushButton *addChoice(const char *name, const QString &text, bool isMine, bool isForAll);
    void choose(QTreeWidgetItem *row, bool isMine);
    void showWhole(const QTreeWidgetItem *line);
    QTreeWidgetItem *rowOf(QTreeWidgetItem *item) const { return item->parent() ? item->parent() : item; }

    const TableShape &m_table;
    const std::vector<RowChange> &m_changes;
    const std::vector<RowConflict> &m_conflicts;
    const Words m_words;
    std::vector<std::optional<bool>> m_keepsMine; // by conflict; nothing: not chosen yet
    QTreeWidget *m_tree = made<QTreeWidget>("conflictRows");
    QPlainTextEdit *m_whole = made<QPlainTextEdit>("conflictValues");
    QDialogButtonBox *m_buttons = new QDialogButtonBox;
    QPushButton *m_accept;
};

ConflictDialog::ConflictDialog(QWidget *parent, const TableShape &table,
                               const std::vector<RowChange> &changes,
                               const std::vector<RowConflict> &conflicts, ConflictOf of, const QString &done)
    : QDialog(parent)
    , m_table(table)
    , m_changes(changes)
    , m_conflicts(conflicts)
    , m_words(wordsFor(of))
    , m_keepsMine(conflicts.size())
    , m_accept(m_buttons->addButton(of == ConflictOf::Saving ? QStringLiteral("選んだ値にする(&O)")
                                                             : QStringLiteral("元に戻す(&O)"),
                                    QDialogButtonBox::AcceptRole))
{
    setObjectName(QStringLiteral("rowConflicts"));
    setWindowTitle(QStringLiteral("他の人が変えた行 - ") + table.database + u'.' + table.name);
    m_accept->setObjectName(QStringLiteral("acceptConflicts"));
    m_accept->setAutoDefault(false);
    m_accept->setEnabled(false);
    QPushButton *cancel = m_buttons->addButton(QDialogButtonBox::Cancel);
    cancel->setDefault(true); // Enter overwrites nothing
    connect(m_buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(m_buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    m_whole->setReadOnly(true);
    m_whole->setTabChangesFocus(true);
    m_whole->setAccessibleName(QStringLiteral("値の全体"));
    fillTree();
    connect(m_tree, &QTreeWidget::currentItemChanged, this, &ConflictDialog::showWhole);
    buildLayout(done);
    QTreeWidgetItem *first = m_tree->topLevelItem(0);
    // With the Ctrl of Ctrl+S still held down, the tree itself would select nothing.
    m_tree->setCurrentItem(first->childCount() > 0 ? first->child(0) : first, 0,
                           QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    m_tree->setFocus();
}

void ConflictDialog::fillTree()
{
    m_tree->setAccessibleName(windowTitle());
    m_tree->setHeaderLabels({QStringLiteral("行"), QStringLiteral("列"), m_words.before, m_words.mine,
                             m_words.theirs, QStringLiteral("残すもの")});
    m_tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    m_tree->setItemDelegate(new VisibleItems(m_tree));
    m_tree->setUniformRowHeights(true);
    for (const RowConflict &conflict : m_conflicts)
        addConflict(conflict);
    m_tree->expandAll();
    // What is to stay is always seen; the values share the room.
    m_tree->header()->setStretchLastSection(false);
    constexpr int mostLetters = 32; // of a key
    for (const Column column : {Row, Name, Staying}) {
        m_tree->resizeColumnToContents(column);
        m_tree->setColumnWidth(
            column, std::min(m_tree->columnWidth(column), fontMetrics().averageCharWidth() * mostLetters));
    }
    for (const Column column : {Before, Mine, Theirs})
        m_tree->header()->setSectionResizeMode(column, QHeaderView::Stretch);
}

void ConflictDialog::buildLayout(const QString &done)
{
    auto *choices = new QHBoxLayout;
    choices->addWidget(addChoice("keepMine", m_words.mine + QStringLiteral(" (&M)"), true, false));
    choices->addWidget(addChoice("takeTheirs", m_words.theirs + QStringLiteral(" (&T)"), false, false));
    choices->addStretch(1);
    choices->addWidget(addChoice(
        "keepAllMine", QStringLiteral("全て") + m_words.mine + QStringLiteral(" (&A)"), true, true));
    choices->addWidget(addChoice(
        "takeAllTheirs", QStringLiteral("全て") + m_words.theirs + QStringLiteral(" (&L)"), false, true));
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel(m_words.intro.arg(done)));
    layout->addWidget(m_tree, 3);
    layout->addWidget(m_whole, 1);
    layout->addLayout(choices);
    layout->addWidget(m_buttons);
    resize(fontMetrics().averageCharWidth() * 120, fontMetrics().lineSpacing() * 26);
}

void ConflictDialog::addConflict(const RowConflict &conflict)
{
    const RowChange &change = m_changes[conflict.change];
    QStringList key;
    for (const int index : m_table.key) {
        const auto at = static_cast<std::size_t>(index);
        key << m_table.columns[at].name + u'=' + textOf(m_table.columns[at], change.before[at]);
    }
    auto *row = new QTreeWidgetItem(m_tree, {key.join(QStringLiteral(", "))});
    if (change.kind == Kind::Deleted)
        row->setText(Mine, QStringLiteral("(行を削除)"));
    if (conflict.theirs.empty())
        row->setText(Theirs, QStringLiteral("(行を削除)"));
    for (std::size_t column = 0; column < m_table.columns.size(); ++column)
        addLine(row, column, conflict);
    if (change.kind == Kind::Deleted && conflict.theirs.empty())
        choose(row, false); // both want the same
}

// A column that either of both has changed.
void ConflictDialog::addLine(QTreeWidgetItem *row, std::size_t at, const RowConflict &conflict)
{
    const RowChange &change = m_changes[conflict.change];
    const TableColumn &column = m_table.columns[at];
    const auto mine = change.values.find(static_cast<int>(at));
    const bool isMine = mine != change.values.end();
    const bool isTheirs = !conflict.theirs.empty() && conflict.theirs[at] != change.before[at];
    if (!isMine && !isTheirs)
        return;
    auto *line = new QTreeWidgetItem(row, {QString(), column.name});
    const auto set = [&](Column cell, const RowValue &value) {
        const QString text = textOf(column, value);
        line->setText(cell, text.left(200));
        line->setData(cell, Qt::UserRole,
                      value ? QStringLiteral("(%1 バイト)\n%2").arg(value->size()).arg(text) : text);
    };
    set(Before, change.before[at]);
    if (isMine)
        set(Mine, mine->second);
    if (isTheirs)
        set(Theirs, conflict.theirs[at]);
}

QPushButton *ConflictDialog::addChoice(const char *name, const QString &text, bool isMine, bool isForAll)
{
    auto *button = made<QPushButton>(name, text);
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, [this, isMine, isForAll] {
        if (isForAll)
            for (int row = 0; row < m_tree->topLevelItemCount(); ++row)
                choose(m_tree->topLevelItem(row), isMine);
        else
            for (QTreeWidgetItem *item : m_tree->selectedItems())
                choose(rowOf(item), isMine);
    });
    return button;
}

void ConflictDialog::choose(QTreeWidgetItem *row, bool isMine)
{
    m_keepsMine[static_cast<std::size_t>(m_tree->indexOfTopLevelItem(row))] = isMine;
    row->setText(Staying, isMine ? m_words.mine : m_words.theirs);
    m_accept->setEnabled(
        std::ranges::all_of(m_keepsMine, [](const auto &choice) { return choice.has_value(); }));
}

// What differs may stand behind the end of the cell, or be a blank.
void ConflictDialog::showWhole(const QTreeWidgetItem *line)
{
    QStringList values;
    for (const auto &[cell, title] : {std::pair(Before, m_words.before), std::pair(Mine, m_words.mine),
                                      std::pair(Theirs, m_words.theirs)})
        if (line && !line->data(cell, Qt::UserRole).toString().isEmpty())
            values << title + u' ' + line->data(cell, Qt::UserRole).toString();
    m_whole->setPlainText(values.join(QStringLiteral("\n\n")));
}

std::vector<bool> ConflictDialog::keepsMine() const
{
    std::vector<bool> result;
    for (const auto &choice : m_keepsMine)
        result.push_back(choice.value_or(false));
    return result;
}

} // namespace

std::optional<std::vector<bool>> askWhoseStay(QWidget *parent, const TableShape &table,
                                              const std::vector<RowChange> &changes,
                                              const std::vector<RowConflict> &conflicts, ConflictOf of,
                                              const QString &done)
{
    const PointerInBox pointer;
    ConflictDialog dialog(parent, table, changes, conflicts, of, done);
    return dialog.exec() == QDialog::Accepted ? std::optional(dialog.keepsMine()) : std::nullopt;
}
