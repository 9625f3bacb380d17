#pragma once

struct TarnwellControls;

// How far the user has come; the empty lists say what comes next.
enum class Step { Connect, Connecting, ListDatabases, ChooseDatabase, Reading, DatabaseChosen };

void showNextStep(TarnwellControls &controls, Step step);
