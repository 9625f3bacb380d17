#include "core/sql/names.h"

#include "core/sql/failure.h"

#include <QRegularExpression>

namespace {

[[noreturn]] void refuseMisread(const QString &name)
{
    throw Failure(QStringLiteral("サーバーはこの名前を別のオブジェクトと読むため、実行しません。: ") + name);
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
    if (!mayStandInBackticks(database) || !(name.isEmpty() || mayStandBare(name)))
        refuseMisread(u'`' + database + QStringLiteral("`.") + name);
}

void requireBareName(const QString &name)
{
    if (!mayStandBare(name))
        refuseMisread(name);
}

void requireOwnDatabase(const QString &database)
{
    if (!mayStandInBackticks(database))
        refuseMisread(u'`' + database + u'`');
}

void requireOwnTrimmedDatabase(const QString &database)
{
    if (database.startsWith(u' '))
        refuseMisread(u'`' + database + u'`');
    requireOwnDatabase(database);
}
