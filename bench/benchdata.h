#pragma once

#include "support/testserver.h"

// The database "bench" with the table "rows_of_text": so many rows x 8 columns (int, two varchars with
// Japanese, decimal, datetime, double, text, nullable int), about 145 bytes of text a row.
void makeBenchTable(TestServer &server, int rowCount = 1000000);

inline QString benchDatabase()
{
    return QStringLiteral("bench");
}
inline QString benchStatement()
{
    return QStringLiteral("select * from rows_of_text");
}
