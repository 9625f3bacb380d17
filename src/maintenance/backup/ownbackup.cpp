#include "maintenance/backup/ownbackup.h"

#include "core/command/tablekind.h"
#include "core/sql/statements.h"
#include "maintenance/backup/objectfile.h"
#include "maintenance/backup/rowfile.h"

#include <QFileInfo>

#include <vector>

namespace {

struct Original {
    QString name;
    QString definitionPath, rowsPath;
    bool isView = false;
};

void refuseExisting(const QString &path)
{
    const QFileInfo file(path);
    if (file.exists() || file.isSymLink())
        throw Failure(QStringLiteral("ファイル「%1」は既に存在します。上書きはしません。").arg(path));
}

// The server words an ENUM value that is none of the column's as '', and takes no such text back.
void refuseEnumErrors(Connection &connection, const QString &database, const QString &name)
{
    RecordSet rows = connection.execute(
        QStringLiteral("SELECT COLUMN_NAME FROM information_schema.COLUMNS WHERE TABLE_SCHEMA=%1 AND "
                       "TABLE_NAME=%2 AND DATA_TYPE='enum'")
            .arg(quotedText(database), quotedText(name)));
    QStringList tests;
    for (; !rows.isEof(); rows.moveNext())
        tests << quotedName(rows.text(0)) + QStringLiteral("+0=0");
    rows.close();
    if (tests.isEmpty())
        return;
    RecordSet found =
        connection.execute(QStringLiteral("SELECT 1 FROM %1 WHERE %2 LIMIT 1")
                               .arg(quotedName(database, name), tests.join(QStringLiteral(" OR "))));
    if (!found.isEof())
        throw Failure(QStringLiteral("テーブル「%1」のENUM列に、列の定義に無い値があります。"
                                     "元どおりに復元できないため、バックアップできません。")
                          .arg(name));
}

void writeRows(Connection &connection, const QString &database, const QString &name, const QString &path)
{
    const auto columns = storedColumns(connection, database, name);
    refuseExisting(path);
    try {
        connection.execute(writeRowsStatement(quotedName(database, name), columns, path));
    } catch (const Failure &error) {
        constexpr int fileExists = 1086;
        if (error.number() == fileExists || !QFileInfo::exists(path) || QFile::remove(path))
            throw;
        throw Failure(error.description() +
                          QStringLiteral("\r\n書きかけのファイル「%1」を削除できません。").arg(path),
                      error.number(), error.state());
    }
}

// What the run will write. Throws Failure for what is known to stop it, so that it leaves nothing behind.
std::vector<Original> planned(Connection &connection, const QString &database, const QStringList &names,
                              const QString &folder)
{
    std::vector<Original> originals;
    for (const QString &name : names) {
        Original original{name, objectFile(folder, name, QStringLiteral(".frm")),
                          objectFile(folder, name, QStringLiteral(".dat"))};
        refuseExisting(original.definitionPath);
        refuseExisting(original.rowsPath);
        const QString type = tableKind(connection, database, name).type;
        original.isView = type == u"VIEW";
        // A table with system versioning would lose its history, a sequence takes no rows.
        if (!original.isView && type != u"BASE TABLE" && !type.isEmpty())
            throw Failure(QStringLiteral("「%1」(%2)はバックアップできません。").arg(name, type));
        if (!original.isView)
            refuseEnumErrors(connection, database, name);
        originals.push_back(original);
    }
    return originals;
}

// The definition bears its name, by which the restore finds it, only once the rows are whole.
void backUp(Connection &connection, const QString &database, const Original &original)
{
    const QString partial = original.definitionPath + QStringLiteral(".partial");
    QFile::remove(partial); // of a run that did not live to end
    writeNewFile(partial, createText(connection, database, original.name).toUtf8());
    try {
        if (!original.isView)
            writeRows(connection, database, original.name, original.rowsPath);
    } catch (const Failure &) {
        QFile::remove(partial);
        throw;
    }
    QFile definition(partial);
    if (!definition.rename(original.definitionPath))
        throw Failure(QStringLiteral("ファイル「%1」を作成できません。\r\n%2")
                          .arg(original.definitionPath, definition.errorString()));
}

} // namespace

bool knowsBackupStatements(const ServerInfo &server)
{
    constexpr int firstWithout = 50500;
    return server.number > 0 && server.number < firstWithout;
}

void backUpByProgram(CommandContext &context, const QString &database, const QStringList &names,
                     const QString &folder)
{
    Session &session = context.session;
    const int total = static_cast<int>(names.size());
    int current = 0;
    context.dialogue.progress(total, current);
    const std::vector<SessionVariable> exact = exactVariables(session.connection().server());
    std::vector<Original> originals;
    withVariables(session, database, exact,
                  [&] { originals = planned(session.connection(), database, names, folder); });
    for (const Original &original : originals) {
        // Fetched for each table: window events between two may have closed the connection.
        withVariables(session, database, exact, [&] { backUp(session.connection(), database, original); });
        context.dialogue.progress(total, ++current);
    }
}
