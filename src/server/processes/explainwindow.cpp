#include "server/processes/explainwindow.h"

#include "controls/grid/flexgrid.h"
#include "controls/window/building.h"
#include "server/processes/processreading.h"

#include <QDialog>
#include <QVBoxLayout>

ExplainedProcess explainProcess(Connection &connection, const QString &id)
{
    ExplainedProcess explained;
    const QString statement = explainStatement(connection.server(), id);
    if (statement.isEmpty()) {
        explained.words = QStringLiteral("このサーバーは、実行中の文の実行計画を教えません。");
        return explained;
    }
    try {
        RecordSet rows = connection.execute(statement);
        explained.fields = rows.fields();
        for (; !rows.isEof(); rows.moveNextBlock())
            explained.rows.push_back(std::make_shared<RowBlock>(rows.takeBlock()));
    } catch (const Failure &failure) {
        if (failure.isConnectionLost() || failure.isInterrupted())
            throw;
        // Ended by now, or nothing with a plan: the server says which.
        explained.words = QStringLiteral("実行計画はありません: ") + failure.description();
    }
    return explained;
}

void showExplained(QWidget *parent, const QString &id, const ExplainedProcess &explained)
{
    auto *window = made<QDialog>("explainWindow", parent);
    window->setAttribute(Qt::WA_DeleteOnClose);
    window->setWindowTitle(QStringLiteral("セッション %1 の実行計画").arg(id));
    auto *grid = made<FlexGrid>("explainGrid");
    grid->setAccessibleName(QStringLiteral("実行計画"));
    grid->setFields(explained.fields);
    {
        const RedrawOff off(*grid);
        for (const std::shared_ptr<RowBlock> &block : explained.rows)
            grid->appendBlock(std::move(*block));
    }
    auto *layout = new QVBoxLayout(window);
    layout->addWidget(grid);
    window->resize(820, 260);
    window->show();
}
