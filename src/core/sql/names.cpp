#include "core/sql/names.h"

#include "core/sql/failure.h"

#include <QRegularExpression>

namespace {

[[noreturn]] void refuseMisread(const QString &what)
{
    throw Failure(QStringLiteral("サーバーが別のものと読むことがある名前なので、実行しません。: ") + what);
}

// Named as they are, not as they would stand in a statement.
QString ofDatabase(const QString &database)
{
    return QStringLiteral("データベース「%1」").arg(database);
}

bool mayStandBare(const QString &name)
{
    // Beyond the basic plane the server makes a "?" of every character, which may be another name.
    static const QRegularExpression form(
        QRegularExpression::anchoredPattern(
            QStringLiteral("(?![0-9]+\\z)W(?:-W)*(?: +(?:[0-9]+(?!C)|-(?!-))(?:C| |-(?!-))*)?"))
            .replace(u'W', QStringLiteral("C+"))
            .replace(u'C', QStringLiteral("[0-9A-Za-z_$\\x{80}-\\x{FFFF}]")));
    return form.match(name).hasMatch();
}

bool mayStandInBackticks(const QString &name)
{
    // The ODBC driver ends a statement at its first NUL.
    static const QRegularExpression misread(QStringLiteral("[`\\0\\x{10000}-\\x{10FFFF}]"));
    return !misread.match(name).hasMatch();
}

} // namespace

void requireOwnName(const QString &database, const QString &name)
{
    requireOwnDatabase(database);
    if (!name.isEmpty() && !mayStandBare(name))
        refuseMisread(QStringLiteral("「%1」(%2)").arg(name, ofDatabase(database)));
}

void requireBareName(const QString &name)
{
    if (!mayStandBare(name))
        refuseMisread(QStringLiteral("「%1」").arg(name));
}

void requireOwnDatabase(const QString &database)
{
    if (!mayStandInBackticks(database))
        refuseMisread(ofDatabase(database));
}

void requireOwnTrimmedDatabase(const QString &database)
{
    if (database.startsWith(u' '))
        refuseMisread(ofDatabase(database));
    requireOwnDatabase(database);
}
