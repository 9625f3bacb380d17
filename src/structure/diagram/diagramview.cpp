#include "structure/diagram/diagramview.h"

#include "controls/window/building.h"
#include "core/sql/listitem.h"

#include <QAccessibleWidget>
#include <QGraphicsPathItem>
#include <QGraphicsRectItem>
#include <QKeyEvent>
#include <QWheelEvent>

#include <cmath>

namespace {

constexpr int tableRole = 0;
constexpr double margin = 6, smallest = 0.05, largest = 8;

void addText(QGraphicsItem &box, const QString &text, const QFont &font, const QColor &colour, double y)
{
    auto *item = new QGraphicsSimpleTextItem(visibleName(text), &box);
    item->setFont(font);
    item->setBrush(colour);
    item->setPos(box.boundingRect().x() + margin, y);
    item->setAcceptedMouseButtons(Qt::NoButton);
}

// Views of scenes have no role of their own that a screen reader could tell.
QAccessibleInterface *accessible(const QString &, QObject *object)
{
    auto *view = qobject_cast<DiagramView *>(object);
    return view ? new QAccessibleWidget(view, QAccessible::Graphic, view->accessibleName()) : nullptr;
}

} // namespace

DiagramView::DiagramView(const char *name)
{
    setObjectName(QLatin1String(name));
    QAccessible::installFactory(accessible); // before anybody asks for it
    setAccessibleName(QStringLiteral("テーブルの図"));
    setScene(new QGraphicsScene(this));
    setRenderHint(QPainter::Antialiasing);
    setDragMode(ScrollHandDrag);
    setTransformationAnchor(AnchorUnderMouse);
}

double DiagramView::lineHeight() const
{
    return QFontMetricsF(font()).height();
}

DiagramMeasure DiagramView::measure(bool withColumns) const
{
    QFont bold = font();
    bold.setBold(true);
    return {[metrics = QFontMetricsF(bold)](const QString &text) { return metrics.horizontalAdvance(text); },
            lineHeight(), withColumns};
}

void DiagramView::showDiagram(const PlacedDiagram &diagram)
{
    m_diagram = diagram;
    draw(palette());
    fit();
}

void DiagramView::draw(const QPalette &colours)
{
    scene()->clear();
    const QColor line = colours.color(QPalette::Text), fill = colours.color(QPalette::Base);
    for (const PlacedLink &link : m_diagram.links) {
        QPainterPath path(link.curve[0]);
        for (qsizetype i = 1; i + 2 < link.curve.size(); i += 3)
            path.cubicTo(link.curve[i], link.curve[i + 1], link.curve[i + 2]);
        QGraphicsPathItem *item = scene()->addPath(path, QPen(line, 1));
        item->setToolTip(plainTip(link.name));
        constexpr double radius = 3; // at the table that is referred to
        scene()->addEllipse(QRectF(link.curve.last() - QPointF(radius, radius), QSizeF(6, 6)), QPen(line),
                            line);
    }
    for (const PlacedTable &table : m_diagram.tables) {
        QGraphicsRectItem *box = scene()->addRect(table.place, QPen(line, 1), fill);
        box->setData(tableRole, table.name);
        box->setFlag(QGraphicsItem::ItemIsFocusable);
        QFont bold = font();
        bold.setBold(true);
        addText(*box, table.name, bold, line, table.place.y() + margin / 2);
        for (qsizetype i = 0; i < table.lines.size(); ++i) {
            QFont plain = font();
            plain.setUnderline(table.keys.contains(table.lines[i]));
            addText(*box, table.lines[i], plain, line,
                    table.place.y() + margin / 2 + lineHeight() * static_cast<double>(i + 1));
        }
    }
    scene()->setSceneRect(QRectF({0, 0}, m_diagram.size).adjusted(-20, -20, 20, 20));
}

void DiagramView::zoom(double factor)
{
    const double wanted = std::clamp(transform().m11() * factor, smallest, largest);
    setTransform(QTransform::fromScale(wanted, wanted));
}

// Not larger than it is: a single table would fill the window.
void DiagramView::fit()
{
    const QSizeF all = sceneRect().size(), room = viewport()->size();
    if (all.isEmpty())
        return;
    const double scale = std::min(room.width() / all.width(), room.height() / all.height());
    setTransform(QTransform());
    zoom(std::min(1.0, scale));
    centerOn(sceneRect().center());
}

void DiagramView::paintOn(QPainter &painter, const QRectF &target)
{
    QPalette paper;
    paper.setColor(QPalette::Text, Qt::black);
    paper.setColor(QPalette::Base, Qt::white);
    draw(paper);
    painter.fillRect(target, Qt::white);
    scene()->render(&painter, target);
    draw(palette());
}

void DiagramView::wheelEvent(QWheelEvent *event)
{
    if (event->modifiers() & Qt::ControlModifier)
        zoom(std::pow(1.001, event->angleDelta().y()));
    else
        QGraphicsView::wheelEvent(event);
}

void DiagramView::keyPressEvent(QKeyEvent *event)
{
    if (event->key() == Qt::Key_Plus)
        zoom(1.25);
    else if (event->key() == Qt::Key_Minus)
        zoom(0.8);
    else
        QGraphicsView::keyPressEvent(event);
}

void DiagramView::mousePressEvent(QMouseEvent *event)
{
    m_pressed = event->pos();
    QGraphicsView::mousePressEvent(event);
}

// A click is no dragging.
void DiagramView::mouseReleaseEvent(QMouseEvent *event)
{
    QGraphicsView::mouseReleaseEvent(event);
    if (event->button() != Qt::LeftButton || (event->pos() - m_pressed).manhattanLength() > 4)
        return;
    for (const QGraphicsItem *item : items(event->pos()))
        if (const QString table = item->data(tableRole).toString(); !table.isEmpty()) {
            Q_EMIT opened(table);
            return;
        }
}

void DiagramView::changeEvent(QEvent *event)
{
    QGraphicsView::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        draw(palette());
}
