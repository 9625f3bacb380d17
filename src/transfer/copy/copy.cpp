#include "transfer/copy/copy.h"

#include "core/command/storedcolumns.h"
#include "core/sql/answers.h"
#include "core/sql/statements.h"
#include "transfer/copy/brandtext.h"
#include "transfer/copy/sameserver.h"
#include "transfer/copy/serversink.h"
#include "transfer/dump/dump.h"
#include "transfer/load/scriptlook.h"

#include <QHash>
#include <QRegularExpression>

#include <algorithm>

namespace {

bool hasDatabase(Connection &connection, const QString &database)
{
    return !firstText(connection,
                      QStringLiteral("SELECT 1 FROM information_schema.SCHEMATA WHERE SCHEMA_NAME=%1")
                          .arg(quotedText(database)))
                .isEmpty();
}

// Objects of one kind share their names, tables and views among them.
QString roomOf(const QString &keyword)
{
    return keyword == u"VIEW" || keyword == u"SEQUENCE" ? QStringLiteral("TABLE") : keyword;
}

// What the target's database has: its keyword by room and name, in small letters where the server takes large
// ones for the same.
class TargetNames {
public:
    TargetNames(Connection &connection, const QString &database);

    QString key(const QString &keyword, const QString &name) const
    {
        const QString room = roomOf(keyword);
        const bool isOneCase = m_foldsTables || (room != u"TABLE" && room != u"TRIGGER");
        return room + u' ' + (isOneCase ? name.toLower() : name);
    }
    QString keywordAt(const QString &key) const { return m_keywords.value(key); }

private:
    void add(Connection &connection, const QString &statement);

    bool m_foldsTables;
    QHash<QString, QString> m_keywords;
};

TargetNames::TargetNames(Connection &connection, const QString &database)
    : m_foldsTables(firstText(connection, QStringLiteral("SELECT @@lower_case_table_names")) != u"0")
{
    const QString in = quotedText(database);
    add(connection,
        QStringLiteral("SELECT IF(TABLE_TYPE LIKE '%VIEW', 'VIEW', IF(TABLE_TYPE='SEQUENCE', 'SEQUENCE', "
                       "'TABLE')), TABLE_NAME FROM information_schema.TABLES WHERE TABLE_SCHEMA=") +
            in);
    add(connection, QStringLiteral("SELECT ROUTINE_TYPE, ROUTINE_NAME FROM information_schema.ROUTINES WHERE "
                                   "ROUTINE_SCHEMA=") +
                        in);
    add(connection, QStringLiteral("SELECT 'TRIGGER', TRIGGER_NAME FROM information_schema.TRIGGERS WHERE "
                                   "TRIGGER_SCHEMA=") +
                        in);
    add(connection,
        QStringLiteral("SELECT 'EVENT', EVENT_NAME FROM information_schema.EVENTS WHERE EVENT_SCHEMA=") + in);
}

void TargetNames::add(Connection &connection, const QString &statement)
{
    RecordSet rows = connection.execute(statement);
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext())
        m_keywords.insert(key(rows.text(0), rows.text(1)), rows.text(0));
}

// What would be dropped; throws where the names of the two do not go together.
QStringList existingOf(const std::vector<DumpObject> &plan, const TargetNames &names)
{
    QStringList existing;
    QHash<QString, QString> taken;
    for (const DumpObject &object : plan) {
        const QString key = names.key(object.keyword, object.name);
        if (taken.contains(key))
            throw Failure(QStringLiteral("コピー先のサーバーは名前の大文字と小文字を区別しないため、"
                                         "「%1」と「%2」を両方はコピーできません。")
                              .arg(taken[key], object.name));
        taken.insert(key, object.name);
        const QString there = names.keywordAt(key);
        if (there.isEmpty())
            continue;
        if (there != object.keyword)
            throw Failure(QStringLiteral("コピー先の「%1」は %2 ではなく %3 です。先に削除するか、名前を"
                                         "変えてください。")
                              .arg(object.name, object.keyword, there));
        existing << nameOf(object);
    }
    return existing;
}

// The triggers of a table go with it, also those that the source does not have.
void addTriggersOfExisting(QStringList &existing, Connection &connection, const QString &database)
{
    RecordSet rows =
        connection.execute(QStringLiteral("SELECT TRIGGER_NAME, EVENT_OBJECT_TABLE FROM "
                                          "information_schema.TRIGGERS WHERE TRIGGER_SCHEMA=%1 ORDER BY 1")
                               .arg(quotedText(database)));
    for (; rows.isOpen() && !rows.isEof(); rows.moveNext()) {
        const QString name = QStringLiteral("TRIGGER ") + rows.text(0);
        const QString table = QStringLiteral("TABLE ") + rows.text(1);
        if (existing.contains(table, Qt::CaseInsensitive) && !existing.contains(name, Qt::CaseInsensitive))
            existing << name;
    }
}

QStringList collationsOf(const std::vector<DumpObject> &plan)
{
    QStringList collations;
    for (const DumpObject &object : plan)
        addNewCollations(collations, object.definition.text);
    return collations;
}

// Before anything is made: has the target read each table's definition, and notes what it would not keep.
void tryTables(TargetLook &look, const std::vector<DumpObject> &plan, const ServerInfo &from, Connection &to,
               const QString &database)
{
    // Where the database is still to be made, MySQL 5.6 wants it for the names in foreign keys.
    constexpr int noDatabase = 1046, unknownDatabase = 1049, exists = 1050, cannotPrepare = 1295;
    QStringList refused;
    if (look.hasDatabase)
        to.execute(useStatement(database));
    to.execute(QStringLiteral("SET sql_mode='STRICT_ALL_TABLES,NO_ENGINE_SUBSTITUTION'"));
    for (const DumpObject &object : plan) {
        if (object.kind != DumpKind::Table)
            continue;
        const BrandText made =
            brandText(object.definition.text, readingMode(object.definition.sqlMode), from, to.server());
        look.changes += made.changes;
        std::string statement = QString(made.text)
                                    .replace(QRegularExpression(QStringLiteral("^CREATE TABLE (?=`)")),
                                             QStringLiteral("CREATE TABLE %1.").arg(quotedName(database)))
                                    .toStdString();
        replaceCollations(statement, to.server()); // which are asked about
        try {
            to.execute(QStringLiteral("PREPARE tarnwell FROM ") +
                       quotedText(QString::fromStdString(statement)));
            to.execute(QStringLiteral("DEALLOCATE PREPARE tarnwell"));
        } catch (const Failure &error) {
            if (error.isInterrupted() || error.isConnectionLost())
                throw;
            const bool isAboutText = error.number() != noDatabase && error.number() != unknownDatabase &&
                                     error.number() != exists && error.number() != cannotPrepare;
            if (isAboutText)
                refused << QStringLiteral("「%1」: %2").arg(object.name, error.description());
        }
    }
    if (!refused.isEmpty())
        throw Failure(QStringLiteral("コピー先のサーバーは、次のテーブルの定義を受け付けません。"
                                     "コピー先は変更していません。\r\n") +
                      refused.join(QStringLiteral("\r\n")));
}

DumpOptions optionsFor(Session &to, const CopyOptions &options, const TargetLook &agreed)
{
    DumpOptions what = options.what;
    what.createsDatabase = false;
    what.hasStructure = true;
    what.drops = !agreed.existing.isEmpty();
    what.dropsOnly = agreed.existing;
    // A statement that is larger than the server takes costs the connection.
    const int largest =
        firstText(to.connection(), QStringLiteral("SELECT @@max_allowed_packet")).toInt() / 4 * 3;
    if (largest > 0)
        what.insertBytes = std::min(what.insertBytes, largest);
    return what;
}

void makeDatabase(Session &from, Session &to, const CopyOptions &options, const ServerSink::Rewrite &rewrite)
{
    const auto ask = [&](const char *column) {
        return firstText(from.connection(),
                         QStringLiteral("SELECT %1 FROM information_schema.SCHEMATA WHERE SCHEMA_NAME=%2")
                             .arg(QLatin1String(column), quotedText(options.what.database)));
    };
    std::string statement = QStringLiteral("CREATE DATABASE %1 CHARACTER SET %2 COLLATE %3")
                                .arg(quotedName(options.database), ask("DEFAULT_CHARACTER_SET_NAME"),
                                     ask("DEFAULT_COLLATION_NAME"))
                                .toStdString();
    if (rewrite)
        rewrite(statement);
    to.connection().execute(QString::fromStdString(statement));
}

QStringList replacedTables(const TargetLook &look)
{
    QStringList names;
    for (const QString &existing : look.existing)
        for (const QString &keyword : {QStringLiteral("TABLE "), QStringLiteral("SEQUENCE ")})
            if (existing.startsWith(keyword))
                names << existing.mid(keyword.size());
    return names;
}

// What the target has when the copy ends before its time.
QString whatIsThere(const TransferStatus &status, bool hasBegun, std::optional<ServerSink> &sink)
{
    if (!hasBegun)
        return QStringLiteral("\r\nコピー先は変更していません。");
    const bool isStaged = sink && sink->staging().isUsed();
    const QString places = isStaged ? sink->staging().giveUp() : QString();
    if (isStaged && !sink->staging().hasChangedPlaces())
        return places;
    QString text =
        places +
        QStringLiteral("\r\nコピー先には、ここまでにコピーした %1 個が残っています。").arg(status.finished);
    if (status.finished < status.objects)
        text += QStringLiteral("「%1」は途中か、まだありません。").arg(status.object);
    return text;
}

} // namespace

TargetLook lookAtTarget(Session &from, Session &to, const CopyOptions &options)
{
    const bool isSameName = options.database.compare(options.what.database, Qt::CaseInsensitive) == 0;
    if (isSameName && isSameServer(from.connection(), to.connection()))
        throw Failure(QStringLiteral("コピー元とコピー先は、同じサーバーの同じデータベース「%1」です。"
                                     "コピーしません。")
                          .arg(options.database));
    TargetLook look;
    look.role = readServerRole(to.connection());
    look.hasDatabase = hasDatabase(to.connection(), options.database);
    from.connection().execute(useStatement(options.what.database));
    from.connection().execute(setStatement(exactVariables(from.connection().server())));
    const std::vector<DumpObject> plan = readDumpPlan(from.connection(), options.what);
    look.tables =
        std::ranges::count_if(plan, [](const DumpObject &object) { return object.kind <= DumpKind::Table; });
    look.existing = existingOf(plan, TargetNames(to.connection(), options.database));
    addTriggersOfExisting(look.existing, to.connection(), options.database);
    look.unknownCollations = unknownCollations(collationsOf(plan), to.connection().server());
    for (const DumpObject &object : plan)
        if (object.isBroken)
            look.brokenViews << object.name;
    tryTables(look, plan, from.connection().server(), to.connection(), options.database);
    return look;
}

TransferReport copyObjects(Session &from, Session &to, const CopyOptions &options, const TargetLook &agreed,
                           const ReportProgress &report)
{
    TransferStatus last;
    bool hasBegun = false;
    std::optional<ServerSink> sink;
    try {
        // Again, over these connections: another time a balancer leads elsewhere.
        const TargetLook look = lookAtTarget(from, to, options);
        for (const QString &name : look.existing)
            if (!agreed.existing.contains(name))
                throw Failure(
                    QStringLiteral("コピー先に「%1」ができています。もう一度実行してください。").arg(name));
        ServerSink::Rewrite rewrite;
        if (options.replacesCollations)
            rewrite = [server = to.connection().server()](std::string &statement) {
                return replaceCollations(statement, server);
            };
        if (!look.hasDatabase)
            makeDatabase(from, to, options, rewrite);
        to.connection().execute(useStatement(options.database));
        sink.emplace(to, from.connection().server(), options.database, replacedTables(look), look.tables,
                     rewrite);
        sink->staging().requireRights();
        const DumpReport done =
            dump(from, optionsFor(to, options, look), *sink, [&](const TransferStatus &status) {
                hasBegun = true;
                last = status;
                report(status);
            });
        sink->staging().finish();
        const QStringList left = sink->staging().leftBehind();
        const QString notes =
            notesOf(done) +
            (left.isEmpty()
                 ? QString()
                 : QStringLiteral("\n以前に途中で終わったコピーの作業用のテーブルが残っています: ") +
                       left.join(QStringLiteral(", ")));
        return {QStringLiteral("データベース「%1」に %2 個のオブジェクト、%3 行をコピーしました。")
                        .arg(options.database)
                        .arg(done.objects)
                        .arg(done.rows) +
                    notes,
                !notes.isEmpty()};
    } catch (const Failure &error) {
        const QString words = error.description() + whatIsThere(last, hasBegun, sink);
        if (hasBegun)
            throw HalfDone(words, error.number(), error.state());
        throw Failure(words, error.number(), error.state());
    }
}
