#pragma once

#include "core/command/undostep.h"

// What a later start of the program finds of a copy that was filling tables beside others, or exchanging
// them, when the program ended.

// From the first table on: these can all be dropped.
Step fillingStep(const QString &database, const QStringList &sides);
// The first statement that touches the tables which are there. Nothing leads back from it; `left` is what is
// to be sent to end the exchange without copying again.
Step exchangeStep(const QString &statement, const QString &database, const QStringList &sides,
                  const QStringList &replaced, const QStringList &left);
