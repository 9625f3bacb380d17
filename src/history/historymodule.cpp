// The history in SQLite, by Qt's SQL module.
#include "core/session/historystore.h"

#include <QFile>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QUuid>

namespace {

constexpr qsizetype longestStatement = 100'000;
constexpr int cleanEvery = 200; // entries

// As SQLite's lower() does it: of ASCII letters alone. Never null, which SQLite compares with nothing.
QString lowered(const QString &text)
{
    QString lower = QStringLiteral("");
    for (const QChar c : text)
        lower += c.unicode() < 128 ? c.toLower() : c;
    return lower;
}

// The connection's name is taken off only once nothing uses the connection any more.
class Database {
public:
    explicit Database(const QString &path)
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), m_name);
        database.setDatabaseName(path);
        // Another program of this folder may be writing.
        database.setConnectOptions(QStringLiteral("QSQLITE_BUSY_TIMEOUT=500"));
        database.open();
    }
    ~Database() { QSqlDatabase::removeDatabase(m_name); }
    QSqlDatabase get() const { return QSqlDatabase::database(m_name, false); }

private:
    const QString m_name = QUuid::createUuid().toString();
};

class SqliteHistory : public HistoryStore {
public:
    SqliteHistory(const QString &path, int most)
        : m_database(path)
        , m_most(most)
    {
    }

    bool prepare(QString &why)
    {
        QSqlDatabase database = m_database.get();
        if (!database.isOpen()) {
            why = database.lastError().text();
            return false;
        }
        QSqlQuery query(database);
        for (const char *statement :
             {"pragma journal_mode = wal", "pragma synchronous = normal",
              "create table if not exists statements (id integer primary key autoincrement, time integer not "
              "null, server text, db text, statement text not null, error text, microseconds integer, "
              "row_count integer, name text)",
              "create index if not exists statements_name on statements (name) where name is not null"}) {
            if (!query.exec(QLatin1String(statement))) {
                why = query.lastError().text();
                return false;
            }
        }
        return true;
    }

    void add(const HistoryEntry &entry) override
    {
        if (entry.statement.size() > longestStatement)
            return;
        QSqlQuery query(m_database.get());
        query.prepare(
            QStringLiteral("insert into statements (time, server, db, statement, error, microseconds, "
                           "row_count) values (?, ?, ?, ?, ?, ?, ?)"));
        for (const QVariant &value :
             {QVariant(entry.time.toMSecsSinceEpoch()), QVariant(entry.server), QVariant(entry.database),
              QVariant(entry.statement), QVariant(entry.error), QVariant(entry.microseconds),
              QVariant(entry.rows)})
            query.addBindValue(value);
        query.exec();
        if (++m_added % cleanEvery == 1)
            forgetOldest();
    }

    std::vector<HistoryEntry> find(const QString &text, int most) override
    {
        QSqlQuery query(m_database.get());
        query.setForwardOnly(true);
        query.prepare(QStringLiteral(
            "select id, time, server, db, statement, error, microseconds, row_count, name from statements "
            "where :text = '' or instr(lower(statement), :text) or instr(lower(coalesce(name, '')), :text) "
            "or "
            "instr(lower(coalesce(db, '')), :text) or instr(lower(coalesce(server, '')), :text) "
            "order by name is null, id desc limit :most"));
        query.bindValue(QStringLiteral(":text"), lowered(text));
        query.bindValue(QStringLiteral(":most"), most);
        std::vector<HistoryEntry> entries;
        if (!query.exec())
            return entries;
        while (query.next())
            entries.push_back(
                {query.value(0).toLongLong(), QDateTime::fromMSecsSinceEpoch(query.value(1).toLongLong()),
                 query.value(2).toString(), query.value(3).toString(), query.value(4).toString(),
                 query.value(5).toString(), query.value(6).toLongLong(), query.value(7).toLongLong(),
                 query.value(8).toString()});
        return entries;
    }

    void setName(qint64 id, const QString &name) override
    {
        QSqlQuery query(m_database.get());
        query.prepare(QStringLiteral("update statements set name = ? where id = ?"));
        query.addBindValue(name.isEmpty() ? QVariant() : QVariant(name));
        query.addBindValue(id);
        query.exec();
    }

    void remove(qint64 id) override
    {
        QSqlQuery query(m_database.get());
        query.prepare(QStringLiteral("delete from statements where id = ?"));
        query.addBindValue(id);
        query.exec();
    }

private:
    void forgetOldest()
    {
        QSqlQuery query(m_database.get());
        query.exec(QStringLiteral("delete from statements where name is null and id <= (select id from "
                                  "statements where name is null order by id desc limit 1 offset %1)")
                       .arg(m_most));
    }

    const Database m_database;
    const int m_most;
    int m_added = 0;
};

} // namespace

class SqliteHistoryModule : public QObject, public HistoryModule {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID "tarnwell.HistoryModule/1")
    Q_INTERFACES(HistoryModule)

public:
    std::unique_ptr<HistoryStore> open(const QString &path, int most, QString &why) override
    {
        // Made before SQLite does: for its owner alone, as the journal beside it is then, too.
        QFile file(path);
        if (!file.exists() && file.open(QIODevice::WriteOnly | QIODevice::NewOnly))
            file.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        file.close();
        auto store = std::make_unique<SqliteHistory>(path, most);
        if (!store->prepare(why))
            return nullptr;
        return store;
    }
};

#include "historymodule.moc"
