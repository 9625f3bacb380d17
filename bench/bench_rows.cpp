// Saving 1,000 changed rows, and the next page of a large table, as the data viewer does them and as a bare
// loop sends the same statements.
#include "bareloops.h"
#include "benchdata.h"
#include "benchsession.h"
#include "controls/grid/flexgrid.h"
#include "core/sql/statements.h"
#include "measurement.h"
#include "rows/rowreading.h"
#include "rows/rowsview.h"
#include "support/scripteddialogue.h"
#include "support/testserver.h"
#include "table.h"

#include <QApplication>
#include <QClipboard>
#include <QElapsedTimer>
#include <QInputDialog>
#include <QTest>
#include <QTimer>

namespace {

constexpr int pageRows = 1000;

Measurement timed(const std::function<void()> &job)
{
    double seconds = 0;
    Measurement result = measure([&] {
        QElapsedTimer clock;
        clock.start();
        job();
        seconds = static_cast<double>(clock.nsecsElapsed()) / 1e9;
    });
    result.seconds = seconds;
    return result;
}

double secondsOfBare(const QStringList &arguments, const QStringList &statements)
{
    return arguments[2] == u"native" ? BareNative::secondsFor(arguments[5].toInt(), statements)
                                     : BareOdbc::secondsFor(arguments[4], statements);
}

Measurement bare(const QStringList &arguments, const QStringList &statements)
{
    double seconds = 0;
    Measurement result = measure([&] { seconds = secondsOfBare(arguments, statements); });
    result.seconds = seconds;
    return result;
}

// A pane as the main window has it: with all that one click costs, but for painting.
struct Shown {
    explicit Shown(const QStringList &arguments)
        : opened(arguments[2], arguments[5])
    {
        dialogue.agrees = true;
        QObject::connect(&view, &RowsView::readWanted, &view, [this] { read(); });
    }
    void read(const QString &wanted = {})
    {
        if (!wanted.isEmpty())
            table = wanted;
        Connection &connection = opened.session.connection();
        const QString plain =
            QStringLiteral("select * from %1.%2 limit %3 ;").arg(benchDatabase(), table).arg(pageRows);
        const QString statement = view.statementFor(benchDatabase(), table, pageRows, plain);
        if (statement != plain)
            connection.execute(useStatement(benchDatabase()));
        fillGrid(grid, connection.execute(statement));
        view.takeRows();
    }
    // As Ctrl+G does it.
    void goTo(int row)
    {
        QTimer::singleShot(0, &view, [row] {
            auto *dialog = qobject_cast<QInputDialog *>(QApplication::activeModalWidget());
            dialog->setIntValue(row);
            dialog->accept();
        });
        QTest::keyClick(&grid, Qt::Key_G, Qt::ControlModifier);
    }

    BenchSession opened;
    ScriptedDialogue dialogue;
    QString table;
    FlexGrid &grid = *new FlexGrid;
    RowsPane pane{grid};
    RowsView view{opened.session, dialogue, pane};
};

// Two of three columns of each row, as by pasting a block over the grid.
Measurement save(const QStringList &arguments, bool isBare)
{
    Shown shown(arguments);
    shown.opened.session.connection().execute(QStringLiteral("update bench.edited set n=0, name='before'"));
    shown.read(QStringLiteral("edited"));
    if (isBare) {
        Connection &connection = shown.opened.session.connection();
        const TableShape table = readTableShape(connection, benchDatabase(), QStringLiteral("edited"));
        QStringList statements{QStringLiteral("start transaction")};
        for (const auto &row : selectRows(connection, table, {}))
            statements << statementOf(table, {RowChange::Kind::Changed, 0, row, {{1, "1"}, {2, "after"}}});
        return bare(arguments, statements << QStringLiteral("commit"));
    }
    shown.grid.setCurrentIndex(shown.grid.model()->index(0, 1));
    QApplication::clipboard()->setText(QStringLiteral("1\tafter\n").repeated(pageRows));
    QTest::keySequence(&shown.grid, QKeySequence::Paste);
    const Measurement result = timed([&shown] { shown.view.saveRows(); });
    RecordSet saved = shown.opened.session.connection().execute(
        QStringLiteral("select count(*) from bench.edited where n=1 and name='after'"));
    if (saved.text(0).toInt() != pageRows || RowHistory(shown.opened.session).savings().size() != 1)
        qFatal("not all rows were saved");
    return result;
}

Measurement page(const QStringList &arguments, bool isBare)
{
    const int first = arguments[1] == u"start"    ? 1
                      : arguments[1] == u"middle" ? rowCount() / 2
                                                  : rowCount() - 2 * pageRows + 1;
    Shown shown(arguments);
    shown.read(QStringLiteral("rows_of_text"));
    if (first > 1)
        shown.goTo(first);
    const QString lastId = shown.grid.text(pageRows - 1, 0);
    if (isBare)
        return bare(arguments,
                    {QStringLiteral("select * from bench.rows_of_text where id>%1 order by id limit %2")
                         .arg(lastId)
                         .arg(pageRows)});
    const Measurement result = timed([&shown] { shown.pane.nextRows->click(); });
    if (shown.grid.rowCount() != pageRows || shown.grid.text(0, 0).toInt() != lastId.toInt() + 1)
        qFatal("not the next rows came");
    return result;
}

struct Job {
    const char *name;
    QString title;
    Measurement (*run)(const QStringList &arguments, bool isBare);
    double factor, allowance;
};

const Job jobs[] = {{"save", QStringLiteral("saving 1,000 changed rows"), save, 1.5, 0},
                    {"start", QStringLiteral("the second page of 1,000 rows"), page, 1.5, 0.020},
                    {"middle", QStringLiteral("next page in the middle"), page, 1.5, 0.020},
                    {"end", QStringLiteral("the last page"), page, 1.5, 0.020}};

} // namespace

int main(int argc, char *argv[])
{
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    for (const Job &job : jobs)
        if (arguments.size() == 6 && arguments[1] == QLatin1String(job.name)) {
            print(job.run(arguments, arguments[3] == u"bare"));
            return 0;
        }
    TestServer server;
    makeBenchTable(server, rowCount());
    server.run(QStringLiteral("alter table bench.rows_of_text engine=InnoDB, add primary key (id);"
                              "create table bench.edited (id int primary key, n int, name varchar(20), "
                              "price decimal(10,2)) select seq as id, 0 as n, 'before' as name, 1.5 as price "
                              "from seq_1_to_%1")
                   .arg(pageRows),
               benchDatabase());
    bool isWithin = true;
    for (const Job &job : jobs)
        for (const QString &driver : {QStringLiteral("native"), QStringLiteral("odbc")}) {
            const QString string = server.connectionString(driver == u"native", benchDatabase());
            const auto run = [&](const char *who) {
                return QStringList{QLatin1String(job.name), driver, QLatin1String(who), string,
                                   QString::number(server.port())};
            };
            const TableLine line = comparedLine(job.title, driver, measureByTurns(run("bare"), run("ours")),
                                                job.factor, job.allowance);
            print(line);
            isWithin &= line.isWithin;
        }
    return isWithin ? 0 : 1;
}
