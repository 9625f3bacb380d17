#include "rows/resultrows.h"

#include "controls/window/building.h"
#include "rows/rowdialogs.h"
#include "rows/rowsmenu.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QMenu>
#include <QPushButton>

ResultRows::ResultRows(Session &session, Dialogue &dialogue, FlexGrid &grid)
    : m_session(session)
    , m_dialogue(dialogue)
    , m_grid(grid)
    , m_rows(grid, session.runner)
    , m_savings(session, dialogue, m_rows, true)
    , m_state(made<QLabel>("resultRowsState"))
    , m_show(made<QPushButton>("showResultStatements", QStringLiteral("文を表示")))
    , m_cancel(made<QPushButton>("cancelResultRows", QStringLiteral("取消")))
    , m_save(made<QPushButton>("saveResultRows", QStringLiteral("保存")))
{
    m_state->setTextFormat(Qt::PlainText);
    m_state->setWordWrap(true);
    m_save->setToolTip(QStringLiteral("変更した行をこのシートの接続で保存します (Ctrl+S)。"
                                      "トランザクション中なら、その中で保存します"));
    auto *line = new QHBoxLayout(this);
    line->setContentsMargins({});
    line->addWidget(m_state, 1);
    for (QPushButton *button : {m_show, m_cancel, m_save})
        line->addWidget(button);
    connect(m_show, &QPushButton::clicked, this, &ResultRows::showStatements);
    connect(m_cancel, &QPushButton::clicked, this, [this] {
        if (!m_session.runner.isRunning())
            m_rows.discard();
    });
    connect(m_save, &QPushButton::clicked, this, &ResultRows::saveRows);
    connect(&m_rows, &RowGrid::changed, this, [this] { showState(); });
    connect(&m_rows, &RowGrid::told, this, [this](const QString &words) { showState(words); });
    connect(&m_grid, &FlexGrid::menuOpening, this, &ResultRows::addToMenu);
    m_grid.installEventFilter(this);
    showState();
}

bool ResultRows::begin(const QString &database, const QString &table)
{
    QStringList names;
    for (const Field &field : m_grid.fields())
        names << field.name;
    return run(QStringLiteral("編集の準備"), [&] {
        TableShape shape = shapeOfColumns(readTableShape(m_session.connection(), database, table), names);
        heedConnection(shape, m_session.profile);
        m_rows.begin(shape);
        m_grid.setTableName(table);
    });
}

// False: it failed, and the words have been shown, unless the user has stopped it.
bool ResultRows::run(const QString &what, const std::function<void()> &action)
{
    bool hasSucceeded = false;
    m_session.runner.run(this, what, [&] {
        try {
            const BusyPointer busy(m_dialogue);
            action();
            hasSucceeded = true;
        } catch (const Failure &error) {
            if (!m_session.runner.isStopWanted())
                m_dialogue.refuse(error.description());
        }
    });
    return hasSucceeded;
}

void ResultRows::showState(const QString &words)
{
    const int changes = changeCount();
    const TableShape &table = m_rows.table();
    QStringList parts;
    if (m_rows.isBegun() && !m_rows.mayWrite())
        parts << QStringLiteral("読み取り専用: ") + table.whyReadOnly;
    else if (m_rows.isBegun())
        parts << QStringLiteral("編集中: %1.%2").arg(table.database, table.name);
    if (changes > 0)
        parts << QStringLiteral("%1件の変更").arg(changes);
    if (!words.isEmpty())
        parts << words;
    m_state->setText(parts.join(QStringLiteral("  |  ")));
    for (QPushButton *button : {m_show, m_cancel, m_save})
        switchButton(*button, changes > 0, m_grid);
}

bool ResultRows::mayLeave()
{
    if (changeCount() == 0 || m_session.runner.isRunning())
        return changeCount() == 0;
    const int choice =
        m_dialogue.choose(QStringLiteral("保存していない行の変更が %1 件あります。").arg(changeCount()),
                          {QStringLiteral("保存する"), QStringLiteral("捨てる")});
    if (choice == 0)
        saveRows();
    else if (choice == 1)
        m_rows.discard();
    return changeCount() == 0;
}

void ResultRows::saveRows()
{
    m_grid.setFocus(); // a cell that is being edited takes its value
    if (changeCount() > 0)
        run(QStringLiteral("行の保存"), [this] { showState(m_savings.save()); });
}

void ResultRows::showStatements()
{
    showChanges(this, m_rows.table(), m_rows.changes());
}

void ResultRows::addToMenu(QMenu *menu)
{
    if (m_rows.isBegun() && !m_session.runner.isRunning())
        addRowEditing(menu, m_rows);
}

bool ResultRows::eventFilter(QObject *watched, QEvent *event)
{
    // The window's own Ctrl+S saves the text.
    const bool isKey = event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress;
    if (watched != &m_grid || !isKey || !static_cast<QKeyEvent *>(event)->matches(QKeySequence::Save))
        return EditedRows::eventFilter(watched, event);
    event->accept();
    if (event->type() == QEvent::KeyPress)
        saveRows();
    return true;
}
