#pragma once

#include "core/command/command.h"
#include "core/sql/failure.h"

#include <functional>

// What one batch over the tables of gDbName does. The steps and their order are runBatch()'s.
struct Batch {
    QString phrase; // of the question: stands behind the list item, or behind "全" for all tables
    // After the question; false ends the command without a word.
    std::function<bool()> prepare = [] { return true; };
    std::function<void(const QString &name)> eachTable;
    // Sets for the walk what it needs, and runs it.
    std::function<void(const std::function<void()> &walk)> around = [](const auto &walk) { walk(); };
    std::function<void()> finish = [] {}; // after the last table
    std::function<QString()> closing;
};

// Asks, walks over all items of lstTables or the chosen one, passes over "[ERROR]" items, shows the
// progress and the closing message. The first Failure ends the batch; what was done stays done.
Outcome runBatch(CommandContext &context, const Batch &batch);

// The failure path of the maintenance commands that touch neither the target nor the window.
void reportFailure(Dialogue &dialogue, const Failure &error);
