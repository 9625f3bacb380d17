#include "structure/compare/databasecompare.h"

#include "core/command/storedcolumns.h"
#include "core/sql/answers.h"
#include "core/sql/statements.h"
#include "core/sql/trackedsession.h"
#include "structure/alter/tablealter.h"
#include "structure/compare/objectlikeness.h"
#include "structure/compare/tablelikeness.h"

#include <algorithm>
#include <map>

namespace {

QStringList tableDifferences(const DumpObject &left, const DatabaseObjects &leftSide, const DumpObject &right,
                             const DatabaseObjects &rightSide, const CompareOptions &options)
{
    if (left.definition.text == right.definition.text && leftSide.collations == rightSide.collations)
        return {};
    try {
        const TableDefinition mine = tableDefinition(left.definition.text, {});
        return differences(
            mine,
            likeness({mine, leftSide.collations, leftSide.info},
                     {tableDefinition(right.definition.text, {}), rightSide.collations, rightSide.info},
                     options),
            {}, QStringLiteral("左: "), QStringLiteral("右: "));
    } catch (const Failure &) {
        return {QStringLiteral("定義")}; // no CREATE TABLE that can be taken apart
    }
}

} // namespace

DatabaseObjects readDatabase(Connection &connection, const QString &database, const QString &side,
                             const ReportProgress &report)
{
    DatabaseObjects read;
    read.database = database;
    read.info = connection.server();
    // Other names and quotes than these cannot be told apart.
    executeOwnForGood(connection, setStatement(exactVariables(read.info)));
    connection.execute(useStatement(database));
    read.collation = firstText(connection, QStringLiteral("SELECT @@collation_database"));
    for (RecordSet rows = connection.execute(QStringLiteral("SHOW CHARACTER SET")); !rows.isEof();
         rows.moveNext())
        read.collations[rows.text(0)] = rows.text(2);
    DumpOptions options;
    options.database = database;
    TransferStatus status;
    status.object = side;
    report(status);
    std::vector<DumpObject> objects = listDumpObjects(connection, options);
    status.objects = static_cast<int>(objects.size());
    for (DumpObject &object : objects) {
        status.object = side + u' ' + object.name;
        report(status);
        try {
            object.definition = readObject(connection, database, object);
            read.objects.push_back(std::move(object));
        } catch (const Failure &error) {
            if (error.isInterrupted() || error.isConnectionLost())
                throw;
            read.unreadable << side + QStringLiteral(": ") + error.description();
        }
        ++status.finished;
    }
    sortDumpObjects(read.objects);
    return read;
}

std::vector<ComparedObject> compare(const DatabaseObjects &left, const DatabaseObjects &right,
                                    const CompareOptions &options)
{
    using Where = ComparedObject::Where;
    const auto key = [](const DumpObject &object) { return std::pair{object.keyword, object.name}; };
    std::map<std::pair<QString, QString>, const DumpObject *> others;
    for (const DumpObject &object : right.objects)
        others[key(object)] = &object;
    std::vector<ComparedObject> found;
    for (const DumpObject &object : left.objects) {
        const auto other = others.find(key(object));
        if (other == others.end()) {
            found.push_back({Where::OnlyLeft, object.kind, object.keyword, object.name, object, {}, {}});
            continue;
        }
        const DumpObject &same = *other->second;
        const QStringList lines = object.kind == DumpKind::Table
                                      ? tableDifferences(object, left, same, right, options)
                                      : objectDifferences(object.definition, left.collation, same.definition,
                                                          right.collation, options);
        if (!lines.isEmpty())
            found.push_back({Where::Differs, object.kind, object.keyword, object.name, object, same, lines});
        others.erase(other);
    }
    for (const DumpObject &object : right.objects)
        if (others.contains(key(object)))
            found.push_back({Where::OnlyRight, object.kind, object.keyword, object.name, {}, object, {}});
    std::ranges::stable_sort(found, {}, &ComparedObject::kind);
    return found;
}
