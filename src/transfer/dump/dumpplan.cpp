#include "transfer/dump/dumpplan.h"

#include "core/command/tablekind.h"
#include "core/sql/statements.h"

#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <functional>
#include <iterator>

namespace {

QString optional(const RecordSet &rows, int column)
{
    return rows.isNull(column) ? QString() : rows.text(column);
}

DumpObject tableOrView(const RecordSet &rows)
{
    const QString type = rows.text(1);
    DumpObject object{DumpKind::Table, QStringLiteral("TABLE"), rows.text(0), {}};
    if (type.contains(u"VIEW"))
        object.kind = DumpKind::View, object.keyword = QStringLiteral("VIEW");
    else if (type == u"SEQUENCE")
        object.kind = DumpKind::Sequence, object.keyword = type;
    object.engine = optional(rows, 2);
    object.expectedRows = optional(rows, 3).toLongLong();
    object.isVersioned = type == u"SYSTEM VERSIONED";
    return object;
}

std::vector<DumpObject> listTables(Connection &connection, const DumpOptions &options)
{
    RecordSet rows =
        connection.execute(QStringLiteral("SELECT TABLE_NAME, TABLE_TYPE, ENGINE, TABLE_ROWS FROM "
                                          "information_schema.TABLES WHERE TABLE_SCHEMA=%1 AND "
                                          "TABLE_TYPE<>'TEMPORARY' ORDER BY TABLE_NAME")
                               .arg(quotedText(options.database)));
    std::vector<DumpObject> objects;
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        if (options.objects.isEmpty() || options.objects.contains(rows.text(0)))
            objects.push_back(tableOrView(rows));
    for (const QString &name : options.objects)
        if (std::ranges::find(objects, name, &DumpObject::name) == objects.end())
            throw Failure(
                QStringLiteral("「%1」がデータベース「%2」にありません。").arg(name, options.database));
    return objects;
}

// The statement gives a keyword and a name, in an order in which they can be made.
void addNamed(std::vector<DumpObject> &objects, Connection &connection, DumpKind kind,
              const QString &statement)
{
    RecordSet rows = connection.execute(statement);
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        objects.push_back({kind, rows.text(0), rows.text(1), {}});
}

void addTriggers(std::vector<DumpObject> &objects, Connection &connection, const DumpOptions &options)
{
    RecordSet rows = connection.execute(
        QStringLiteral("SELECT TRIGGER_NAME, EVENT_OBJECT_TABLE FROM information_schema.TRIGGERS WHERE "
                       "TRIGGER_SCHEMA=%1 ORDER BY EVENT_OBJECT_TABLE, ACTION_TIMING, EVENT_MANIPULATION, "
                       "ACTION_ORDER")
            .arg(quotedText(options.database)));
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        if (options.objects.isEmpty() || options.objects.contains(rows.text(1)))
            objects.push_back({DumpKind::Trigger, QStringLiteral("TRIGGER"), rows.text(0), {}});
}

// In the server's own words a view names what it reads from behind FROM or JOIN, or behind "(" before them;
// columns stand behind the name of their table.
QSet<QString> readBy(const DumpObject &view)
{
    QSet<QString> names;
    QString before;
    bool isBehindSource = false;
    for (const Token &token : sqlTokens(view.definition.text)) {
        if (token.kind == TokenKind::Blank)
            continue;
        const QString text = view.definition.text.mid(token.start, token.length);
        const bool isSource = before.compare(u"FROM", Qt::CaseInsensitive) == 0 ||
                              before.compare(u"JOIN", Qt::CaseInsensitive) == 0 ||
                              before.compare(u"STRAIGHT_JOIN", Qt::CaseInsensitive) == 0 || before == u"(" ||
                              (before == u"." && isBehindSource);
        if (token.kind == TokenKind::Name && isSource)
            names.insert(text.mid(1, text.size() - 2).replace(QStringLiteral("``"), QStringLiteral("`")));
        if (text != u".")
            isBehindSource = isSource;
        before = text;
    }
    return names;
}

// The server gives the text of such a view all the same.
bool isBrokenView(Connection &connection, const QString &database, const QString &view)
{
    constexpr int brokenView = 1356;
    try {
        connection.execute(QStringLiteral("SHOW FIELDS FROM ") + quotedName(database, view));
        return false;
    } catch (const Failure &error) {
        if (error.isInterrupted() || error.isConnectionLost())
            throw;
        return error.number() == brokenView;
    }
}

} // namespace

bool DumpObject::hasOwnRows() const
{
    return kind == DumpKind::Table && !keepsRowsElsewhere(engine);
}

QString nameOf(const DumpObject &object)
{
    return object.keyword + u' ' + object.name;
}

void sortViews(std::vector<DumpObject> &views)
{
    std::vector<DumpObject> sorted;
    std::vector<bool> isTaken(views.size());
    const std::function<void(std::size_t)> take = [&](std::size_t at) {
        if (isTaken[at])
            return;
        isTaken[at] = true; // before it is in: names that only look like a circle end here
        const QSet<QString> sources = readBy(views[at]);
        for (std::size_t other = 0; other < views.size(); ++other)
            if (sources.contains(views[other].name))
                take(other);
        sorted.push_back(views[at]);
    };
    for (std::size_t at = 0; at < views.size(); ++at)
        take(at);
    views = std::move(sorted);
}

ObjectDefinition readObject(Connection &connection, const QString &database, const DumpObject &object)
{
    const auto refuse = [&object](const QString &why, int number = 0, const QString &state = {}) {
        throw Failure(
            QStringLiteral("%1「%2」の定義を読めません。\r\n%3").arg(object.keyword, object.name, why),
            number, state);
    };
    ObjectDefinition definition;
    try {
        definition = readDefinition(
            connection,
            QStringLiteral("SHOW CREATE %1 %2").arg(object.keyword, quotedName(database, object.name)));
    } catch (const Failure &error) {
        if (error.isInterrupted())
            throw;
        refuse(error.description(), error.number(), error.state());
    }
    // Whoever may run a routine without owning it is given NULL.
    if (definition.text.isEmpty())
        refuse(QStringLiteral("権限がありません。"));
    return definition;
}

bool isSameDefinition(const ObjectDefinition &left, const ObjectDefinition &right)
{
    static const QRegularExpression counter(QStringLiteral("(\\n\\) ENGINE=\\w+) AUTO_INCREMENT=\\d+"));
    const auto plain = [](ObjectDefinition definition) {
        if (definition.kind == u"Table")
            definition.text.replace(counter, QStringLiteral("\\1"));
        return definition;
    };
    return plain(left) == plain(right);
}

std::vector<DumpObject> listDumpObjects(Connection &connection, const DumpOptions &options)
{
    std::vector<DumpObject> objects = listTables(connection, options);
    const QString database = quotedText(options.database);
    if (options.hasStructure && options.hasRoutines)
        addNamed(objects, connection, DumpKind::Routine,
                 QStringLiteral("SELECT ROUTINE_TYPE, ROUTINE_NAME FROM information_schema.ROUTINES WHERE "
                                "ROUTINE_SCHEMA=%1 ORDER BY ROUTINE_TYPE, ROUTINE_NAME")
                     .arg(database));
    if (options.hasStructure && options.hasTriggers)
        addTriggers(objects, connection, options);
    if (options.hasStructure && options.hasEvents)
        addNamed(objects, connection, DumpKind::Event,
                 QStringLiteral("SELECT 'EVENT', EVENT_NAME FROM information_schema.EVENTS WHERE "
                                "EVENT_SCHEMA=%1 ORDER BY EVENT_NAME")
                     .arg(database));
    if (!options.hasStructure)
        std::erase_if(objects, [](const DumpObject &each) { return !each.hasOwnRows(); });
    return objects;
}

void sortDumpObjects(std::vector<DumpObject> &objects)
{
    std::ranges::stable_sort(objects, {}, &DumpObject::kind);

    const auto isView = [](const DumpObject &each) { return each.kind == DumpKind::View; };
    const auto first = std::ranges::find_if(objects, isView);
    const auto last = std::find_if_not(first, objects.end(), isView);
    std::vector<DumpObject> views(first, last);
    sortViews(views);
    std::ranges::move(views, first);
}

std::vector<DumpObject> readDumpPlan(Connection &connection, const DumpOptions &options)
{
    std::vector<DumpObject> objects = listDumpObjects(connection, options);
    for (DumpObject &object : objects) {
        object.definition = readObject(connection, options.database, object);
        object.isBroken =
            object.kind == DumpKind::View && isBrokenView(connection, options.database, object.name);
    }
    sortDumpObjects(objects);
    // Whoever loads them stops there.
    std::ranges::stable_partition(objects, [](const DumpObject &each) { return !each.isBroken; });
    return objects;
}
