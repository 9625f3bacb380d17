#pragma once

#include "core/session/session.h"

#include <QPolygonF>
#include <QRectF>
#include <QSet>
#include <QStringList>

#include <optional>
#include <vector>

// The tables of a database with their foreign keys, as the server has them.
struct DiagramTable {
    QString name; // of another database with its name before a dot
    QStringList columns;
    QSet<QString> keys; // columns of the primary key
};
struct DiagramLink {
    QString from, to, name;
};
struct Diagram {
    std::vector<DiagramTable> tables;
    std::vector<DiagramLink> links;
};
// Throws Failure.
Diagram readDiagram(Session &session, const QString &database);

// Those tables only, and where wanted the ones that a foreign key joins them with.
Diagram partOf(const Diagram &diagram, const QSet<QString> &chosen, bool withNeighbours);

// Where everything stands, in points from the upper left corner.
struct PlacedTable {
    QRectF place;
    QString name;
    QStringList lines; // columns
    QSet<QString> keys;
};
struct PlacedLink {
    QPolygonF curve; // a start and then three points for each Bézier curve
    QString name;
};
struct PlacedDiagram {
    QSizeF size;
    std::vector<PlacedTable> tables;
    std::vector<PlacedLink> links;
};

// What a table needs to be drawn: the width of a text, and the height of a line, in points.
struct DiagramMeasure {
    std::function<double(const QString &text)> width;
    double line = 14;
    bool withColumns = true;
};
// The graph for Graphviz' dot: tables as boxes of their size.
QByteArray dotGraph(const Diagram &diagram, const DiagramMeasure &measure);
// Its answer (dot -Tplain); nothing where it is none.
std::optional<PlacedDiagram> placed(const Diagram &diagram, const QByteArray &plain, bool withColumns);
// How it is called for a graph of so many tables: in ranks along the keys, or around those with the most of
// them.
QStringList dotArguments(bool isRound, std::size_t tables);
// Ranks put the 30 children of one table into a column that nobody can look at.
bool isStrip(const PlacedDiagram &diagram);
// The same as an SVG file.
QByteArray svgOf(const PlacedDiagram &diagram, double line);
