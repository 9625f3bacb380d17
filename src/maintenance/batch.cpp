#include "maintenance/batch.h"

#include "core/sql/listitem.h"

namespace {

// The label is read as a number, as far as there is one: any text that is worth 0 means all tables.
bool coversAllTables(const Selection &selection)
{
    return selection.lblPreTable.toDouble() == 0;
}

void walkTables(CommandContext &context, const Batch &batch)
{
    const Selection &selection = context.selection;
    const int total = static_cast<int>(selection.tables.size());
    const bool coversAll = coversAllTables(selection);
    const QStringList items = coversAll ? selection.tables : QStringList{selection.table};

    context.dialogue.progress(total, 0);
    for (int i = 0; i < items.size(); ++i) {
        context.session.requireGoingOn();
        const ListItem item = coversAll ? ListItem::parse(items[i]) : ListItem::required(items[i]);
        if (!item.isError())
            batch.eachTable(item.name);
        context.dialogue.progress(total, i);
    }
    context.session.requireGoingOn();
    batch.finish();
}

} // namespace

Outcome runBatch(CommandContext &context, const Batch &batch)
{
    const Selection &selection = context.selection;
    Dialogue &dialogue = context.dialogue;
    const QString target = dialogue.target();
    try {
        if (selection.lblPreTable.isEmpty()) {
            dialogue.refuse(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽが選択されていません。"));
            return {};
        }
        if (selection.tables.isEmpty()) {
            dialogue.refuse(QStringLiteral("ﾃｰﾌﾞﾙがありません。"));
            return {};
        }
        const QString subject =
            coversAllTables(selection) ? QStringLiteral("全") : visibleItem(selection.table);
        if (!dialogue.confirm(subject + batch.phrase, Icon::Information) || !batch.prepare())
            return {};
        {
            const BusyPointer busy(dialogue);
            batch.around([&] { walkTables(context, batch); });
        }
        dialogue.setTarget(target);
        dialogue.progressBar(1);
        dialogue.inform(batch.closing());
    } catch (const Failure &error) {
        dialogue.setTarget(QString());
        dialogue.setLastError(error.description(), true);
        dialogue.refuse(error.description());
        dialogue.refresh();
        dialogue.progressBar(0);
    }
    return {};
}

void reportFailure(Dialogue &dialogue, const Failure &error)
{
    dialogue.setLastError(error.description(), true);
    dialogue.refuse(error.description());
    dialogue.progressBar(0);
}
