#pragma once

#include <QtGlobal>

// QScintilla's headers write `signals` and `slots`, which this program does not let Qt define. Everything
// that needs them includes this header.
#define signals Q_SIGNALS
#define slots Q_SLOTS
#include <Qsci/qscicommandset.h>
#include <Qsci/qscilexersql.h>
#include <Qsci/qsciscintilla.h>
#undef signals
#undef slots
