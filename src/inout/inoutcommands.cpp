#include "inout/inoutcommands.h"

#include "core/statements.h"

#include <QFileInfo>

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

bool run(Session &session, const InOutVoices &voices, const InOutForm &form, const QString &statement)
{
    try {
        const BusyPointer busy(voices.dialog);
        voices.mainWindow.setLastError({}, false);
        requireOwnDatabase(session.gDbName);
        requireOwnName(session.gDbName, form.tableName);
        session.connection().execute(statement);
        return true;
    } catch (const SqlError &error) {
        voices.mainWindow.setLastError(error.description(), false);
        return false;
    }
}

} // namespace

QString exportStatement(const QString &database, const QString &table, const QString &path)
{
    return QStringLiteral("select * from ") + qualifiedName(trimmedBlanks(database), trimmedBlanks(table)) +
           QStringLiteral(" into outfile '") + doubledBackslashes(path) + u'\'';
}

QString importStatement(const QString &database, const QString &table, const QString &path,
                        bool replacesDuplicates)
{
    const QString mode = replacesDuplicates ? QStringLiteral(" REPLACE ") : QStringLiteral(" IGNORE ");
    return QStringLiteral("load data infile '") + doubledBackslashes(path) + u'\'' + mode +
           QStringLiteral(" into table ") + qualifiedName(trimmedBlanks(database), trimmedBlanks(table));
}

bool exportTable(Session &session, const InOutVoices &voices, const InOutForm &form)
{
    if (!isComplete(session, voices.dialog, form))
        return false;
    if (fileExists(form.fileName)) {
        voices.dialog.inform(QStringLiteral("ﾌｧｲﾙが存在します。ﾌｧｲﾙ名を変更してください。"));
        return false;
    }
    if (!run(session, voices, form, exportStatement(session.gDbName, form.tableName, form.fileName)))
        return false;
    voices.dialog.inform(QStringLiteral("出力しました。"));
    return true;
}

bool importTable(Session &session, const InOutVoices &voices, const InOutForm &form)
{
    if (!isComplete(session, voices.dialog, form))
        return false;
    if (!fileExists(form.fileName)) {
        voices.dialog.inform(QStringLiteral("ﾌｧｲﾙが見つかりません。"));
        return false;
    }
    if (!run(session, voices, form,
             importStatement(session.gDbName, form.tableName, form.fileName, form.replacesDuplicates)))
        return false;
    voices.dialog.inform(QStringLiteral("読み込みました。"));
    return true;
}
