#pragma once

#include <QString>

class QObject;

// Loads the part of the program that stands in a library of its own, "tarnwell_history" for example, beside
// the program or where it is installed: what only some users need then costs no start. The module stays
// loaded. Null: `why` has the words.
QObject *loadModule(const QString &name, QString &why);
