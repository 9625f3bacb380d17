#pragma once

#include "server/load/plot.h"

#include <QChartView>
#include <QLabel>
#include <QWidget>

class QDateTimeAxis;
class QLineSeries;
class QValueAxis;

// The picture below the words: lines, and where the user points at, a crosshair.
class PlotView : public QChartView {
    Q_OBJECT

public:
    PlotView(QChart *chart, QWidget *parent);

    // What the crosshair stands at; an empty list: none.
    void setMarks(const QList<QPointF> &marks);

Q_SIGNALS:
    void pointedAt(qreal x); // a time
    void left();
    void stepped(int direction); // by the keys, to the next time that is known

protected:
    void mouseMoveEvent(QMouseEvent *event) override;
    void leaveEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void drawForeground(QPainter *painter, const QRectF &rect) override;

private:
    QList<QPointF> m_marks;
};

// A plot in the colours of the desktop, drawn with Qt Charts. Above it stand the values: the last ones, or
// those at the crosshair.
class LoadPlot : public QWidget, public Plot {
    Q_OBJECT

public:
    LoadPlot(PlotCaption caption, std::function<void(qint64)> pointed);

    QWidget *widget() override { return this; }
    void show(const std::vector<PlotLine> &lines, qint64 from, qint64 to) override;
    void setCrosshair(qint64 time) override;

protected:
    void changeEvent(QEvent *event) override;

private:
    void applyColours();
    QColor lineColour(std::size_t line) const;
    void showLines();
    void showValues();
    void step(int direction);
    // The last known time of the line at or before the given one; none where nothing is known near it.
    const QPointF *pointAt(const PlotLine &line, qint64 time) const;
    QLineSeries *piece(std::size_t line, std::size_t number);

    const PlotCaption m_caption;
    const std::function<void(qint64)> m_pointed;
    QLabel *m_words;
    QChart *m_chart;
    PlotView *m_view;
    QDateTimeAxis *m_times;
    QValueAxis *m_values;
    std::vector<std::vector<QLineSeries *>> m_pieces; // of each line, between its gaps
    std::vector<PlotLine> m_lines;
    qint64 m_crosshair = 0;
};
