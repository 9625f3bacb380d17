#include "maintenance/backup/restore.h"

#include "core/command/doubt.h"
#include "core/command/tablekind.h"
#include "core/sql/names.h"
#include "core/sql/statements.h"
#include "maintenance/backup/ownbackup.h"
#include "maintenance/backup/tablerestore.h"
#include "maintenance/batch.h"

#include <algorithm>

namespace {

void dropTables(CommandContext &context, const QString &database, const QStringList &names)
{
    int current = 0;
    for (const QString &name : names) {
        context.dialogue.progress(static_cast<int>(names.size()), ++current);
        try {
            context.session.connection().execute(QStringLiteral("drop table ") +
                                                 qualifiedName(database, name));
        } catch (const Failure &error) {
            if (doubtAfter(context.session, error) != Doubt::None)
                throw;
            // A table that is not there is nothing to drop; whatever else is wrong, the restore itself
            // reports.
        }
    }
}

// By the server's own statement; only a server that knows it may be sent the drops.
void restoreByServer(CommandContext &context, const QString &database, const RestoreChoice &choice)
{
    QString list;
    for (const QString &name : choice.names)
        requireOwnName(database, name);
    for (const QString &name : choice.names)
        list += qualifiedName(database, name) + u',';
    dropTables(context, database, choice.names);
    const BusyPointer busy(context.dialogue);
    context.session.connection().execute(QStringLiteral("restore table ") + cutAtLastComma(list) +
                                         QStringLiteral(" from ") + quotedText(choice.folder));
}

// A MERGE table is refused as long as a part of it is missing; and a view may read it.
int rank(const Definition &definition)
{
    return definition.isView ? 2 : isMerge(engineIn(definition.statement)) ? 1 : 0;
}

// One that fails leaves the others their turn; a stop or a lost connection does not.
void restoreByProgram(CommandContext &context, const QString &database, std::vector<Definition> definitions)
{
    const BusyPointer busy(context.dialogue);
    std::ranges::stable_sort(definitions, {}, rank);
    const int total = static_cast<int>(definitions.size());
    QStringList failures, done, left;
    for (const Definition &definition : definitions)
        left << definition.name;
    int current = 0;
    for (const Definition &definition : definitions) {
        context.dialogue.progress(total, ++current);
        try {
            restoreTable(context.session, database, definition);
            done << definition.name;
        } catch (const Failure &error) {
            failures << error.description();
            if (doubtAfter(context.session, error) != Doubt::None)
                break;
        }
        left.removeFirst();
    }
    if (failures.isEmpty())
        return;
    if (!done.isEmpty())
        failures << QStringLiteral("復元済み: ") + done.join(QStringLiteral(", "));
    if (!left.isEmpty())
        failures << QStringLiteral("復元していないもの: ") + left.join(QStringLiteral(", "));
    throw Failure(failures.join(QStringLiteral("\r\n")));
}

void restoreChosen(CommandContext &context)
{
    Dialogue &dialogue = context.dialogue;
    if (context.selection.lblPreTable.isEmpty()) {
        dialogue.refuse(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽが選択されていません。"));
        return;
    }
    const RestoreChoice choice = dialogue.chooseBackups();
    if (choice.names.value(0).isEmpty() || choice.folder.isEmpty())
        return;
    const QString database = context.session.gDbName;
    const bool serverRestores = knowsBackupStatements(context.session.connection().server());
    std::vector<Definition> definitions;
    if (!serverRestores)
        definitions = readDefinitions(choice);

    dialogue.progress(static_cast<int>(choice.names.size()), 0);
    if (!dialogue.confirm(QStringLiteral("復元前に、既存のテーブルは削除する必要があります。\r\n\r\n"
                                         "削除を行い、復元しますか？"),
                          Icon::Critical))
        return;
    if (serverRestores)
        restoreByServer(context, database, choice);
    else
        restoreByProgram(context, database, definitions);
    dialogue.progressBar(1);
    dialogue.inform(QStringLiteral("「") + choice.folder + QStringLiteral("」から復元しました。"));
}

} // namespace

Outcome restoreTables(CommandContext &context)
{
    try {
        restoreChosen(context);
    } catch (const Failure &error) {
        reportFailure(context.dialogue, error);
    }
    return {};
}
