#include "transfer/dump/dumptext.h"

#include "core/sql/statements.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

const QString dumpMode =
    QStringLiteral("STRICT_ALL_TABLES,NO_AUTO_VALUE_ON_ZERO,ALLOW_INVALID_DATES,NO_ENGINE_SUBSTITUTION");

// In a comment that ends with its line.
QString oneLine(QString text)
{
    return text.replace(u'\r', u' ').replace(u'\n', u' ');
}

// MariaDB and MySQL up to 5.7 know a mode that has no meaning outside of GRANT, and that MySQL 8 refuses.
// MariaDB passes over comments of MySQL's versions from 5.7 on.
QString setMode(const QString &mode)
{
    const QString without = changedMode(mode, {QStringLiteral("NO_AUTO_CREATE_USER")}, {});
    if (without == mode)
        return QStringLiteral("SET sql_mode=%1;\n").arg(quotedText(mode));
    return QStringLiteral("SET @TARNWELL_MODE=%1;\n/*!80000 SET @TARNWELL_MODE=%2 */;\n"
                          "SET sql_mode=@TARNWELL_MODE;\n")
        .arg(quotedText(mode), quotedText(without));
}

// The file is UTF-8. A text of other characters is read as that, though the object was made by a client of
// another character set: the characters are the same, only the note of that set is lost.
bool keepsCharacterSet(const ObjectDefinition &definition)
{
    return std::ranges::all_of(definition.text, [](QChar c) { return c.unicode() < 0x80; });
}

QString sessionOf(const ObjectDefinition &definition)
{
    QString text;
    if (!definition.sqlMode.isNull())
        text += setMode(definition.sqlMode);
    if (!definition.characterSet.isEmpty() && keepsCharacterSet(definition))
        text += QStringLiteral("SET character_set_client=%1;\n").arg(definition.characterSet);
    if (!definition.collation.isEmpty())
        text += QStringLiteral("SET collation_connection=%1;\n").arg(definition.collation);
    if (!definition.timeZone.isEmpty())
        text += QStringLiteral("SET time_zone=%1;\n").arg(quotedText(definition.timeZone));
    return text;
}

QString sessionAgain(const ObjectDefinition &definition)
{
    QString text;
    if (!definition.sqlMode.isNull())
        text += setMode(dumpMode);
    if (!definition.characterSet.isEmpty())
        text += QStringLiteral("SET NAMES utf8mb4;\n");
    if (!definition.timeZone.isEmpty())
        text += QStringLiteral("SET time_zone='+00:00';\n");
    return text;
}

// What the text itself does not hold.
QString delimiterFor(const QString &text)
{
    for (const QString &delimiter : {QStringLiteral(";;"), QStringLiteral("$$"), QStringLiteral("//")})
        if (!text.contains(delimiter))
            return delimiter;
    QString delimiter = QStringLiteral("~~");
    while (text.contains(delimiter))
        delimiter += u'~';
    return delimiter;
}

// MySQL from 5.7 on writes _utf8mb4 before every text of an expression. MariaDB 10.11 keeps such a text
// without its escapes, and all beyond ASCII as hex digits. Without that word it is the same here: the file is
// utf8mb4.
QString withoutIntroducers(const QString &createTable, SqlMode mode)
{
    const std::vector<Token> tokens = sqlTokens(createTable, mode);
    QString text;
    for (std::size_t at = 0; at < tokens.size(); ++at) {
        const QString written = createTable.mid(tokens[at].start, tokens[at].length);
        if (written != u"_utf8mb4" || at + 1 == tokens.size() || tokens[at + 1].kind != TokenKind::Text)
            text += written;
    }
    return text;
}

QString dropStatement(const DumpObject &object)
{
    return QStringLiteral("DROP %1 IF EXISTS %2;\n").arg(object.keyword, quotedName(object.name));
}

QString createScript(const DumpObject &object, const DumpOptions &options)
{
    const ObjectDefinition &definition = object.definition;
    const QString text = options.hasDefiners
                             ? definition.text
                             : withoutDefiner(definition.text, readingMode(definition.sqlMode));
    if (object.kind == DumpKind::Table)
        return withoutIntroducers(text, readingMode(definition.sqlMode)) + QStringLiteral(";\n");
    const bool hasBody = object.kind >= DumpKind::Routine && object.kind != DumpKind::View;
    if (!hasBody)
        return text + QStringLiteral(";\n");
    const QString delimiter = delimiterFor(text);
    // A body may end in a comment that goes to the end of its line.
    const bool endsInComment = [&] {
        const std::vector<Token> tokens = sqlTokens(text, readingMode(definition.sqlMode));
        return !tokens.empty() && tokens.back().kind == TokenKind::Comment;
    }();
    return QStringLiteral("DELIMITER %1\n").arg(delimiter) + text + QChar(endsInComment ? u'\n' : u' ') +
           delimiter + QStringLiteral("\nDELIMITER ;\n");
}

} // namespace

QString dumpHead(const ServerInfo &server, const DumpOptions &options, const QString &started,
                 const QString &createDatabase)
{
    QString text = QStringLiteral("-- Tarnwell %1\n-- Server: %2 %3\n-- Database: %4\n-- Started: %5\n\n")
                       .arg(QStringLiteral(TARNWELL_VERSION),
                            server.isMariaDb ? QStringLiteral("MariaDB") : QStringLiteral("MySQL"),
                            oneLine(server.version), oneLine(options.database), started);
    text += QStringLiteral("SET @OLD_CHARACTER_SET_CLIENT=@@CHARACTER_SET_CLIENT, "
                           "@OLD_CHARACTER_SET_RESULTS=@@CHARACTER_SET_RESULTS, "
                           "@OLD_COLLATION_CONNECTION=@@COLLATION_CONNECTION, @OLD_SQL_MODE=@@SQL_MODE, "
                           "@OLD_TIME_ZONE=@@TIME_ZONE, @OLD_FOREIGN_KEY_CHECKS=@@FOREIGN_KEY_CHECKS, "
                           "@OLD_UNIQUE_CHECKS=@@UNIQUE_CHECKS;\nSET NAMES utf8mb4;\n");
    // Strict, so that a value that does not fit fails instead of changing; zero and impossible dates that the
    // table once took are taken again.
    text += setMode(dumpMode);
    text += QStringLiteral("SET time_zone='+00:00', foreign_key_checks=0, unique_checks=0;\n"
                           "/*M!100201 SET @OLD_CHECK_CONSTRAINT_CHECKS=@@CHECK_CONSTRAINT_CHECKS, "
                           "check_constraint_checks=0 */;\n");
    if (options.createsDatabase) {
        QString create = createDatabase;
        create.replace(QRegularExpression(QStringLiteral("^CREATE DATABASE (?!/\\*!\\d+ IF NOT)")),
                       QStringLiteral("CREATE DATABASE IF NOT EXISTS "));
        text +=
            u'\n' + create + QStringLiteral(";\nUSE ") + quotedName(options.database) + QStringLiteral(";\n");
    }
    return text;
}

QString dumpTail(const QString &finished)
{
    return QStringLiteral("\n/*M!100201 SET check_constraint_checks=@OLD_CHECK_CONSTRAINT_CHECKS */;\n"
                          "SET sql_mode=@OLD_SQL_MODE, time_zone=@OLD_TIME_ZONE, "
                          "foreign_key_checks=@OLD_FOREIGN_KEY_CHECKS, unique_checks=@OLD_UNIQUE_CHECKS;\n"
                          "SET character_set_client=@OLD_CHARACTER_SET_CLIENT, "
                          "character_set_results=@OLD_CHARACTER_SET_RESULTS, "
                          "collation_connection=@OLD_COLLATION_CONNECTION;\n\n") +
           dumpTailMark() + u' ' + finished + u'\n';
}

QString dumpTailMark()
{
    return QStringLiteral("-- Dump completed");
}

QString objectScript(const DumpObject &object, const DumpOptions &options)
{
    QString text = QStringLiteral("\n-- %1 %2\n\n").arg(object.keyword, oneLine(object.name));
    text +=
        sessionOf(object.definition); // for the DROP, too: that of a package is one of the Oracle mode only
    if (options.drops && (options.dropsOnly.isEmpty() || options.dropsOnly.contains(nameOf(object))))
        text += dropStatement(object);
    return text + createScript(object, options) + sessionAgain(object.definition);
}

QString historyOn()
{
    return QStringLiteral("/*M!101100 SET system_versioning_insert_history=1 */;\n");
}

QString historyOff()
{
    return QStringLiteral("/*M!101100 SET system_versioning_insert_history=0 */;\n");
}

QString fileNameOf(const QString &name)
{
    QString file;
    for (const QChar c : name) {
        const bool isSafe = c.isLetterOrNumber() || c.isSurrogate() || c == u'_' || c == u'-' || c == u'$';
        file += isSafe ? QString(c) : QStringLiteral("@%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
    }
    return file;
}
