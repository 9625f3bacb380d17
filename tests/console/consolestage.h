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
