#pragma once

#include "rows/rowsview.h"
#include "support/gui/stage.h"

// A server with the tables whose rows these tests look at.
class RowsServer : public TestServer {
public:
    RowsServer() { run("create database d; create view d.v as select 1 a; create table d.keyless (a int)"); }
    // d.t with its seven rows.
    void refill() const
    {
        run("drop table if exists d.t; create table d.t (id int primary key auto_increment, "
            "name varchar(5), n int, day date, e enum('z','m','a'), b bit(64));"
            "insert into d.t (name, n, e, b) values ('b',2,'a',~0),('a',1,'z',~0-1),(null,2,null,1),"
            "('b',null,'m',null),('a',3,'z',0),('c',2,null,~0-1),('d',null,'a',2)");
    }
};

// A pane, whose owner reads the rows of d.t that it wants.
struct RowsStage : Stage {
    explicit RowsStage(const TestServer &server)
        : Stage(Server::Real)
    {
        session.settingsFolder = folder.path();
        enter(nativeDriverName(), server.port(), "demo", "demo");
        if (!fConnect(session))
            qFatal("no connection");
        QObject::connect(&view, &RowsView::readWanted, &view, [this] { read("t"); });
        pane.show();
    }
    void read(const QString &table, int limit = 3)
    {
        const QString plain = QStringLiteral("select * from d.%1 limit %2").arg(table).arg(limit);
        fillGrid(grid, session.connection().execute(view.statementFor("d", table, limit, plain)));
        view.takeRows();
    }
    void press(const QString &keys) { QTest::keySequence(&grid, QKeySequence(keys)); }
    void choose(int row, int column) { grid.setCurrentIndex(grid.model()->index(row, column)); }
    void type(int row, int column, const QString &text)
    {
        choose(row, column);
        press("F2");
        auto *line = grid.findChild<QLineEdit *>("cellLine");
        QVERIFY(line);
        line->selectAll();
        QTest::keyClicks(line, text);
        QTest::keyClick(line, Qt::Key_Return);
        QCoreApplication::processEvents();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!grid.findChild<QLineEdit *>("cellLine"));
    }
    QString column(int index) const
    {
        QStringList texts;
        for (int row = 0; row < grid.rowCount(); ++row)
            texts << grid.text(row, index);
        return texts.join(' ');
    }
    QString state() const { return pane.rowsState->text(); }

    FlexGrid &grid = *new FlexGrid;
    RowsPane pane{grid};
    RowsView view{session, dialogue, pane};
};

// Does it once that dialog is open: the server may be asked something before.
inline void inDialog(const QString &name, const std::function<void(QWidget &)> &act)
{
    auto *timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, name, act] {
        QWidget *dialog = qApp->activeModalWidget();
        if (!dialog || dialog->objectName() != name)
            return;
        timer->stop();
        timer->deleteLater();
        act(*dialog);
    });
    timer->start(5);
}
