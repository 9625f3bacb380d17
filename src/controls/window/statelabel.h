#pragma once

#include <QLabel>

// Says in one line how things stand. A text that is too long for it is cut, and whole in the tool tip: it
// never makes its window wider.
class StateLabel : public QLabel {
public:
    explicit StateLabel(QWidget *parent = nullptr);

    QSize minimumSizeHint() const override;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;
};
