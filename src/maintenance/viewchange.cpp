#include "maintenance/viewchange.h"

#include "core/statements.h"
#include "maintenance/replacement.h"

namespace {

void replaceView(CommandContext &context, const QString &view, Replacement &change)
{
    context.dialogue.progress(3, 0);
    context.dialogue.progress(3, 1);
    // The server leaves the default database's name out of what it shows: where the console has chosen
    // another one since, the texts would make the view there.
    if (shownCreateText(QStringLiteral("View"), change.serverText) != change.oldStatement)
        context.session.connection().execute(useStatement(change.database));
    context.session.connection().execute(QStringLiteral("drop view ") + view);
    change.isDropped = true;
    context.dialogue.progress(3, 2);
    context.session.connection().execute(context.selection.txtField);
    context.dialogue.progress(3, 3);
}

} // namespace

Outcome endFailedChange(CommandContext &context, const SqlError &error,
                        const std::function<RecoveryReport(Doubt)> &recover)
{
    context.dialogue.setLastError(error.description(), true);
    context.session.gRs.close();
    // No table is missing while a box waits.
    const RecoveryReport report = recover(doubtAfter(context.session, error));
    context.dialogue.refuse(QStringLiteral("ﾃｰﾌﾞﾙの変更に失敗しました。"));
    tellReport(context.dialogue, error.description(), report, true);
    context.dialogue.progressBar(0);
    return {};
}

Outcome endChange(CommandContext &context, const RecoveryReport &afterwards)
{
    context.dialogue.progressBar(1);
    context.session.gRs.close();
    context.dialogue.inform(QStringLiteral("変更しました。"));
    tellReport(context.dialogue, {}, afterwards, true);
    return {Reload::Objects};
}

Outcome changeView(CommandContext &context, const QString &showStatement, const QString &serverText)
{
    const QString &database = context.session.gDbName;
    const QString view = qualifiedName(database, context.selection.lblTableName);
    Replacement change{database, QStringLiteral("VIEW ") + view, showStatement,
                       context.selection.lblCreateTable, serverText};
    try {
        replaceView(context, view, change);
    } catch (const SqlError &error) {
        return endFailedChange(
            context, error, [&](Doubt doubt) { return recoverReplacement(context.session, change, doubt); });
    }
    return endChange(context);
}
