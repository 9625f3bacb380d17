#pragma once

class FlexGrid;
class QMenu;

// The context menu of a grid, "gridMenu", as it would open now; the grid is its parent.
QMenu *createGridMenu(FlexGrid &grid);
