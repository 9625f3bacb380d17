#pragma once

#include <QString>

class QWidget;

// Asks for a new password, twice, for an account whose own has expired. Empty: cancelled.
QString askForNewPassword(QWidget *parent);
