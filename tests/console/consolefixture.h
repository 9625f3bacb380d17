#pragma once

#include "console/frmSql.h"
#include "support/gui/stage.h"
#include "support/scripteddialogue.h"

#include <QPointer>

#include <memory>

// The console, beside a stand-in for the main window.
struct ConsoleWindow : Stage {
    QWidget main;
    QPointer<frmSql> window;

    explicit ConsoleWindow(Server server)
        : Stage(server)
    {
        session.gDsn = noDataSource();
        main.setObjectName("frmTarnwell");
    }
    ~ConsoleWindow() { delete window; }

    template <class Control>
    Control &control(const char *name) const
    {
        return ::control<Control>(*window, name);
    }
    QPushButton &button(const char *name) const { return control<QPushButton>(name); }
    FlexGrid &grid() const { return control<FlexGrid>("flgrid_Record"); }
    QString text() const { return control<QsciScintilla>("txtRecord").text(); }
    QString count() const { return control<QLabel>("lblRecordCount").text(); }
    QString lastError() const { return control<QPlainTextEdit>("txtError").toPlainText(); }
    QString filePath() const { return folder.filePath("sqldump.dat"); }
    QByteArray file() const
    {
        QFile file(filePath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }
    void type(const QString &statement) { control<SqlTextBox>("txtSql").setContents(statement); }
    void run(const QString &statement)
    {
        type(statement);
        button("cmdExec").click();
    }
};

inline const QString twoPeople = "select * from t";

// The console on a scripted server that has two rows.
struct ConsoleFixture : ConsoleWindow {
    bool connects = true;
    int connections = 0;
    ScriptedDialogue *dialogue = nullptr; // the console's

    ConsoleFixture()
        : ConsoleWindow(Server::Scripted)
    {
        session.gCn = script.connect();
        script.always(twoPeople, Reply::table({"id", "名前"}, {{"1", "山田"}, {"2", std::nullopt}}));
    }

    void open()
    {
        auto scripted = std::make_unique<ScriptedDialogue>();
        dialogue = scripted.get();
        const auto connect = [this] {
            ++connections;
            return connects;
        };
        window = new frmSql(session, connect, std::move(scripted));
    }
};
