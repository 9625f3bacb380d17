#pragma once

#include <vector>

class ChosenList;
class QPushButton;

// Gives a list a context menu: the buttons that act on its items, as far as they are enabled, and the
// copying of the item's name. The item under the pointer is chosen first, so that menu and window agree.
void addListMenu(ChosenList &list, const std::vector<QPushButton *> &buttons);
