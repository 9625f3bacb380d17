#pragma once

#include "console/frmSql.h"
#include "support/gui/stage.h"

// The console, beside a stand-in for the main window.
struct ConsoleStage : Stage {
    explicit ConsoleStage(Server server)
        : Stage(server)
    {
        main.setObjectName("frmTarnwell");
    }

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
    QByteArray file() const { return readFile(filePath()); }
    void type(const QString &statement) const { control<SqlTextBox>("txtSql").setContents(statement); }
    void run(const QString &statement) const
    {
        type(statement);
        button("cmdExec").click();
    }

    QWidget main;
};

inline const QString twoPeople = QStringLiteral("select * from t");

// The console on a scripted server that has two rows.
struct ScriptedConsole : ConsoleStage {
    bool connects = true;
    int connections = 0;
    ScriptedDialogue *dialogue = nullptr; // the console's

    ScriptedConsole()
        : ConsoleStage(Server::Scripted)
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
    // What gives no rows ends with a box.
    void runWithoutRows(const QString &statement)
    {
        dialogue->expectInform("正常終了");
        run(statement);
    }
};
