#pragma once

#include "support/gui/stage.h"

#include <map>
#include <optional>

inline QStringList hostileNames()
{
    return QStringLiteral(
               "keep\tx|`keep`|\"keep\"|keep--\x01|keep-x|keep 5|keep "
               "x|keep\u00A0\u202E|15|a`b|it's|a\"b|a/b|a\\b|select|%s%1|<b>x</b>|1e5|keep, a|keep;|表| "
               "keep|　keep|d.keep|a/**/|a?b|keep use_frm|keep -- x|😀|keep limit 1 -- x")
               .split(u'|')
           << QString(64, u'n');
}

// A server of which all is watched: everything on it by its name ("d.table", "d.routine()", "d." a database,
// "user@host", "user@host d.table" a grant), with all that may be changed of it.
class WatchedServer {
public:
    using Objects = std::map<QString, QString>;

    WatchedServer() { sql("set sql_mode=''"); }

    const TestServer &server() const { return m_server; }

    QString sql(const QString &statement)
    {
        m_last.reset();
        return m_direct(statement);
    }
    bool tries(const QString &statement)
    {
        try {
            sql(statement);
            return true;
        } catch (const Failure &) {
            return false;
        }
    }

    // The database d, with what a statement that goes astray would hit.
    void setUp()
    {
        for (const char *statement :
             {"create or replace database d", "use d", "create table a (x int, y varchar(9)) engine=MyISAM",
              "insert into a values (1,'一'),(2,'二')", "create table keep engine=MyISAM select * from a",
              "create table b engine=MyISAM select * from a", "create procedure keep() select 1",
              "create procedure a() select 1",
              "create or replace user u identified by 'p', victim identified by 'p'",
              "grant select on *.* to victim, u", "grant select on d.* to victim",
              "grant select on d.keep to victim"})
            sql(QString::fromUtf8(statement));
    }
    // Makes an object of each hostile name in d; the names that the server took.
    QStringList make(const QString &kind, const QString &body)
    {
        QStringList names;
        for (const QString &name : hostileNames()) {
            if (tries("create " + kind + u' ' + quotedName("d", name) + body))
                names << name;
        }
        return names;
    }

    const Objects &objects()
    {
        if (!m_last)
            m_last = read();
        return *m_last;
    }
    QString object(const QString &name)
    {
        const auto found = objects().find(name);
        return found == objects().end() ? QString() : found->second;
    }

    // Fails when the action changes anything but what is named.
    template <class Action>
    void watch(const Action &action, const QStringList &own, const QString &what)
    {
        Objects before = objects();
        action();
        m_last.reset();
        Objects after = objects();
        for (const QString &name : own) {
            before.erase(name);
            after.erase(name);
        }
        for (const auto &[name, value] : before)
            QVERIFY2(after.contains(name) && after[name] == value, qPrintable(what + " changed " + name));
        for (const auto &[name, value] : after)
            QVERIFY2(before.contains(name), qPrintable(what + " made " + name));
    }

private:
    // MyISAM: CHECK_TIME tells whether a table was checked, optimised or repaired.
    Objects read()
    {
        const QString query =
            "select concat(table_schema, '.', table_name), concat_ws('|', table_type, check_time), "
            "if(table_type = 'BASE TABLE', table_name, '') "
            "from information_schema.tables where table_schema%1 union all "
            "select concat(table_schema, '.', table_name), concat_ws('|', column_name, column_type), '' "
            "from information_schema.columns where table_schema%1 union all "
            "select concat(routine_schema, '.', routine_name, '()'), routine_definition, '' "
            "from information_schema.routines where routine_schema%1 union all "
            "select concat(schema_name, '.'), '', '' from information_schema.schemata union all "
            "select concat(user, '@', host), priv, '' from mysql.global_priv union all "
            "select concat(user, '@', host, ' ', db), concat_ws('|', select_priv, insert_priv), '' "
            "from mysql.db union all "
            "select concat(user, '@', host, ' ', db, '.', table_name), table_priv, '' from "
            "mysql.tables_priv";
        RecordSet rows = m_direct.rows(QString(query).replace(
            "%1", " not in ('mysql','sys','information_schema','performance_schema')"));
        Objects found;
        QStringList tables;
        for (; !rows.isEof(); rows.moveNext()) {
            const QString name = rows.text(0);
            found[name] += rows.text(1) + u'\n';
            if (const QString table = rows.text(2); !table.isEmpty())
                tables << quotedName(name.chopped(table.size() + 1), table);
        }
        rows = m_direct.rows("checksum table " + tables.join(u','));
        for (; !rows.isEof(); rows.moveNext())
            found[rows.text(0)] += rows.isNull(1) ? QString() : rows.text(1);
        return found;
    }

    TestServer m_server{{"--debug-no-sync"}};
    const DirectConnection m_direct{m_server};
    std::optional<Objects> m_last;
};
