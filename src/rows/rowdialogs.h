#pragma once

#include "rows/rowhistory.h"

#include <QWidget>

#include <optional>

// Shows texts of statements, "rowStatements", to be read and copied.
void showStatementTexts(QWidget *parent, const QString &title, const QStringList &statements);

// The same for what a saving of the changes would send.
void showChanges(QWidget *parent, const TableShape &table, const std::vector<RowChange> &changes);

// Lists the last savings with what would take them back, "savedRows"; the one that is to be taken back.
std::optional<RowSaving> chooseSaving(QWidget *parent, const std::vector<RowSaving> &savings);
