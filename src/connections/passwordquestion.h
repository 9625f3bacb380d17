#pragma once

#include <QString>

#include <optional>

class QWidget;

// Asks for a password; no value: cancelled.
std::optional<QString> askForPassword(QWidget *parent, const QString &question);
