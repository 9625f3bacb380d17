#pragma once

#include "structure/diagram/diagram.h"

#include <QGraphicsView>

// Draws a placed diagram in the desktop's colours: the wheel with Ctrl and the keys + and - zoom, dragging
// moves it, a click on a table opens it.
class DiagramView : public QGraphicsView {
    Q_OBJECT

public:
    explicit DiagramView(const char *name);

    void showDiagram(const PlacedDiagram &diagram);
    const PlacedDiagram &diagram() const { return m_diagram; }
    DiagramMeasure measure(bool withColumns) const;
    double lineHeight() const;
    void zoom(double factor);
    void fit();
    // On white, whatever the desktop's colours are.
    void paintOn(QPainter &painter, const QRectF &target);

Q_SIGNALS:
    void opened(const QString &table);

protected:
    void wheelEvent(QWheelEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void changeEvent(QEvent *event) override;

private:
    void draw(const QPalette &colours);

    PlacedDiagram m_diagram;
    QPoint m_pressed;
};
