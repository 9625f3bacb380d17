#pragma once

#include <QString>

// The text as a tool tip that shows it character by character: a tip takes what looks like markup for markup,
// and what is escaped but does not look so for plain text.
QString plainTip(const QString &text);
