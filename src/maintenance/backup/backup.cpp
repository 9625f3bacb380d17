#include "maintenance/backup/backup.h"

#include "core/sql/names.h"
#include "core/sql/statements.h"
#include "maintenance/backup/ownbackup.h"
#include "maintenance/batch.h"

namespace {

void sendBackup(CommandContext &context, const QString &database, const QStringList &names,
                const QString &folder)
{
    QString list;
    for (const QString &name : names)
        requireOwnName(database, name);
    for (const QString &name : names)
        list += qualifiedName(database, name) + u',';
    const QString statement =
        QStringLiteral("backup table ") + cutAtLastComma(list) + QStringLiteral(" to ") + quotedText(folder);
    Connection &connection = context.session.connection();
    constexpr int syntaxError = 1064;
    try {
        connection.execute(statement);
    } catch (const Failure &error) {
        if (error.number() != syntaxError || knowsBackupStatements(connection.server()))
            throw;
        backUpByProgram(context, database, names, folder);
    }
}

} // namespace

Outcome backUpTables(CommandContext &context)
{
    const QString database = context.session.gDbName;
    QString folder;
    QStringList names;
    Batch batch;
    batch.phrase = QStringLiteral("ﾃｰﾌﾞﾙのﾊﾞｯｸｱｯﾌﾟを行います。");
    batch.prepare = [&] {
        folder = context.dialogue.chooseFolder(
            QStringLiteral("保存先のﾌｫﾙﾀﾞを選択して下さい。\r\n"
                           "データは上書きされません。事前に削除または、保存先を別けて下さい。"),
            QString());
        return !trimmedBlanks(folder).isEmpty();
    };
    batch.eachTable = [&](const QString &name) { names << name; };
    batch.finish = [&] { sendBackup(context, database, names, folder); };
    batch.closing = [&] { return QStringLiteral("「") + folder + QStringLiteral("」にﾊﾞｯｸｱｯﾌﾟしました。"); };
    return runBatch(context, batch);
}
