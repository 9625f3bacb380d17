#include "server/overview/overviewreading.h"

RecordSet askOneOf(Connection &connection, const QStringList &statements)
{
    constexpr int syntaxError = 1064;
    for (qsizetype i = 0;; ++i) {
        try {
            return connection.execute(statements[i]);
        } catch (const Failure &failure) {
            if (failure.number() != syntaxError || i + 1 == statements.size())
                throw;
        }
    }
}

QString unseenTables(Connection &connection)
{
    const QString count = firstText(
        connection,
        QStringLiteral(
            "select count(*) from information_schema.user_privileges where privilege_type = 'SELECT' "
            "and grantee = concat('''', substring_index(current_user(), '@', 1), '''@''', "
            "substring_index(current_user(), '@', -1), '''')"));
    return count != u"0"
               ? QString()
               : QStringLiteral("サーバー全体への SELECT 権限がないので、権限の及ぶ表だけが見えます。");
}

QString systemSchemas()
{
    return QStringLiteral("'information_schema', 'performance_schema', 'mysql', 'sys'");
}
