#pragma once

#include "core/command/command.h"
#include "core/command/doubt.h"
#include "core/command/tablekind.h"
#include "maintenance/tablechange/tablechangesteps.h"

// Why a change is not begun, in words for the user; empty where nothing stands in its way.
QString refusalOfText(const TableChange &change);
QString refusalOfTable(const TableChange &change, const TableKind &kind);
QString refusalOfChildren(const TableChange &change);

// Has the server read the edited text without doing what it says. Throws Failure with the server's refusal.
void requireValidText(Connection &connection, const TableChange &change);
// Throws Failure for old columns whose name a statement would not mean.
void requireOwnColumns(const TableChange &change, const std::vector<FieldRec> &fields);

// Whether the user goes on although other nodes of the cluster will not be as they should.
bool mayChangeInCluster(Dialogue &dialogue, const TableChange &change, const TableKind &kind,
                        const ServerPlace &place);

// How many rows of each child have no parent; and, of the new table, by keys that the old one has not.
QList<qint64> orphansOf(Connection &connection, const TableChange &change);
void requireNoOrphansOfNewKeys(Connection &connection, const TableChange &change);
