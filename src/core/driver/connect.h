#pragma once

#include "core/driver/pump.h"
#include "core/sql/connection.h"

#include <QStringList>

// The name under which the built-in connection stands among the drivers: "MySQL (内蔵)".
QString nativeDriverName();

// A closed connection for "driver={...};server=...;..." (built in when the driver is nativeDriverName(), else
// ODBC), for "DSN=name;...", or for a data source's name alone. Never throws: what is wrong with the string
// is said by open(). The connection spends its waits in `pump`, which outlives it and its record sets.
std::unique_ptr<Connection> createConnection(const QString &connectionString, Pump &pump);

// What the ODBC driver manager knows: data sources and drivers whose description contains "MySQL", in its
// order. Errors simply end the lists. nativeDriverName() is not among them.
struct DriverListing {
    QStringList dataSources;
    QStringList drivers;
};
DriverListing listOdbc();
