#include "transfer/dump/hiddenobjects.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

// Whether the pattern of a grant on databases, where "\_" is the letter and "_" any one, means the database.
bool matchesDatabase(const QString &pattern, const QString &database)
{
    QString form;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        if (pattern[i] == u'\\' && i + 1 < pattern.size())
            form += QRegularExpression::escape(pattern.mid(++i, 1));
        else if (pattern[i] == u'%')
            form += QStringLiteral(".*");
        else
            form += pattern[i] == u'_' ? QStringLiteral(".") : QRegularExpression::escape(pattern.mid(i, 1));
    }
    return QRegularExpression(QRegularExpression::anchoredPattern(form),
                              QRegularExpression::CaseInsensitiveOption |
                                  QRegularExpression::DotMatchesEverythingOption)
        .match(database)
        .hasMatch();
}

// Of the account and its roles that are in force.
QStringList rightsOn(Connection &connection, const QString &database)
{
    static const QRegularExpression form(
        QStringLiteral("^GRANT ([^`'\"(]+) ON (?:(\\*)|[`\"]((?:[^`]|``)+)[`\"])\\.\\* TO "));
    QStringList rights;
    RecordSet rows = connection.execute(QStringLiteral("SHOW GRANTS"));
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        const QRegularExpressionMatch grant = form.match(rows.text(0));
        if (!grant.hasMatch())
            continue;
        const bool isGlobal = grant.capturedLength(2) > 0;
        const QString pattern = grant.captured(3).replace(QStringLiteral("``"), QStringLiteral("`"));
        if (!isGlobal && !matchesDatabase(pattern, database))
            continue;
        for (const QString &right : grant.captured(1).split(QStringLiteral(", "))) {
            rights << right;
            if (isGlobal && right == u"SELECT") // of the server's own tables, too
                rights << QStringLiteral("SHOW_ROUTINE");
        }
    }
    return rights;
}

} // namespace

QStringList kindsNotAllShown(Connection &connection, const DumpOptions &options)
{
    const QStringList rights = rightsOn(connection, options.database);
    const auto isHidden = [&rights](const QStringList &oneOf) {
        return !rights.contains(QStringLiteral("ALL PRIVILEGES")) &&
               std::ranges::none_of(oneOf, [&rights](const QString &each) { return rights.contains(each); });
    };
    QStringList kinds;
    if (options.objects.isEmpty() && isHidden({QStringLiteral("SELECT")}))
        kinds << QStringLiteral("テーブルとビュー");
    if (!options.hasStructure)
        return kinds;
    if (options.hasTriggers && isHidden({QStringLiteral("TRIGGER")}))
        kinds << QStringLiteral("トリガー");
    if (options.hasRoutines &&
        isHidden({QStringLiteral("SHOW_ROUTINE"), QStringLiteral("EXECUTE"), QStringLiteral("CREATE ROUTINE"),
                  QStringLiteral("ALTER ROUTINE"), QStringLiteral("SHOW CREATE ROUTINE")}))
        kinds << QStringLiteral("ルーチン");
    if (options.hasEvents && isHidden({QStringLiteral("EVENT")}))
        kinds << QStringLiteral("イベント");
    return kinds;
}
