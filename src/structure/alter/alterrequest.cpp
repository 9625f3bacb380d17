#include "structure/alter/alterrequest.h"

#include "core/command/definition.h"
#include "core/command/doubt.h"
#include "core/command/sessionvariables.h"
#include "core/command/showntext.h"
#include "core/sql/answers.h"
#include "core/sql/statements.h"
#include "structure/alter/restoredtext.h"

namespace {

TableSize estimatedSize(Connection &connection, const QString &database, const QString &table)
{
    RecordSet rows = connection.execute(
        QStringLiteral("SELECT TABLE_ROWS, DATA_LENGTH + INDEX_LENGTH FROM information_schema.TABLES WHERE "
                       "TABLE_SCHEMA=%1 AND TABLE_NAME=%2")
            .arg(quotedText(database), quotedText(table)));
    if (!rows.isOpen() || rows.isEof() || rows.isNull(0))
        return {};
    return {rows.text(0).toLongLong(), rows.text(1).toLongLong()};
}

bool hasRows(Connection &connection, const QString &database, const QString &table)
{
    RecordSet rows =
        connection.execute(QStringLiteral("SELECT 1 FROM %1 LIMIT 1").arg(quotedName(database, table)));
    return rows.isOpen() && !rows.isEof();
}

// Counting would go through all rows.
TableSize sizeOf(Session &session, const QString &database, const QString &table)
{
    TableSize size;
    try {
        // MySQL 8 says for a day what it once said: 0 rows of a table that has been filled since.
        const ServerInfo server = session.connection().server();
        const auto estimate = [&] { size = estimatedSize(session.connection(), database, table); };
        if (!server.isMariaDb && server.number >= 80000)
            withVariables(session, {},
                          {{QStringLiteral("information_schema_stats_expiry"), QStringLiteral("0")}},
                          estimate);
        else
            estimate();
        // An estimate of nothing is no promise.
        if (size.rows == 0 && hasRows(session.connection(), database, table))
            size.rows = -1;
    } catch (const Failure &error) {
        if (doubtAfter(session, error) != Doubt::None)
            throw;
        return {}; // without the right to read the rows
    }
    return size;
}

} // namespace

std::optional<AlterRequest> readAlterRequest(CommandContext &context, Outcome &outcome)
{
    const Selection &selection = context.selection;
    Connection &connection = context.session.connection();
    AlterRequest request;
    request.table = {context.session.gDbName, selection.lblTableName, connection.server(), {}};
    const auto refuse = [&](const QString &why) {
        context.dialogue.refuse(why);
        return std::nullopt;
    };
    if (trimmedBlanks(selection.txtField).isEmpty() || request.table.name.isEmpty())
        return refuse(QStringLiteral("ﾃｰﾌﾞﾙを選択して下さい。"));
    request.sqlMode = changedMode(firstText(connection, QStringLiteral("select @@session.sql_mode")),
                                  {QStringLiteral("NO_BACKSLASH_ESCAPES")}, {});
    request.table.mode = readingMode(request.sqlMode);
    const ObjectDefinition is =
        readDefinition(connection, QStringLiteral("SHOW CREATE TABLE ") +
                                       quotedName(request.table.database, request.table.name));
    if (is.kind != u"Table")
        return refuse(QStringLiteral("VIEW などには ALTER 文を作れません。"));
    const QString shown = selection.lblCreateTable;
    if (!isAsShown(is.text, shown))
        return refuse(
            QStringLiteral("ﾃｰﾌﾞﾙの定義は表示した後に変更されています。一覧から選択し直して下さい。"));
    request.serverText = is.text;
    const RestoredText edited =
        restoredText(is.text, withCounterOf(is.text, shown, shown),
                     withCounterOf(is.text, selection.txtField, shown), request.table.mode);
    const QStringList lost = lostInShownText(connection, edited.serverLines, edited.shownLines,
                                             edited.editedLines, request.table.mode);
    if (const auto ending = askAboutLosses(context, lost, Reload::OwnTableText)) {
        outcome = *ending;
        return std::nullopt;
    }
    request.from = tableDefinition(is.text, request.table.mode);
    request.to = tableDefinition(edited.text, request.table.mode);
    request.size = sizeOf(context.session, request.table.database, request.table.name);
    return request;
}
