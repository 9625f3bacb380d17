#include "maintenance/exactsession.h"

std::vector<SessionVariable> exactVariables(const ServerInfo &server)
{
    std::vector<SessionVariable> list{
        // Strict, so that a value that does not fit fails instead of changing; zero and impossible dates that
        // the table once took are taken again.
        {QStringLiteral("sql_mode"),
         QStringLiteral(
             "'STRICT_ALL_TABLES,NO_AUTO_VALUE_ON_ZERO,ALLOW_INVALID_DATES,NO_ENGINE_SUBSTITUTION'")},
        // A TIMESTAMP in the doubled hour of a clock change has no text of its own in local time.
        {QStringLiteral("time_zone"), QStringLiteral("'+00:00'")},
        {QStringLiteral("foreign_key_checks"), QStringLiteral("0")},
        // A limit that the user set in the console would cut the rows of a backup off without a word.
        {QStringLiteral("sql_select_limit"), QStringLiteral("18446744073709551615")},
        {QStringLiteral("sql_quote_show_create"), QStringLiteral("1")},
    };
    constexpr int firstWithSwitch = 100201;
    if (server.isMariaDb && server.number >= firstWithSwitch)
        list.push_back({QStringLiteral("check_constraint_checks"), QStringLiteral("0")});
    return list;
}
