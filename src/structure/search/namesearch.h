#pragma once

#include "core/session/session.h"
#include "structure/search/searchhit.h"

#include <QStringList>

// One after the other they look for the text in names, comments and definitions, what answers fastest first.
// database: the only one to be looked into; empty: all but the server's own.
QStringList nameStatements(const QString &text, const QString &database);
// What one of them finds, names that are the text first. Throws Failure.
SearchHits readNames(Session &session, const QString &statement);
// The most hits that one of them gives.
constexpr int mostNames = 5000;

// For the choice of where to search. Throws Failure.
QStringList searchableDatabases(Session &session);
QStringList searchableTables(Session &session, const QString &database);
