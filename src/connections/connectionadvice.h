#pragma once

#include "core/session/tlsoptions.h"
#include "core/sql/failure.h"

// One line for the user on what to do about a connection that could not be opened; empty where the server's
// own words say all that is known.
QString connectionAdvice(const Failure &failure, const TlsOptions &tls);

// The server's words, and the advice on a line of its own.
QString withAdvice(const Failure &failure, const TlsOptions &tls);
