#pragma once

#include "rows/rowgrid.h"

class QMenu;

// What is done with the cells and rows that are edited: to a grid's context menu.
void addRowEditing(QMenu *menu, RowGrid &rows);
