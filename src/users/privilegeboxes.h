#pragma once

#include "core/recordset.h"
#include "users/privileges.h"

class QCheckBox;

// The check boxes of one privilege table, in its order. Each box's tag is a property, "1" or "0".
using Boxes = std::vector<QCheckBox *>;

void setAll(const Boxes &boxes, bool isChecked);
Checks checksOf(const Boxes &boxes);
Checks tagsOf(const Boxes &boxes);

// Checks each box, and sets its tag, by its column of the current row: "Y" is granted. A box whose column
// the server lacks stays as it was.
void showColumns(const Boxes &boxes, std::span<const Privilege> privileges, RecordSet &row);
// Checks each box by its element of a set value.
void showElements(const Boxes &boxes, std::span<const Privilege> privileges, const QString &setValue);
