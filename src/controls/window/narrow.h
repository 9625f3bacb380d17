#pragma once

class QPushButton;
class QScrollArea;
class QWidget;

// For small screens, of which a desktop that is scaled leaves little.

// Lets a button become as narrow as its text; styles keep it wider, whatever stands beside it.
void letBeNarrow(QPushButton &button);
// Lets a list or grid become as low as its header and a row.
void letBeLow(QWidget &list);
// Scrolls its contents where there is no room for them.
QScrollArea *scrolling(QWidget *contents);
// Once it has its place, makes the window higher for it as far as the screen goes, and scrolls to it.
void bringIntoSight(QWidget &widget);
