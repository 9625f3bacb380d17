// Changes every table, view and routine of the databases of a throw-away server through the commands: as it
// is, with an edit, and back. Prints what is not as before.
//     foreign_definitions mariadb|mysql56|mysql9 [database=file.sql ...]
#include "core/command/definition.h"
#include "maintenance/routines.h"
#include "maintenance/stage.h"
#include "maintenance/tablechange/tablechange.h"

#include <QProcess>
#include <QRegularExpression>

#include <cstdio>
#include <map>

namespace {

void say(const QString &line)
{
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

struct Object {
    QString database, tag, name;
    bool isTable() const { return tag == u"[TABLE]"; }
    bool isRoutine() const { return tag == u"[PROC]" || tag == u"[FUNC]"; }
    QString title() const { return tag + u' ' + database + u'.' + name; }
    QString quoted() const { return quotedName(database, name); }
};

// Every object once, and what became of it.
class Trial {
public:
    explicit Trial(const TestServer &server)
        : m_server(server)
        , m_sql(server)
    {
    }

    void tryDatabase(const QString &database);
    void printTotals() const;
    bool isAllKept() const { return m_isAllKept; }

private:
    std::vector<Object> objectsOf(const QString &database) const;
    void prepare(const Object &object) const;
    QString state(const Object &object) const;
    QString tryObject(RealStage &stage, const Object &object);
    QString change(RealStage &stage, const Object &object, const QString &text);
    void useOwnText(RealStage &stage, const Object &object) const;

    const TestServer &m_server;
    DirectConnection m_sql;
    std::map<QString, int> m_totals;
    bool m_isAllKept = true;
};

std::vector<Object> Trial::objectsOf(const QString &database) const
{
    std::vector<Object> objects;
    const QString schema = quotedText(database);
    const QString list = m_sql("select table_name, if(table_type like '%VIEW','[VIEW]','[TABLE]') from "
                               "information_schema.tables "
                               "where table_schema=" +
                               schema + " order by 2, 1") +
                         u'\n' +
                         m_sql("select routine_name, if(routine_type='PROCEDURE','[PROC]','[FUNC]') from "
                               "information_schema.routines where routine_schema=" +
                               schema + " and routine_type in ('PROCEDURE','FUNCTION') order by 2, 1");
    for (const QString &line : list.split(u'\n', Qt::SkipEmptyParts))
        objects.push_back({database, line.section(u'\t', 1, 1), line.section(u'\t', 0, 0)});
    return objects;
}

// Rows and rights that a change could lose.
void Trial::prepare(const Object &object) const
{
    const auto attempt = [this](const QString &statement) {
        try {
            m_sql(statement);
        } catch (const Failure &) {
            // Not every table takes such a row.
        }
    };
    if (object.isTable()) {
        attempt("insert ignore into " + object.quoted() + " () values ()");
        attempt("insert ignore into " + object.quoted() + " () values ()");
    } else if (object.isRoutine()) {
        attempt("grant execute on " + QString(object.tag == "[PROC]" ? "procedure " : "function ") +
                object.quoted() + " to reader@localhost");
    }
}

QString Trial::state(const Object &object) const
{
    if (object.isRoutine())
        return m_sql(QString(object.tag == "[PROC]" ? "show create procedure " : "show create function ") +
                     object.quoted()) +
               '\n' +
               m_sql("select User, Host, Proc_priv from mysql.procs_priv where Db=" +
                     quotedText(object.database) + " and Routine_name=" + quotedText(object.name) +
                     " order by 1, 2");
    QString text = m_sql("show create table " + object.quoted());
    if (!object.isTable())
        return text;
    static const QRegularExpression counter(QStringLiteral(" AUTO_INCREMENT=\\d+"));
    // A column that says the collation, as MySQL 9 writes one that has it from its table, is shown with both.
    static const QRegularExpression characterSet(QStringLiteral(" CHARACTER SET \\w+(?= COLLATE )"));
    return text.remove(counter).remove(characterSet) + '\n' + m_sql("checksum table " + object.quoted()) +
           '\n' +
           m_sql("select trigger_name, action_statement, definer, sql_mode, character_set_client from "
                 "information_schema.triggers where event_object_schema=" +
                 quotedText(object.database) + " and event_object_table=" + quotedText(object.name));
}

void Trial::useOwnText(RealStage &stage, const Object &object) const
{
    const QString show = object.isRoutine() ? routineShowStatement(object.tag, object.database, object.name)
                                            : showCreateTable(qualifiedName(object.database, object.name));
    const QString own = withCrLf(readDefinition(stage.session.connection(), show).text);
    if (object.isRoutine())
        stage.selection.txtProc = stage.selection.lblCreateProc = own;
    else
        stage.selection.txtField = stage.selection.lblCreateTable = own;
}

// Empty when it was changed, else what the user was told or asked.
QString Trial::change(RealStage &stage, const Object &object, const QString &text)
{
    (object.isRoutine() ? stage.selection.txtProc : stage.selection.txtField) = text;
    stage.dialogue.chosen = -1;
    stage.dialogue.questions = 0;
    stage.run(object.isRoutine() ? Run(changeRoutine) : Run(changeTable));
    if (stage.told().startsWith(QStringLiteral("表示している文は")))
        return QStringLiteral("asked");
    const QStringList questions =
        stage.dialogue.questions == 1 ? QStringList() : QStringList(stage.dialogue.lastQuestion);
    if (stage.told() == QStringLiteral("変更しました。") && questions.isEmpty())
        return {};
    return (questions + stage.dialogue.told + QStringList{stage.dialogue.lastError}).join(u' ').simplified();
}

QString edited(const Object &object, QString text)
{
    if (object.isTable())
        return text.insert(text.indexOf(u'(') + 1, QStringLiteral("\r\n  zolt_new int,"));
    return text + (object.isRoutine() ? QStringLiteral(" /* edited */") : QStringLiteral("\r\n-- edited"));
}

QString withoutEdit(QString state)
{
    static const QRegularExpression edit(
        QStringLiteral("\n  `zolt_new` int(\\(11\\))? DEFAULT NULL,| /\\* edited \\*/"));
    return state.remove(edit).remove(QRegularExpression(QStringLiteral("\n[^\n\t]*\t\\d+(?=\n|$)")));
}

QString Trial::tryObject(RealStage &stage, const Object &object)
{
    prepare(object);
    QString before = state(object);
    const auto click = [&] {
        if (object.isRoutine())
            stage.clickRoutine(object.tag, object.name);
        else
            stage.clickTable(object.name);
    };
    click();
    const auto &shown = object.isRoutine() ? stage.selection.lblCreateProc : stage.selection.lblCreateTable;
    QString ending = QStringLiteral("kept");
    QString words = change(stage, object, shown);
    const bool isOwn = words == u"asked";
    if (isOwn) {
        ending = QStringLiteral("asked, kept by the server's own text");
        useOwnText(stage, object);
        words = change(stage, object, shown);
    }
    if (!words.isEmpty())
        ending = QStringLiteral("refused");
    QString after = state(object);
    // The shown text has no backticks; those that no name needs are gone then from a routine's body.
    if (after != before && !isOwn && withoutBackticks(after) == withoutBackticks(before)) {
        ending = QStringLiteral("kept but for backticks that no name needs");
        before = after;
    }
    if (after != before) {
        say(QStringLiteral("%1 is not as before:\n--- %2\n+++ %3\n%4")
                .arg(object.title(), before, after, words));
        m_isAllKept = false;
        return QStringLiteral("DIFFERENT");
    }
    if (!words.isEmpty()) {
        say(object.title() + QStringLiteral(": ") + words);
        return ending;
    }
    // The same with an edit, and back.
    click();
    if (isOwn)
        useOwnText(stage, object);
    const QString text = shown;
    words = change(stage, object, edited(object, text));
    if (!words.isEmpty() || withoutEdit(state(object)) != withoutEdit(before)) {
        say(QStringLiteral("%1, edited: %2\n--- %3\n+++ %4")
                .arg(object.title(), words, before, state(object)));
        m_isAllKept = false;
        return QStringLiteral("DIFFERENT when edited");
    }
    click();
    if (isOwn)
        useOwnText(stage, object);
    words = change(stage, object, text);
    if (!words.isEmpty() || state(object) != before) {
        say(QStringLiteral("%1, and back: %2\n--- %3\n+++ %4")
                .arg(object.title(), words, before, state(object)));
        m_isAllKept = false;
        return QStringLiteral("DIFFERENT when edited back");
    }
    return ending;
}

void Trial::tryDatabase(const QString &database)
{
    RealStage stage(m_server, nativeDriverName(), database);
    for (const Object &object : objectsOf(database)) {
        QString ending;
        try {
            ending = tryObject(stage, object);
        } catch (const Failure &error) {
            ending = QStringLiteral("not shown");
            say(object.title() + QStringLiteral(": ") + error.description());
        }
        ++m_totals[(object.isTable()     ? QStringLiteral("tables: ")
                    : object.isRoutine() ? QStringLiteral("routines: ")
                                         : QStringLiteral("views: ")) +
                   ending];
    }
}

void Trial::printTotals() const
{
    for (const auto &[what, count] : m_totals)
        say(QStringLiteral("%1 %2").arg(count, 6).arg(what));
}

// As the packages' own scripts do: what a server refuses is left out.
void load(const TestServer &server, const QString &database, const QString &file,
          const QString &beforeLoading)
{
    QProcess client;
    client.setStandardInputFile(file);
    client.setProcessChannelMode(QProcess::MergedChannels);
    client.start("mariadb", {"--no-defaults", "--skip-ssl", "--force", "--init-command=" + beforeLoading,
                             "-udemo", "-pdemo", "--socket=" + server.socketPath(), database});
    client.waitForFinished(-1);
    const QString said = QString::fromUtf8(client.readAll());
    const auto errors = said.count(QStringLiteral("\nERROR"));
    if (errors > 0)
        say(QStringLiteral("%1: %2 statements refused").arg(file).arg(errors));
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    const QString brand = arguments.isEmpty() ? QString() : arguments.takeFirst();
    TestServer server({"--sql-mode="}, brand == u"mysql9"    ? TestServer::Brand::MySql9
                                       : brand == u"mysql56" ? TestServer::Brand::MySql56
                                                             : TestServer::Brand::MariaDb);
    server.run(brand == u"mysql56" ? QStringLiteral("grant usage on *.* to reader@localhost")
                                   : QStringLiteral("create user reader@localhost"));
    QStringList databases;
    for (const QString &argument : arguments) {
        const QString database = argument.section(u'=', 0, 0);
        server.run("create database if not exists " + quotedName(database) + " character set utf8mb4");
        if (argument.contains(u'='))
            load(server, database, argument.section(u'=', 1),
                 brand == u"mariadb" ? "set max_statement_time=3" : "do 1");
        if (!databases.contains(database))
            databases << database;
    }
    Trial trial(server);
    for (const QString &database : databases) {
        say(QStringLiteral("== ") + database);
        trial.tryDatabase(database);
    }
    trial.printTotals();
    return trial.isAllKept() ? 0 : 1;
}
