#include "maintenance/createdrop.h"

#include "core/command/doubt.h"
#include "core/command/writing.h"
#include "core/sql/listitem.h"
#include "core/sql/names.h"
#include "core/sql/statements.h"

#include <optional>

namespace {

QString dropStatement(bool isView, const QString &object)
{
    return (isView ? QStringLiteral("drop view ") : QStringLiteral("drop table ")) + object;
}

// The statement that drops the object; nothing when it is neither table nor view, or not what the user wants.
std::optional<QString> chosenDropStatement(CommandContext &context, const QString &object)
{
    QString kind;
    RecordSet &rows = context.session.gRs;
    try {
        rows = context.session.connection().execute(showCreateTable(object));
        if (!rows.isOpen() || rows.isEof())
            return QString(); // the server's refusal of an empty statement tells the user
        kind = trimmedBlanks(rows.fieldName(0));
        rows.close();
    } catch (const Failure &error) {
        // After a stop nothing is known of the object's kind.
        if (doubtAfter(context.session, error) != Doubt::None)
            throw;
        // A view whose tables are gone cannot be shown, but dropped.
        return dropStatement(context.dialogue.ask(QStringLiteral("削除対象はVIEWですか？")), object);
    }
    if (kind == u"Table" || kind == u"View")
        return dropStatement(kind == u"View", object);
    context.dialogue.refuse(QStringLiteral("テーブルまたはＶＩＥＷではありません。"));
    return std::nullopt;
}

} // namespace

Outcome dropDatabase(CommandContext &context)
{
    const QString &item = context.selection.database;
    if (trimmedBlanks(item).isEmpty()) {
        context.dialogue.refuse(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽを選択して下さい。"));
        return {};
    }
    // "削除しす" is deliberate: the message is known in this form.
    const QString question =
        QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽ(") + visibleName(item) + QStringLiteral(")を削除しす。");
    if (!context.dialogue.confirm(question, Icon::Critical))
        return {};
    requireOwnTrimmedDatabase(item);
    context.session.connection().execute(QStringLiteral("drop database `") + trimmedBlanks(item) +
                                         QStringLiteral("`;"));
    return {Reload::Databases};
}

Outcome dropTable(CommandContext &context)
{
    const QString &name = context.selection.lblTableName;
    if (!context.dialogue.confirm(visibleName(name) + QStringLiteral("ﾃｰﾌﾞﾙを削除します。"), Icon::Critical))
        return {};
    try {
        requireOwnName(context.session.gDbName, name);
        const auto statement = chosenDropStatement(context, qualifiedName(context.session.gDbName, name));
        if (!statement)
            return {};
        context.session.connection().execute(*statement);
    } catch (const Failure &error) {
        context.dialogue.setLastError(error.description(), true);
        context.dialogue.refuse(QStringLiteral("削除に失敗しました。"));
        return {};
    }
    context.dialogue.inform(QStringLiteral("削除しました。"));
    return {Reload::Objects};
}

bool createDatabase(CreateDatabaseContext &context)
{
    context.mainWindow.setLastError({}, true);
    if (!mayWrite(context.session, context.dialogue))
        return false;
    try {
        requireOwnDatabase(context.name);
        const BusyPointer busy(context.mainWindow);
        context.session.connection().execute(QStringLiteral("create database `") + context.name +
                                             QStringLiteral("`;"));
        return true;
    } catch (const Failure &error) {
        context.mainWindow.setLastError(error.description(), true);
        return false;
    }
}
