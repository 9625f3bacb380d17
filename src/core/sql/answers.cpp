#include "core/sql/answers.h"

QString firstText(Connection &connection, const QString &statement)
{
    RecordSet rows = connection.execute(statement);
    return !rows.isOpen() || rows.isEof() || rows.isNull(0) ? QString() : rows.text(0);
}

QString textOf(const RecordSet &rows, const char *field)
{
    const int index = rows.fieldIndex(QLatin1String(field));
    return index < 0 || rows.isNull(index) ? QString() : rows.text(index);
}
