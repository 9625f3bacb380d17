#include "rows/savingsession.h"

void setSavingVariables(Connection &connection, SessionVariables &variables, const QStringList &withoutModes)
{
    const QString mode = QStringLiteral("sql_mode"), results = QStringLiteral("character_set_results"),
                  collation = QStringLiteral("collation_connection"), utf8 = QStringLiteral("utf8mb4");
    std::vector<SessionVariable> wanted{
        {QStringLiteral("character_set_client"), variableLiteral(utf8)},
        {QStringLiteral("sql_select_limit"), QStringLiteral("18446744073709551615")},
        {QStringLiteral("completion_type"), QStringLiteral("'NO_CHAIN'")}};
    QStringList names{mode, collation, results};
    for (const SessionVariable &variable : wanted)
        names << variable.name;
    variables.read(connection, names);
    if (variables.before(results) != u"NULL") // texts come as the columns hold them
        wanted.push_back({results, variableLiteral(utf8)});
    if (!variables.before(collation).startsWith(utf8))
        wanted.push_back({collation, QStringLiteral("'utf8mb4_general_ci'")});
    wanted.push_back({mode, variableLiteral(changedMode(variables.before(mode), withoutModes,
                                                        {QStringLiteral("STRICT_ALL_TABLES"),
                                                         QStringLiteral("NO_AUTO_VALUE_ON_ZERO")}))});
    variables.set(connection, wanted);
}

bool isInTransactionOfUser(Connection &connection)
{
    RecordSet rows = connection.executeText("select @@autocommit");
    const bool isAutomatic = rows.text(0) == u"1";
    while (!rows.isEof())
        rows.moveNext();
    return !isAutomatic || connection.effect().isInTransaction.value_or(false);
}
