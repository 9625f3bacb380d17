// Changes every table, view and routine of the databases of a throw-away server through the commands: as it
// is, with an edit, and back. Prints what is not as before.
//     foreign_definitions mariadb|mysql56|mysql9 [database=file.sql ...]
#include "core/command/definition.h"
#include "maintenance/tablechange/tablechange.h"
#include "support/gui/stage.h"

#include <QProcess>

#include <cstdio>

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
    QString show() const
    {
        return isRoutine() ? routineShowStatement(tag, database, name)
                           : showCreateTable(qualifiedName(database, name));
    }
    void click(RealStage &stage) const
    {
        isRoutine() ? stage.clickRoutine(tag, name) : stage.clickTable(name);
    }
    QString &text(Selection &selection) const { return isRoutine() ? selection.txtProc : selection.txtField; }
    QString &shown(Selection &selection) const
    {
        return isRoutine() ? selection.lblCreateProc : selection.lblCreateTable;
    }
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

    std::map<QString, int> totals;
    bool isAllKept = true;

private:
    std::vector<Object> objectsOf(const QString &database) const;
    void prepare(const Object &object) const;
    QString state(const Object &object) const;
    QString tryObject(RealStage &stage, const Object &object);
    QString change(RealStage &stage, const Object &object, const QString &text) const;

    const TestServer &m_server;
    DirectConnection m_sql;
};

std::vector<Object> Trial::objectsOf(const QString &database) const
{
    std::vector<Object> objects;
    const QString list =
        m_sql(QStringLiteral("select table_name, if(table_type like '%VIEW','[VIEW]','[TABLE]') from "
                             "information_schema.tables where table_schema=%1 union all "
                             "select routine_name, if(routine_type='PROCEDURE','[PROC]','[FUNC]') from "
                             "information_schema.routines where routine_schema=%1 and routine_type in "
                             "('PROCEDURE','FUNCTION') order by 2, 1")
                  .replace("%1", quotedText(database)));
    for (const QString &line : list.split(u'\n', Qt::SkipEmptyParts))
        objects.push_back({database, line.section(u'\t', 1, 1), line.section(u'\t', 0, 0)});
    return objects;
}

// Rows and rights that a change could lose.
void Trial::prepare(const Object &object) const
{
    try {
        if (object.isTable())
            m_sql("insert ignore into " + object.quoted() + " () values (), ()");
        else if (object.isRoutine())
            m_sql("grant execute on " + QString(object.tag == "[PROC]" ? "procedure " : "function ") +
                  object.quoted() + " to reader@localhost");
    } catch (const Failure &) {
        // Not every table takes such rows.
    }
}

QString Trial::state(const Object &object) const
{
    const QString where = QStringLiteral("_schema=%1 and event_object_table=%2")
                              .arg(quotedText(object.database), quotedText(object.name));
    if (object.isRoutine())
        return m_sql(object.show()) + '\n' +
               m_sql("select User, Host, Proc_priv from mysql.procs_priv where Db=" +
                     quotedText(object.database) + " and Routine_name=" + quotedText(object.name) +
                     " order by 1, 2");
    QString text = m_sql("show create table " + object.quoted());
    if (!object.isTable())
        return text;
    // A counter goes on; a column that says the collation, as MySQL 9 writes one that has it from its table,
    // is shown with both.
    static const QRegularExpression noise(
        QStringLiteral(" AUTO_INCREMENT=\\d+| CHARACTER SET \\w+(?= COLLATE )"));
    return text.remove(noise) + '\n' + m_sql("checksum table " + object.quoted()) + '\n' +
           m_sql("select trigger_name, action_statement, definer, sql_mode, character_set_client from "
                 "information_schema.triggers where event_object" +
                 where);
}

// Empty when it was changed, else what the user was told or asked.
QString Trial::change(RealStage &stage, const Object &object, const QString &text) const
{
    object.text(stage.selection) = text;
    stage.dialogue.chosen = -1;
    stage.dialogue.questions = 0;
    stage.run(object.isRoutine() ? changeRoutine : changeTable);
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

// As it is, with an edit, and back.
QString Trial::tryObject(RealStage &stage, const Object &object)
{
    prepare(object);
    QString before = state(object), text, ending = QStringLiteral("kept");
    bool isOwn = false;
    for (const QString step : {"", "edited", "edited back"}) {
        object.click(stage);
        const auto useOwnText = [&] {
            object.shown(stage.selection) =
                withCrLf(readDefinition(stage.session.connection(), object.show()).text);
        };
        if (isOwn)
            useOwnText();
        if (step != u"edited back")
            text = object.shown(stage.selection);
        QString words = change(stage, object, step == u"edited" ? edited(object, text) : text);
        if (words == u"asked") {
            isOwn = true;
            ending = QStringLiteral("asked, kept by the server's own text");
            useOwnText();
            words = change(stage, object, object.shown(stage.selection));
        }
        const QString after = state(object);
        // The shown text has no backticks; those that no name needs are gone then from a routine's body.
        if (step.isEmpty() && !isOwn && after != before &&
            withoutBackticks(after) == withoutBackticks(before)) {
            ending = QStringLiteral("kept but for backticks that no name needs");
            before = after;
        }
        const bool isSame = step == u"edited" ? withoutEdit(after) == withoutEdit(before) : after == before;
        if (!isSame || (!words.isEmpty() && !step.isEmpty())) {
            say(QStringLiteral("%1 %2 is not as before: %3\n--- %4\n+++ %5")
                    .arg(object.title(), step, words, before, after));
            isAllKept = false;
            return (QStringLiteral("DIFFERENT ") + step).trimmed();
        }
        if (!words.isEmpty()) {
            say(object.title() + QStringLiteral(": ") + words);
            return QStringLiteral("refused");
        }
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
        ++totals[(object.isTable() ? "tables: " : object.isRoutine() ? "routines: " : "views: ") + ending];
    }
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
    for (const auto &[what, count] : trial.totals)
        say(QStringLiteral("%1 %2").arg(count, 6).arg(what));
    return trial.isAllKept ? 0 : 1;
}
