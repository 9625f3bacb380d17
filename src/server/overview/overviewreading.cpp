#include "server/overview/overviewreading.h"

QString textOf(const RecordSet &rows, const char *field)
{
    const int index = rows.fieldIndex(QLatin1String(field));
    return index < 0 || rows.isNull(index) ? QString() : rows.text(index);
}

QString firstText(Connection &connection, const QString &statement)
{
    RecordSet rows = connection.execute(statement);
    return !rows.isOpen() || rows.isEof() || rows.isNull(0) ? QString() : rows.text(0);
}

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
