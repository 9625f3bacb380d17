#include "transfer/load/scriptmode.h"

#include <QRegularExpression>

namespace {

// Of a statement, without blanks and comments; what stands in version comments is part of it.
QString joinedWords(const QString &statement, SqlMode mode)
{
    QString words;
    for (const Token &token : sqlTokens(statement, mode))
        if (token.kind != TokenKind::Blank && token.kind != TokenKind::Comment &&
            token.kind != TokenKind::VersionStart && token.kind != TokenKind::VersionEnd)
            words += QStringView(statement).mid(token.start, token.length);
    return words;
}

bool isSqlMode(const QString &name)
{
    static const QRegularExpression form(QStringLiteral("^(?:@@)?(?:session\\.?|local\\.?)?sql_mode$"),
                                         QRegularExpression::CaseInsensitiveOption);
    return form.match(name).hasMatch();
}

} // namespace

bool ScriptMode::take(const QString &statement)
{
    constexpr qsizetype longest = 4000;
    if (statement.size() > longest)
        return false;
    const QString words = joinedWords(statement, mode());
    if (!words.startsWith(u"SET", Qt::CaseInsensitive))
        return false;
    static const QRegularExpression assignment(
        QStringLiteral("(?:^SET|,)(@?@?[\\w.]+):?=(@?@?[\\w.]+|'[^']*'|\"[^\"]*\")"), // as dumps write it
        QRegularExpression::CaseInsensitiveOption);
    const SqlMode before = mode();
    for (auto match = assignment.globalMatch(words); match.hasNext();) {
        const QRegularExpressionMatch found = match.next();
        const QString name = found.captured(1), value = valueOf(found.captured(2));
        if (isSqlMode(name))
            m_current = value;
        else if (name.startsWith(u'@'))
            m_variables[name.toLower()] = value;
    }
    return before.hasAnsiQuotes != mode().hasAnsiQuotes ||
           before.hasPlainBackslashes != mode().hasPlainBackslashes;
}

QString ScriptMode::valueOf(const QString &expression) const
{
    if (expression.startsWith(u'\'') || expression.startsWith(u'"'))
        return expression.mid(1, expression.size() - 2);
    return isSqlMode(expression) ? m_current : m_variables.value(expression.toLower());
}

SqlMode ScriptMode::modeOf(const QString &names)
{
    // The modes that bring ANSI_QUOTES along, on the servers that have them.
    static const QRegularExpression ansi(
        QStringLiteral("\\b(ANSI|ANSI_QUOTES|ORACLE|DB2|MSSQL|MAXDB|POSTGRESQL)\\b"),
        QRegularExpression::CaseInsensitiveOption);
    return {.hasAnsiQuotes = names.contains(ansi),
            .hasPlainBackslashes = names.contains(u"NO_BACKSLASH_ESCAPES", Qt::CaseInsensitive)};
}
