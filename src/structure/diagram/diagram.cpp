#include "structure/diagram/diagram.h"

#include "core/sql/listitem.h"
#include "structure/search/searchtext.h"

#include <QXmlStreamWriter>

#include <algorithm>
#include <map>

namespace {

constexpr double pointsPerInch = 72, margin = 6;

QString qualifiedIn(const QString &database, const QString &schema, const QString &table)
{
    return schema == database ? table : schema + u'.' + table;
}

QString inches(double points)
{
    return QString::number(points / pointsPerInch, 'f', 4);
}

// "1.5 2 0.75" from a place on, as points.
double pointsAt(const QStringList &words, qsizetype place)
{
    return words.value(place).toDouble() * pointsPerInch;
}

std::size_t indexOfNode(const QString &name)
{
    return static_cast<std::size_t>(name.mid(1).toULongLong());
}

QString number(double value)
{
    return QString::number(value, 'f', 1);
}

} // namespace

Diagram readDiagram(Session &session, const QString &database)
{
    Diagram diagram;
    std::map<QString, std::size_t> places;
    const auto tableAt = [&](const QString &name) -> DiagramTable & {
        const auto [found, isNew] = places.try_emplace(name, diagram.tables.size());
        if (isNew)
            diagram.tables.push_back({name, {}, {}});
        return diagram.tables[found->second];
    };
    // Two questions: for a join of both MariaDB 10.11 opens each table once for each column, 10 s for 3,000
    // tables.
    QSet<QString> views;
    for (RecordSet rows = session.connection().execute(
             QStringLiteral("select table_name from information_schema.tables where table_schema=%1 and "
                            "table_type='VIEW'")
                 .arg(textLiteral(database)));
         rows.isOpen() && !rows.isEof(); rows.moveNext())
        views << rows.text(0);
    RecordSet columns = session.connection().execute(
        QStringLiteral("select table_name, column_name, column_type, column_key from "
                       "information_schema.columns where table_schema=%1 order by table_name, "
                       "ordinal_position")
            .arg(textLiteral(database)));
    for (; columns.isOpen() && !columns.isEof(); columns.moveNext()) {
        if (views.contains(columns.text(0)))
            continue;
        DiagramTable &table = tableAt(columns.text(0));
        const QString column = columns.text(1) + u' ' + columns.text(2);
        table.columns << column;
        if (columns.text(3) == u"PRI")
            table.keys << column;
    }
    RecordSet links = session.connection().execute(
        QStringLiteral("select distinct table_schema, table_name, referenced_table_schema, "
                       "referenced_table_name, constraint_name from information_schema.key_column_usage "
                       "where referenced_table_name is not null and (table_schema=%1 or "
                       "referenced_table_schema=%1) order by 1, 2, 5")
            .arg(textLiteral(database)));
    for (; links.isOpen() && !links.isEof(); links.moveNext()) {
        const DiagramLink link{qualifiedIn(database, links.text(0), links.text(1)),
                               qualifiedIn(database, links.text(2), links.text(3)), links.text(4)};
        tableAt(link.from);
        tableAt(link.to);
        diagram.links.push_back(link);
    }
    return diagram;
}

Diagram partOf(const Diagram &diagram, const QSet<QString> &chosen, bool withNeighbours)
{
    QSet<QString> wanted = chosen;
    if (withNeighbours)
        for (const DiagramLink &link : diagram.links) {
            if (chosen.contains(link.from))
                wanted << link.to;
            if (chosen.contains(link.to))
                wanted << link.from;
        }
    Diagram part;
    std::ranges::copy_if(diagram.tables, std::back_inserter(part.tables),
                         [&](const DiagramTable &table) { return wanted.contains(table.name); });
    std::ranges::copy_if(diagram.links, std::back_inserter(part.links), [&](const DiagramLink &link) {
        return wanted.contains(link.from) && wanted.contains(link.to);
    });
    return part;
}

QByteArray dotGraph(const Diagram &diagram, const DiagramMeasure &measure)
{
    QString graph =
        QStringLiteral("digraph {\nrankdir=LR; nodesep=0.4; ranksep=0.8; pack=20; packmode=\"graph\";\n"
                       "node [shape=box fixedsize=true label=\"\"];\nedge [dir=none];\n");
    std::map<QString, std::size_t> places;
    for (std::size_t i = 0; i < diagram.tables.size(); ++i) {
        const DiagramTable &table = diagram.tables[i];
        places[table.name] = i;
        double width = measure.width(table.name);
        for (const QString &column : measure.withColumns ? table.columns : QStringList())
            width = std::max(width, measure.width(column));
        const double lines = 1 + (measure.withColumns ? static_cast<double>(table.columns.size()) : 0);
        graph += QStringLiteral("n%1 [width=%2 height=%3];\n")
                     .arg(i)
                     .arg(inches(width + 2 * margin), inches(lines * measure.line + margin));
    }
    for (const DiagramLink &link : diagram.links)
        graph += QStringLiteral("n%1 -> n%2;\n").arg(places[link.from]).arg(places[link.to]);
    return (graph + QStringLiteral("}\n")).toUtf8();
}

QStringList dotArguments(bool isRound, std::size_t tables)
{
    // Around 300 tables curves take 20 seconds, straight lines half a second.
    constexpr std::size_t mostWithCurves = 100;
    QStringList arguments{QStringLiteral("-Tplain")};
    if (isRound)
        arguments +=
            {QStringLiteral("-Ksfdp"), QStringLiteral("-Goverlap=prism"), QStringLiteral("-Gsep=+12"),
             QStringLiteral("-Gsplines=") +
                 (tables <= mostWithCurves ? QStringLiteral("true") : QStringLiteral("line"))};
    return arguments;
}

bool isStrip(const PlacedDiagram &diagram)
{
    constexpr double highest = 2, widest = 4; // screens are wide
    constexpr std::size_t fewTables = 6;
    const double width = diagram.size.width(), height = diagram.size.height();
    return diagram.tables.size() > fewTables && (height > width * highest || width > height * widest);
}

std::optional<PlacedDiagram> placed(const Diagram &diagram, const QByteArray &plain, bool withColumns)
{
    PlacedDiagram result;
    std::multimap<std::pair<QString, QString>, QString> names;
    for (const DiagramLink &link : diagram.links)
        names.emplace(std::pair(link.from, link.to), link.name);
    bool isWhole = false;
    // A long line goes on behind a backslash.
    const QString text = QString::fromUtf8(plain).remove(QStringLiteral("\\\n"));
    for (const QString &line : text.split(u'\n')) {
        const QStringList words = line.split(u' ', Qt::SkipEmptyParts);
        const QString what = words.value(0);
        if (what == u"graph") {
            result.size = {pointsAt(words, 2), pointsAt(words, 3)};
        } else if (what == u"node" && indexOfNode(words.value(1)) < diagram.tables.size()) {
            const DiagramTable &table = diagram.tables[indexOfNode(words[1])];
            const QSizeF size(pointsAt(words, 4), pointsAt(words, 5));
            const QPointF centre(pointsAt(words, 2), result.size.height() - pointsAt(words, 3));
            result.tables.push_back({QRectF(centre - QPointF(size.width(), size.height()) / 2, size),
                                     table.name, withColumns ? table.columns : QStringList(), table.keys});
        } else if (what == u"edge" && indexOfNode(words.value(1)) < diagram.tables.size() &&
                   indexOfNode(words.value(2)) < diagram.tables.size()) {
            PlacedLink link;
            for (qsizetype i = 0; i < words.value(3).toLongLong(); ++i)
                link.curve << QPointF(pointsAt(words, 4 + 2 * i),
                                      result.size.height() - pointsAt(words, 5 + 2 * i));
            const auto name = names.find(
                {diagram.tables[indexOfNode(words[1])].name, diagram.tables[indexOfNode(words[2])].name});
            if (name != names.end()) {
                link.name = name->second;
                names.erase(name); // the next one between the two is another
            }
            if (link.curve.size() >= 4 && link.curve.size() % 3 == 1)
                result.links.push_back(std::move(link));
        } else if (what == u"stop") {
            isWhole = true;
        }
    }
    if (!isWhole || result.tables.size() != diagram.tables.size())
        return {};
    return result;
}

namespace {

using Attributes = std::initializer_list<std::pair<const char *, QString>>;

void writeAttributes(QXmlStreamWriter &svg, Attributes attributes)
{
    for (const auto &[name, value] : attributes)
        svg.writeAttribute(QLatin1String(name), value);
}

void writeLink(QXmlStreamWriter &svg, const PlacedLink &link)
{
    QString path = QStringLiteral("M%1 %2 C").arg(link.curve[0].x()).arg(link.curve[0].y());
    for (qsizetype i = 1; i < link.curve.size(); ++i)
        path += QStringLiteral(" %1 %2").arg(link.curve[i].x()).arg(link.curve[i].y());
    svg.writeStartElement(QStringLiteral("path"));
    writeAttributes(svg, {{"d", path}, {"fill", QStringLiteral("none")}, {"stroke", QStringLiteral("#666")}});
    svg.writeTextElement(QStringLiteral("title"), visibleName(link.name));
    svg.writeEndElement();
    svg.writeEmptyElement(QStringLiteral("circle"));
    writeAttributes(svg, {{"cx", number(link.curve.last().x())},
                          {"cy", number(link.curve.last().y())},
                          {"r", QStringLiteral("3")},
                          {"fill", QStringLiteral("#666")}});
}

void writeTable(QXmlStreamWriter &svg, const PlacedTable &table, double line)
{
    svg.writeEmptyElement(QStringLiteral("rect"));
    writeAttributes(svg, {{"x", number(table.place.x())},
                          {"y", number(table.place.y())},
                          {"width", number(table.place.width())},
                          {"height", number(table.place.height())},
                          {"fill", QStringLiteral("#fff")},
                          {"stroke", QStringLiteral("#333")}});
    double y = table.place.y() + line * 0.85;
    for (const QString &text : QStringList{table.name} + table.lines) {
        svg.writeStartElement(QStringLiteral("text"));
        writeAttributes(svg, {{"x", number(table.place.x() + margin)}, {"y", number(y)}});
        if (y < table.place.y() + line)
            svg.writeAttribute(QStringLiteral("font-weight"), QStringLiteral("bold"));
        else if (table.keys.contains(text))
            svg.writeAttribute(QStringLiteral("text-decoration"), QStringLiteral("underline"));
        svg.writeCharacters(visibleName(text)); // no control characters, which no XML can hold
        svg.writeEndElement();
        y += line;
    }
}

} // namespace

QByteArray svgOf(const PlacedDiagram &diagram, double line)
{
    QByteArray bytes;
    QXmlStreamWriter svg(&bytes);
    svg.setAutoFormatting(true);
    svg.writeStartDocument();
    svg.writeStartElement(QStringLiteral("svg"));
    svg.writeDefaultNamespace(QStringLiteral("http://www.w3.org/2000/svg"));
    const QString width = number(diagram.size.width()), height = number(diagram.size.height());
    writeAttributes(svg, {{"width", width + QStringLiteral("pt")},
                          {"height", height + QStringLiteral("pt")},
                          {"viewBox", QStringLiteral("0 0 %1 %2").arg(width, height)},
                          {"font-family", QStringLiteral("sans-serif")},
                          {"font-size", number(line * 0.75)}});
    for (const PlacedLink &link : diagram.links)
        writeLink(svg, link);
    for (const PlacedTable &table : diagram.tables)
        writeTable(svg, table, line);
    svg.writeEndElement();
    svg.writeEndDocument();
    return bytes;
}
