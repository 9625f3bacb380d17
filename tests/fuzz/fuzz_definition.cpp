// Definition and row files of a backup, as a damaged medium may give them back.
#include "core/sql/failure.h"
#include "core/sql/lexer.h"
#include "core/sql/statements.h"
#include "fuzz.h"
#include "maintenance/backup/definitionfile.h"
#include "maintenance/backup/objectfile.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

namespace {

void write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        throw Failure(file.errorString()); // a name that the file system cannot hold
    file.write(bytes);
}

// Words count in any case of letters and blanks not at all, as the server reads them.
bool makes(const Definition &definition)
{
    const QString kind = definition.isView ? QStringLiteral("VIEW") : QStringLiteral("TABLE");
    QStringList head;
    for (const Token &token : sqlTokens(definition.statement)) {
        const QString piece = definition.statement.mid(token.start, token.length);
        if (piece == quotedName(definition.name) && !head.empty() && head.last() == kind)
            return head.first() == u"CREATE";
        if (token.kind != TokenKind::Blank)
            head << piece.toUpper();
    }
    return false;
}

void checkAccepted(const Definition &definition, const QByteArray &text)
{
    const QString &statement = definition.statement;
    require(QString::fromUtf8(text).contains(statement), "the statement is the file's text", {statement});
    require(makes(definition), "it makes what the file is named after", {definition.name, statement});
    require(definition.isView == definition.rowsPath.isEmpty(), "tables alone have rows", {statement});
}

} // namespace

std::vector<std::string_view> seeds()
{
    return {"t\x01"
            "CREATE TABLE `t` (\n  `a` int\n) ENGINE=InnoDB\x01"
            "1\n",
            "T\x01"
            "create\ttable\n`T`(`a` int)\x01",
            "v\x01"
            "CREATE ALGORITHM=UNDEFINED DEFINER=`u`@`%` SQL SECURITY DEFINER VIEW `v` AS select 1\x01",
            "a`b\x01"
            "CREATE TABLE `a``b` (\n  `x``y` int\n)\x01",
            "\xE5\xBA\x97\x01"
            "CREATE VIEW `\xE5\xBA\x97` AS select 1\x01",
            "../x\x01"
            "CREATE TABLE `../x` (\n)\x01\n",
            "t.\x01\xEF\xBB\xBF"
            "CREATE TABLE `t.` (\n  `a` int\n)\x01half",
            "t\x01"
            "CREATE TABLE `u` (\n)\x01",
            "(a+)+$\x01"
            "CREATE VIEW `(a+)+$` AS x\x01"};
}

void check(const QByteArray &bytes)
{
    static const QTemporaryDir medium;
    const QList<QByteArray> parts = bytes.split('\x01');
    const QString name = QString::fromUtf8(parts.value(0)).left(60);
    const QString folder = medium.filePath(QStringLiteral("backup"));
    QDir(folder).removeRecursively();
    QDir().mkpath(folder);
    write(objectFile(folder, name, QStringLiteral(".frm")), parts.value(1));
    write(objectFile(folder, name, QStringLiteral(".dat")), parts.value(2));
    const std::vector<Definition> definitions = readDefinitions({{name}, folder});
    require(definitions.size() == 1 && definitions.front().name == name, "one file, one definition", {name});
    checkAccepted(definitions.front(), parts.value(1));
    require(definitions.front().isView || parts.value(2).isEmpty() || parts.value(2).endsWith('\n'),
            "rows that break off are refused", {name});
}
