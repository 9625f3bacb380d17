#pragma once

// Starts the first found of the desktop's usual tools that show what the machine is; false when there is
// none, or it could not be started.
bool startSystemInformation();
