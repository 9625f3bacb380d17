#pragma once

#include <QWidget>

// What stands under a grid while its rows are edited: how many are changed, and the way to save them or not.
class EditedRows : public QWidget {
    Q_OBJECT

public:
    using QWidget::QWidget;
    virtual int changeCount() const = 0;
    // The rows are about to go: false when the user wants to keep what is not saved.
    virtual bool mayLeave() = 0;
};
