#pragma once

#include <QString>

#include <optional>

class QWidget;

class QObject;
class Runner;
struct ConnectionProfile;

// The password that is kept of a saved connection; no value: none is, or `why` has the key store's words.
std::optional<QString> keptPassword(const ConnectionProfile &profile, Runner &runner, const QObject &owner,
                                    QString &why);
QString passwordQuestion(const ConnectionProfile &profile, const QString &user, const QString &why);
// Asks for a password; no value: cancelled.
std::optional<QString> askForPassword(QWidget *parent, const QString &question);
