#include "rows/rowspane.h"

#include "controls/window/building.h"
#include "controls/window/narrow.h"
#include "controls/window/statelabel.h"

#include <QEvent>
#include <QHBoxLayout>
#include <QVBoxLayout>

namespace {

ConditionLine *line(const char *name, const QString &title, const QString &example)
{
    auto *result = made<ConditionLine>(name);
    result->setAccessibleName(title);
    result->setPlaceholderText(example);
    result->setToolTip(title + QStringLiteral(" (Enterで読む)"));
    return result;
}

QPushButton *button(const char *name, const QString &text, const QString &tip)
{
    auto *result = tipped<QPushButton>(name, text, tip);
    result->setAutoDefault(false);
    return result;
}

// Only as wide as its text: six of them stand in one line with the state.
void fitToText(QPushButton &button)
{
    letBeNarrow(button);
    const QFontMetrics metrics = button.fontMetrics();
    button.setMaximumWidth(metrics.horizontalAdvance(button.text()) + 2 * metrics.averageCharWidth() + 8);
}

} // namespace

RowsPane::RowsPane(FlexGrid &itsGrid)
    : grid(itsGrid)
    , rowsWhere(
          line("rowsWhere", QStringLiteral("条件"), QStringLiteral("例: price > 100 and name like 'a%'")))
    , rowsOrder(line("rowsOrder", QStringLiteral("順序"), QStringLiteral("例: name desc")))
    , rowsStatement(made<QLineEdit>("rowsStatement"))
    , rowsState(made<StateLabel>("rowsState"))
    , previousRows(button("previousRows", QStringLiteral("前へ"),
                          QStringLiteral("前の頁の行を読みます (Ctrl+PageUp)")))
    , nextRows(
          button("nextRows", QStringLiteral("次へ"), QStringLiteral("次の頁の行を読みます (Ctrl+PageDown)")))
    , showRowStatements(
          button("showRowStatements", QStringLiteral("文を表示"), QStringLiteral("保存で送る文を見ます")))
    , cancelRows(button("cancelRows", QStringLiteral("取消"),
                        QStringLiteral("保存していない変更を捨てます (Escを2回)")))
    , saveRows(button("saveRows", QStringLiteral("保存"),
                      QStringLiteral("変更した行を一つのトランザクションで保存します (Ctrl+S)")))
    , undoSavedRows(button("undoSavedRows", QStringLiteral("元に戻す"),
                           QStringLiteral("前に保存した行の変更を取り消します")))
{
    rowsStatement->setReadOnly(true);
    rowsStatement->setAccessibleName(QStringLiteral("行を読んだ文"));
    rowsStatement->setFrame(false);
    rowsStatement->setMaximumHeight(fontMetrics().height() + 2);
    auto *conditions = new QHBoxLayout;
    for (const auto &[caption, box] :
         {std::pair(QStringLiteral("WHERE"), rowsWhere), std::pair(QStringLiteral("ORDER BY"), rowsOrder)}) {
        conditions->addWidget(new QLabel(caption));
        conditions->addWidget(box, box == rowsWhere ? 2 : 1);
    }
    auto *bar = new QHBoxLayout;
    bar->setSpacing(4);
    bar->addWidget(rowsState, 1);
    for (QPushButton *each : {previousRows, nextRows, showRowStatements, cancelRows, saveRows, undoSavedRows})
        bar->addWidget(each);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->setSpacing(3);
    layout->addLayout(conditions);
    layout->addWidget(rowsStatement);
    layout->addWidget(&grid, 1);
    layout->addLayout(bar);
    grid.setMinimumHeight(44); // the header and a row
    grid.installEventFilter(this);
}

// The main window does not show its pane at first: texts are measured once it does.
bool RowsPane::event(QEvent *event)
{
    if (event->type() == QEvent::Polish)
        for (QPushButton *each :
             {previousRows, nextRows, showRowStatements, cancelRows, saveRows, undoSavedRows})
            fitToText(*each);
    return QWidget::event(event);
}

// Whoever shows or hides the grid knows nothing of what stands around it.
bool RowsPane::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ShowToParent || event->type() == QEvent::HideToParent)
        setVisible(!grid.isHidden());
    return QWidget::eventFilter(watched, event);
}
