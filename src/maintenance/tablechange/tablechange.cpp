#include "maintenance/tablechange/tablechange.h"

#include "core/command/definition.h"
#include "core/command/showntext.h"
#include "core/sql/names.h"
#include "maintenance/tablechange/tablechangechecks.h"
#include "maintenance/tablechange/tablerebuild.h"
#include "maintenance/tablechange/viewchange.h"

namespace {

enum class ObjectKind { Table, View, Other };

ObjectKind kindOf(const ObjectDefinition &object)
{
    // Also when the server gives no row.
    if (object.kind.isEmpty() || object.kind == u"Table")
        return ObjectKind::Table;
    return object.kind == u"View" ? ObjectKind::View : ObjectKind::Other;
}

// Prescribed: the copy has no name yet, so that the statement is incomplete and cannot do anything.
UndoReport dropNothing(Session &session)
{
    const Undoing undoing(session);
    try {
        session.connection().execute(QStringLiteral("drop table "));
    } catch (const Failure &) {
    }
    return {};
}

Outcome rebuild(CommandContext &context, TableChange change)
{
    TableRebuild table(context, std::move(change));
    try {
        context.dialogue.progress(5, 0);
        if (const auto ending = table.prepare()) {
            table.close();
            return *ending;
        }
        if (!table.run()) {
            tellReport(context.dialogue, {}, table.undo(Failure(QString())), true);
            return {};
        }
    } catch (const Failure &error) {
        return endFailedChange(context, error, [&] { return table.undo(error); });
    }
    return endChange(context, table.close());
}

} // namespace

Outcome changeTable(CommandContext &context)
{
    const Selection &selection = context.selection;
    if (trimmedBlanks(selection.txtField).isEmpty()) {
        context.dialogue.inform(QStringLiteral("ﾃｰﾌﾞﾙを選択して下さい。"));
        return {};
    }
    if (!context.dialogue.confirm(selection.lblTableName + QStringLiteral("ﾃｰﾌﾞﾙを変更します。"),
                                  Icon::Critical))
        return {};

    const BusyPointer busy(context.dialogue);
    TableChange change;
    change.database = context.session.gDbName;
    change.oldName = selection.lblTableName;
    change.newName = fField_select(selection.txtField);
    change.editedText = selection.txtField;
    change.shownText = selection.lblCreateTable;
    try {
        requireOwnName(change.database, change.oldName);
        const QString showStatement = showCreateTable(change.oldTable());
        const ObjectDefinition object = readDefinition(context.session.connection(), showStatement);
        const ObjectKind kind = kindOf(object);
        if (kind == ObjectKind::View)
            return changeView(context, showStatement);
        change.isOursToMakeAgain = kind == ObjectKind::Table;
        change.serverText = object.text;
        change.isOwnText = change.shownText == withCrLf(object.text);
    } catch (const Failure &error) {
        return endFailedChange(context, error, [&] { return dropNothing(context.session); });
    }
    if (const QString refusal = refusalOfText(change); !refusal.isEmpty()) {
        context.dialogue.refuse(refusal);
        return {};
    }
    return rebuild(context, std::move(change));
}
