#include "core/command/columnnames.h"

QStringList readColumnNames(Connection &connection)
{
    QStringList names;
    for (RecordSet rows = connection.execute(
             QStringLiteral("select table_name, column_name from information_schema.columns "
                            "where table_schema = database()"));
         !rows.isEof(); rows.moveNext())
        names << rows.text(0) << rows.text(1);
    return names;
}
