#pragma once

#include "support/testserver.h"

#include <QMap>
#include <QString>
#include <QStringList>

// How a client shows what it reads.
enum class Shown { AsTable, AsLines };

// Medians of what the other clients need for the statements, from their start to their end, by the program's
// name; only those that are installed. The account and the data source are those of the test server.
QMap<QString, double> peerSeconds(const TestServer &server, const QStringList &statements, Shown shown);
