#pragma once

#include "core/command/script.h"

#include <optional>

class QWidget;

// Asks for a file of SQL and how it is to be run; nothing: cancelled.
std::optional<ScriptOptions> askForScript(QWidget *window, const QString &folder);

// A file dialog for SQL texts; empty: cancelled.
QString chooseSqlFile(QWidget *window, const QString &start, bool isForSaving, const QString &filter);
