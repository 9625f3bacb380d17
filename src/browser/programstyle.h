#pragma once

// What the program wears beyond its windows: icon, the desktop's colours, Qt's own boxes and menus in
// Japanese where that translation is installed. Called once, after the application object is made. The icon
// comes from the program's resources (tarnwell.qrc); without them the desktop's default stays.
void applyProgramStyle();
