#include "maintenance/tablebatches.h"

#include "core/command/sessionvariables.h"
#include "core/sql/columnlist.h"
#include "core/sql/names.h"
#include "core/sql/statements.h"
#include "maintenance/batch.h"

#include <QDate>

namespace {

struct StatementBatch {
    QString phrase;
    QString (*statement)(Connection &connection, const QString &database, const QString &name);
    QString closing;
    bool movesRows = false;
};

QString checkStatement(Connection &, const QString &database, const QString &name)
{
    // The blank at the end belongs to the statement.
    return QStringLiteral("check table ") + qualifiedName(database, name) + u' ';
}

QString optimizeStatement(Connection &, const QString &database, const QString &name)
{
    return QStringLiteral("optimize table ") + qualifiedName(database, name);
}

QString repairStatement(Connection &, const QString &database, const QString &name)
{
    return QStringLiteral("repair table ") + qualifiedName(database, name);
}

QString copyStatement(Connection &connection, const QString &database, const QString &name)
{
    const QString stamp = QDate::currentDate().toString(QStringLiteral("_yy_MM_dd"));
    const QString copy = qualifiedName(database, QStringLiteral("back_") + name + stamp);
    return QStringLiteral("create table ") + copy + QStringLiteral(" select ") +
           selectedColumns(connection, database, name) + QStringLiteral(" from ") +
           qualifiedName(database, name);
}

// MySQL from 5.7 on refuses zero dates unless it is told otherwise, also those that a table has.
void takingRowsAsTheyAre(Session &session, const std::function<void()> &action)
{
    SessionVariables variables;
    const QString name = QStringLiteral("sql_mode");
    variables.read(session.connection(), {name});
    const QString mode = modeForRows(variables.before(name));
    std::vector<SessionVariable> wanted{{name, quotedText(mode)}};
    if (session.role.cluster.isGroup())
        wanted.push_back({QStringLiteral("sql_generate_invisible_primary_key"), QStringLiteral("1")});
    withVariables(session, {}, wanted, action, std::move(variables));
}

Outcome run(CommandContext &context, const StatementBatch &row)
{
    const QString database = context.session.gDbName;
    Batch batch;
    batch.phrase = row.phrase;
    batch.eachTable = [&](const QString &name) {
        context.dialogue.setTarget(name);
        requireOwnName(database, name);
        Connection &connection = context.session.connection();
        connection.execute(row.statement(connection, database, name));
    };
    batch.closing = [&] { return row.closing; };
    if (row.movesRows)
        batch.around = [&](const std::function<void()> &walk) { takingRowsAsTheyAre(context.session, walk); };
    return runBatch(context, batch);
}

} // namespace

Outcome checkTables(CommandContext &context)
{
    return run(context, {QStringLiteral("ﾃｰﾌﾞﾙの検査を行います。"), checkStatement,
                         QStringLiteral("問題はありませんでした。")});
}

Outcome optimizeTables(CommandContext &context)
{
    return run(context, {QStringLiteral("ﾃｰﾌﾞﾙの最適化を行います。"), optimizeStatement,
                         QStringLiteral("最適化しました。")});
}

Outcome repairTables(CommandContext &context)
{
    return run(context, {QStringLiteral("ﾃｰﾌﾞﾙの修復を行います。"), repairStatement,
                         QStringLiteral("修復しました。")});
}

Outcome copyTables(CommandContext &context)
{
    return run(context, {QStringLiteral("ﾃｰﾌﾞﾙのﾃﾞｰﾀｺﾋﾟｰを行います。"), copyStatement,
                         QStringLiteral("ﾃｰﾌﾞﾙをｺﾋﾟｰしました。"), true});
}
