#pragma once

#include <QList>
#include <QPointF>
#include <QString>
#include <QtPlugin>

#include <functional>
#include <vector>

class QWidget;

// One line of a plot. x: milliseconds since 1970; y: not a number where nothing is known, a gap.
struct PlotLine {
    QString name;
    QList<QPointF> points; // in the order of time
};

// What a plot shows besides its lines.
struct PlotCaption {
    QString title, unit;
    double highest = 0; // of its scale; 0: what the values need
};

// Lines over time in a widget of its own, which owns this.
class Plot {
public:
    virtual ~Plot() = default;
    virtual QWidget *widget() = 0;
    virtual void show(const std::vector<PlotLine> &lines, qint64 from, qint64 to) = 0;
    // A line at that time with the values there; 0: none.
    virtual void setCrosshair(qint64 time) = 0;
};

// What the module of the plots offers. Qt Charts stays out of the program until somebody looks at a plot:
// linked into the executable it costs every start several milliseconds.
class PlotModule {
public:
    virtual ~PlotModule() = default;
    // pointed: a user points at that time, 0: at none any more.
    virtual Plot *make(const PlotCaption &caption, std::function<void(qint64 time)> pointed) = 0;
};
Q_DECLARE_INTERFACE(PlotModule, "tarnwell.PlotModule/1")
