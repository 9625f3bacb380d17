#include "maintenance/routines.h"

#include "core/statements.h"
#include "maintenance/recovery.h"

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
QString readServerText(Session &session, const QString &showStatement)
{
    constexpr int definition = 2;
    RecordSet rows = session.connection().execute(showStatement);
    if (!rows.isOpen() || rows.isEof() || rows.fieldCount() <= definition || rows.isNull(definition))
        return {};
    return rows.text(definition);
}

struct RoutineChange {
    ListItem routine;
    QString database, oldStatement;
    QString serverText;
    bool isDropped = false;

    QString showStatement() const { return routineShowStatement(routine.tag, database, routine.name); }
};

void applyText(CommandContext &context, RoutineChange &change)
{
    Session &session = context.session;
    requireOwnName(change.database, change.routine.name);
    const QString newStatement =
        withLf(createRoutineStatement(change.routine.tag, change.database, context.selection.txtProc));
    change.oldStatement =
        withLf(createRoutineStatement(change.routine.tag, change.database, context.selection.lblCreateProc));
    // The text that was shown has lost its backticks; only this one surely brings the routine back.
    change.serverText = readServerText(session, change.showStatement());
    if (change.serverText.isEmpty())
        throw SqlError(QStringLiteral("定義を読む権限がなく、失敗すると元に戻せないため、変更しません。"));
    session.connection().execute(dropRoutineStatement(change.routine, change.database));
    change.isDropped = true;
    session.connection().execute(newStatement);
}

void makeOldRoutine(Session &session, const RoutineChange &change)
{
    try {
        session.connection().execute(change.oldStatement);
    } catch (const SqlError &error) {
        if (change.serverText.isEmpty() || isAnswerLost(session, error))
            throw;
        // Its name is not qualified.
        session.connection().execute(QStringLiteral("use `") + change.database + u'`');
        session.connection().execute(change.serverText);
    }
}

// Throws SqlError when the old routine could not be made again.
void recoverRoutine(Session &session, const RoutineChange &change, bool answerLost)
{
    if (answerLost || change.isDropped)
        remake(session, answerLost, change.showStatement(), [&] { makeOldRoutine(session, change); });
}

Outcome failChange(CommandContext &context, const RoutineChange &change, const SqlError &error)
{
    Dialogue &dialogue = context.dialogue;
    QString message;
    dialogue.setLastError(error.description(), false);
    try {
        recoverRoutine(context.session, change, isAnswerLost(context.session, error));
    } catch (const SqlError &second) {
        message =
            second.description() + QStringLiteral("\n%1 を確認して下さい。元に戻せていない可能性があります。")
                                       .arg(qualifiedName(change.database, change.routine.name));
        dialogue.setLastError(error.description() + u'\n' + message + QStringLiteral("\n元の定義:\n") +
                                  (change.serverText.isEmpty() ? change.oldStatement : change.serverText),
                              false);
    }
    dialogue.refuse(QStringLiteral("変更に失敗しました。"));
    if (!message.isEmpty())
        dialogue.refuse(message);
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
    RoutineChange change;
    try {
        change.routine = ListItem::required(selection.routine);
        change.database = selection.database;
        if (!context.dialogue.confirm(selection.routine + QStringLiteral("を変更します。"), Icon::Critical))
            return {};
        applyText(context, change);
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
