#pragma once

#include "browser/frmTarnwellControls.h"

// Puts the controls on the window, with their captions; the views that are not chosen are hidden.
void layOut(TarnwellControls &controls, QWidget *window);
