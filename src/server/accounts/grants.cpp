#include "server/accounts/grants.h"

#include "core/sql/statements.h"

#include <QRegularExpression>

namespace {

// The line with all that stands in quotes or parentheses blotted out: a name may hold any word.
QString bare(const QString &line)
{
    QString text = line;
    QChar quote;
    int depth = 0;
    for (QChar &each : text) {
        if (!quote.isNull()) {
            if (each == quote)
                quote = QChar();
            each = u'x';
        } else if (each == u'`' || each == u'\'' || each == u'"') {
            quote = std::exchange(each, u'x');
        } else if (each == u'(' || each == u')') {
            depth += std::exchange(each, u'x') == u'(' ? 1 : -1;
        } else if (depth > 0) {
            each = u'x';
        }
    }
    return text;
}

QStringList partsOf(const QString &list)
{
    const QString signs = bare(list);
    QStringList parts;
    qsizetype from = 0;
    for (qsizetype i = 0; i <= signs.size(); ++i) {
        if (i < signs.size() && signs[i] != u',')
            continue;
        parts << list.mid(from, i - from).trimmed();
        from = i + 1;
    }
    return parts;
}

QString withColumns(const QString &privilege, const QStringList &names)
{
    QStringList quoted;
    for (const QString &name : names)
        quoted << quotedName(name);
    return QStringLiteral("%1 (%2)").arg(privilege, quoted.join(QStringLiteral(", ")));
}

// MySQL 5.6 tells names of columns as they are: "SELECT (a, b c)".
QString withQuotedColumns(const QString &privilege)
{
    static const QRegularExpression form(QStringLiteral("^([A-Z]+) \\(([^`]+)\\)$"));
    const QRegularExpressionMatch match = form.match(privilege);
    return match.hasMatch() ? withColumns(match.captured(1), match.captured(2).split(QStringLiteral(", ")))
                            : privilege;
}

} // namespace

QString AccountName::quoted() const
{
    return host ? quotedName(user) + u'@' + quotedName(*host) : quotedName(user);
}

QString AccountName::shown() const
{
    return host ? user + u'@' + *host : user;
}

std::vector<Grant> grantsOf(const QString &line)
{
    const QString signs = bare(line);
    static const QRegularExpression form(
        QStringLiteral("^(GRANT|REVOKE) (.+?)( ON (.+?))? (TO|FROM) \\S+(.*)$"));
    const QRegularExpressionMatch match = form.match(signs);
    if (!match.hasMatch())
        return {};
    const QString rest = match.captured(6);
    const QString scope =
        match.capturedStart(4) < 0 ? QString() : line.mid(match.capturedStart(4), match.capturedLength(4));
    std::vector<Grant> grants;
    for (const QString &each : partsOf(line.mid(match.capturedStart(2), match.capturedLength(2))))
        grants.push_back({withQuotedColumns(each), scope,
                          rest.contains(u" WITH GRANT OPTION") || rest.contains(u" WITH ADMIN OPTION"),
                          match.captured(1) == u"REVOKE"});
    return grants;
}

QString grantStatement(const Grant &grant, const AccountName &account)
{
    const QString to = QStringLiteral(" TO ") + account.quoted();
    if (grant.isRole())
        return QStringLiteral("GRANT ") + grant.privilege + to +
               (grant.isGrantable ? QStringLiteral(" WITH ADMIN OPTION") : QString());
    return QStringLiteral("GRANT ") + grant.privilege + QStringLiteral(" ON ") + grant.scope + to +
           (grant.isGrantable ? QStringLiteral(" WITH GRANT OPTION") : QString());
}

QString revokeStatement(const Grant &grant, const AccountName &account)
{
    if (grant.isRestriction)
        return grantStatement({grant.privilege, grant.scope, false, false}, account);
    // There is no right named so: with GRANT OPTION behind it, it stands for that alone.
    const QString privilege = grant.privilege == u"USAGE" ? QStringLiteral("GRANT OPTION") : grant.privilege;
    return QStringLiteral("REVOKE ") + privilege +
           (grant.isRole() ? QString() : QStringLiteral(" ON ") + grant.scope) + QStringLiteral(" FROM ") +
           account.quoted();
}

QString onColumns(const QString &privilege, const QString &columns)
{
    QStringList names;
    for (QString name : partsOf(columns)) {
        if (name.size() > 1 && name.startsWith(u'`') && name.endsWith(u'`'))
            name = name.mid(1, name.size() - 2).replace(QStringLiteral("``"), QStringLiteral("`"));
        if (!name.isEmpty())
            names << name;
    }
    return names.isEmpty() ? privilege : withColumns(privilege, names);
}

QString defaultRoleStatement(const QStringList &roles, const AccountName &account, bool isMariaDb)
{
    return QStringLiteral("SET DEFAULT ROLE ") +
           (roles.isEmpty() ? QStringLiteral("NONE") : roles.join(QStringLiteral(", "))) +
           (isMariaDb ? QStringLiteral(" FOR ") : QStringLiteral(" TO ")) + account.quoted();
}
