#pragma once

#include <QComboBox>

// The places where folders begin: roots, mounted volumes, the home folder.
class DriveBox : public QComboBox {
    Q_OBJECT

public:
    explicit DriveBox(QWidget *parent = nullptr);

    QString drive() const { return currentData().toString(); }
    // Shows the place that a path belongs to, without a signal.
    void showDriveOf(const QString &path);

Q_SIGNALS:
    void driveChosen(const QString &path); // by the user
};
