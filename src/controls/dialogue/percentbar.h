#pragma once

#include <QWidget>

// A picture box with a percentage: blue bar over white, the number inverted where the bar covers it.
class PercentBar : public QWidget {
    Q_OBJECT

public:
    explicit PercentBar(QWidget *parent = nullptr);
    void clearBar(); // neither bar nor number
    // fraction from 0 to 1. Unless exact, 0 % is shown as 1 % and 100 % as 99 %.
    void setFraction(double fraction, bool isExact = false);
    QString text() const { return m_text; } // "42%", empty after clearBar()

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    double m_fraction = 0;
    QString m_text;
};

void sProgressBar(PercentBar &box, double fraction, bool exact = false);
// The whole percentage that is shown for a fraction.
int shownPercent(double fraction, bool exact);
