#pragma once

#include "controls/gridcopy.h"

class FlexGridModel;
class QItemSelection;

// The selected cells as text: the rows and columns that hold any selected cell, what is not selected among
// them left empty. A single cell is its value and nothing else.
QString copiedSelection(const FlexGridModel &model, const QItemSelection &selection, CopyFormat format,
                        const QString &table);
