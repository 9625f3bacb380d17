#include "maintenance/restore.h"

#include "core/lostanswer.h"
#include "core/sql/names.h"
#include "core/statements.h"
#include "maintenance/batch.h"
#include "maintenance/ownbackup.h"
#include "maintenance/tablerestore.h"

namespace {

void dropTables(CommandContext &context, const QString &database, const QStringList &names)
{
    int current = 0;
    for (const QString &name : names) {
        context.dialogue.progress(static_cast<int>(names.size()), ++current);
        try {
            context.session.connection().execute(QStringLiteral("drop table ") +
                                                 qualifiedName(database, name));
        } catch (const SqlError &error) {
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

void restoreByProgram(CommandContext &context, const QString &database,
                      const std::vector<Definition> &definitions)
{
    const BusyPointer busy(context.dialogue);
    QStringList done;
    try {
        for (const Definition &definition : definitions) {
            context.dialogue.progress(static_cast<int>(definitions.size()),
                                      static_cast<int>(done.size()) + 1);
            context.session.requireGoingOn();
            TableRestore(context.session, database, definition).run();
            done << definition.name;
        }
    } catch (const SqlError &error) {
        if (done.isEmpty())
            throw;
        throw SqlError(error.description() + QStringLiteral("\r\n復元済み: ") +
                           done.join(QStringLiteral(", ")),
                       error.number(), error.state());
    }
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
    } catch (const SqlError &error) {
        reportFailure(context.dialogue, error);
    }
    return {};
}
