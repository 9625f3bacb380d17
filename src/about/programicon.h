#pragma once

#include <QIcon>

// The icon that the application's windows carry; a drawn one where none was set.
QIcon programIcon();
