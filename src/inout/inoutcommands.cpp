#include "inout/inoutcommands.h"

#include "core/sql/columnlist.h"
#include "core/sql/names.h"
#include "core/sql/statements.h"

#include <QFileInfo>

#include <functional>
#include <optional>

namespace {

bool isComplete(const Session &session, Dialogue &dialog, const InOutForm &form)
{
    if (trimmedBlanks(session.gDbName).isEmpty())
        dialog.inform(QStringLiteral("ﾃﾞｰﾀﾍﾞｰｽを選択してください。"));
    else if (trimmedBlanks(form.tableName).isEmpty())
        dialog.inform(QStringLiteral("ﾃｰﾌﾞﾙを選択してください。"));
    else if (trimmedBlanks(form.fileName).isEmpty())
        dialog.inform(QStringLiteral("ﾌｧｲﾙを選択してください。"));
    else
        return true;
    return false;
}

// The program looks on its own machine, the server opens the path on its own; that they may differ is known.
bool fileExists(const QString &path)
{
    return QFileInfo(path).isFile();
}

// The server takes a file to be in the character set of the default database, whatever that of the columns
// is in which an export writes. Both, where that makes other letters of it.
struct Misreading {
    QString asSet, ofColumns;
};

std::optional<Misreading> misreading(Connection &connection, const QString &database, const QString &table)
{
    RecordSet sets = connection.execute(
        QStringLiteral("select distinct @@character_set_database, character_set_name from "
                       "information_schema.columns where character_set_name <> 'ascii' and table_schema = ") +
        quotedText(trimmedBlanks(database)) + QStringLiteral(" and table_name = ") +
        quotedText(trimmedBlanks(table)));
    const auto family = [](const QString &set) {
        return set.startsWith(u"utf8") ? QStringLiteral("utf8") : set;
    };
    for (; sets.isOpen() && !sets.isEof(); sets.moveNext())
        if (sets.text(0) != u"binary" && family(sets.text(0)) != family(sets.text(1)))
            return Misreading{sets.text(0), sets.text(1)};
    return {};
}

bool agreesToRead(Session &session, Dialogue &dialog, const QString &table)
{
    const auto found = misreading(session.connection(), session.gDbName, table);
    return !found || dialog.askCarefully(
                         QStringLiteral("ﾌｧｲﾙは文字ｾｯﾄ %1 として読み込まれますが、列の文字ｾｯﾄは %2 です。"
                                        "文字化けすることがあります。読み込みますか？")
                             .arg(found->asSet, found->ofColumns));
}

bool run(InOutContext &context, bool readsFile,
         const std::function<QString(const QString &database, const QString &table)> &statement)
{
    Session &session = context.session;
    const QString &table = context.form.tableName;
    try {
        context.mainWindow.setLastError({}, false);
        requireOwnTrimmedDatabase(session.gDbName);
        requireOwnName(session.gDbName, table);
        if (readsFile && !agreesToRead(session, context.dialogue, table))
            return false;
        const BusyPointer busy(context.dialogue);
        session.connection().execute(statement(trimmedBlanks(session.gDbName), trimmedBlanks(table)));
        return true;
    } catch (const Failure &error) {
        context.mainWindow.setLastError(error.description(), false);
        context.failure = error.description();
        return false;
    }
}

} // namespace

QString exportStatement(const QString &database, const QString &table, const QString &path,
                        const QString &columns)
{
    return QStringLiteral("select ") + columns + QStringLiteral(" from ") +
           qualifiedName(trimmedBlanks(database), trimmedBlanks(table)) + QStringLiteral(" into outfile ") +
           quotedText(path);
}

QString importStatement(const QString &database, const QString &table, const QString &path,
                        bool replacesDuplicates, const QString &columns)
{
    const QString mode = replacesDuplicates ? QStringLiteral(" REPLACE ") : QStringLiteral(" IGNORE ");
    return QStringLiteral("load data infile ") + quotedText(path) + mode + QStringLiteral(" into table ") +
           qualifiedName(trimmedBlanks(database), trimmedBlanks(table)) + columns;
}

InOutOutcome exportTable(InOutContext &context)
{
    const InOutForm &form = context.form;
    if (!isComplete(context.session, context.dialogue, form))
        return {};
    if (fileExists(form.fileName)) {
        context.dialogue.inform(QStringLiteral("ﾌｧｲﾙが存在します。ﾌｧｲﾙ名を変更してください。"));
        return {};
    }
    const auto statement = [&](const QString &database, const QString &table) {
        return exportStatement(database, table, form.fileName,
                               selectedColumns(context.session.connection(), database, table));
    };
    if (!run(context, false, statement))
        return {};
    context.dialogue.inform(QStringLiteral("出力しました。"));
    return {true};
}

InOutOutcome importTable(InOutContext &context)
{
    const InOutForm &form = context.form;
    if (!isComplete(context.session, context.dialogue, form))
        return {};
    if (!fileExists(form.fileName)) {
        context.dialogue.inform(QStringLiteral("ﾌｧｲﾙが見つかりません。"));
        return {};
    }
    const auto statement = [&](const QString &database, const QString &table) {
        return importStatement(database, table, form.fileName, form.replacesDuplicates,
                               loadedColumns(context.session.connection(), database, table));
    };
    if (!run(context, true, statement))
        return {};
    context.dialogue.inform(QStringLiteral("読み込みました。"));
    return {true};
}

std::span<const InOutCommand> inOutCommands()
{
    static constexpr InOutCommand commands[] = {{"cmdOut", exportTable, false}, {"cmdIn", importTable}};
    return commands;
}
