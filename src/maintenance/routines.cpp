#include "maintenance/routines.h"

#include "core/sql/names.h"
#include "core/statements.h"
#include "maintenance/replacement.h"

namespace {

QString keywordOf(const QString &kind)
{
    return kind == u"[PROC]" ? QStringLiteral("PROCEDURE") : QStringLiteral("FUNCTION");
}

QString dropRoutineStatement(const ListItem &routine, const QString &database)
{
    return QStringLiteral("DROP ") + keywordOf(routine.tag) + u' ' + qualifiedName(database, routine.name);
}

// The routine's definition in the server's own words; empty when the account may not read it.
QString readServerText(Connection &connection, const QString &showStatement)
{
    constexpr int definition = 2;
    RecordSet rows = connection.execute(showStatement);
    if (!rows.isOpen() || rows.isEof() || rows.fieldCount() <= definition || rows.isNull(definition))
        return {};
    return rows.text(definition);
}

void applyText(CommandContext &context, const ListItem &routine, Replacement &change)
{
    const Selection &selection = context.selection;
    Session &session = context.session;
    requireOwnName(change.database, routine.name);
    const QString newStatement =
        withLf(createRoutineStatement(routine.tag, change.database, selection.txtProc));
    change.name = QStringLiteral("ﾙｰﾁﾝ ") + qualifiedName(change.database, routine.name);
    change.showStatement = routineShowStatement(routine.tag, change.database, routine.name);
    change.oldStatement =
        withLf(createRoutineStatement(routine.tag, change.database, selection.lblCreateProc));
    change.serverText = readServerText(session.connection(), change.showStatement);
    // The text that was shown has lost its backticks; only the server's surely brings the routine back.
    if (change.serverText.isEmpty())
        throw SqlError(QStringLiteral("定義を読む権限がなく、失敗すると元に戻せないため、変更しません。"));
    if (shownRoutineText(change.serverText) != selection.lblCreateProc)
        throw SqlError(QStringLiteral("定義は表示した後に変更されています。一覧から選択し直して下さい。"));
    session.connection().execute(dropRoutineStatement(routine, change.database));
    change.isDropped = true;
    session.connection().execute(newStatement);
}

Outcome failChange(CommandContext &context, const Replacement &change, const SqlError &error)
{
    Dialogue &dialogue = context.dialogue;
    dialogue.setLastError(error.description(), false);
    const RecoveryReport report =
        recoverReplacement(context.session, change, doubtAfter(context.session, error));
    dialogue.refuse(QStringLiteral("変更に失敗しました。"));
    tellReport(dialogue, error.description(), report, false);
    return {};
}

} // namespace

QString routineShowStatement(const QString &kind, const QString &database, const QString &name)
{
    return (kind == u"[PROC]" ? QStringLiteral("show create procedure ")
                              : QStringLiteral("show create function ")) +
           qualifiedName(database, name) + u';';
}

QString shownRoutineText(const QString &serverText)
{
    return withoutBackticks(withCrLf(serverText));
}

QString createRoutineStatement(const QString &kind, const QString &database, const QString &text)
{
    const QString keyword = keywordOf(kind);
    const QString trimmed = trimmedBlanks(text);
    // Without the keyword the text is cut at a senseless place; the server then refuses it.
    const qsizetype tail = trimmed.indexOf(keyword, 0, Qt::CaseInsensitive) + keyword.size();
    return QStringLiteral("CREATE ") + keyword + u' ' +
           qualifiedName(database, trimmedBlanks(trimmed.mid(tail)));
}

Outcome changeRoutine(CommandContext &context)
{
    const Selection &selection = context.selection;
    if (trimmedBlanks(selection.txtProc).isEmpty())
        return {};
    Replacement change;
    change.database = selection.database;
    try {
        const ListItem routine = ListItem::required(selection.routine);
        if (!context.dialogue.confirm(selection.routine + QStringLiteral("を変更します。"), Icon::Critical))
            return {};
        applyText(context, routine, change);
    } catch (const SqlError &error) {
        return failChange(context, change, error);
    }
    context.dialogue.inform(QStringLiteral("変更しました。"));
    return {Reload::Objects};
}

Outcome dropRoutine(CommandContext &context)
{
    const ListItem routine = ListItem::required(context.selection.routine);
    if (!context.dialogue.confirm(context.selection.routine + QStringLiteral("を削除します。"),
                                  Icon::Critical))
        return {};
    requireOwnName(context.selection.database, routine.name);
    context.session.connection().execute(dropRoutineStatement(routine, context.selection.database));
    context.dialogue.inform(QStringLiteral("削除しました。"));
    return {Reload::Objects};
}
