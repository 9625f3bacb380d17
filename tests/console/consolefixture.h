#pragma once

#include "console/frmSql.h"
#include "support/gui/control.h"
#include "support/scriptedconnection.h"
#include "support/scripteddialogue.h"

#include <QPointer>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

// The console in a program folder of its own.
struct ConsoleWindow {
    QTemporaryDir folder;
    Session session;
    QPointer<frmSql> window;

    ConsoleWindow()
    {
        session.programFolder = folder.path();
        session.gIniPath = folder.filePath("Tarnwell.ini");
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
    QByteArray file() const
    {
        QFile file(filePath());
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
    }
    void goTo(QWidget &target)
    {
        target.show();
        target.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&target));
        QCoreApplication::processEvents();
    }
    void type(const QString &statement) { control<SqlTextBox>("txtSql").setContents(statement); }
    void run(const QString &statement)
    {
        type(statement);
        button("cmdExec").click();
    }
};

// The console on a scripted server.
struct ConsoleFixture : ConsoleWindow {
    Script script;
    bool connects = true;
    int connections = 0;
    ScriptedDialogue *dialogue = nullptr; // the console's

    ConsoleFixture()
    {
        session.gDsn = QStringLiteral("(なし)");
        session.gCn = script.connect();
    }
    ~ConsoleFixture()
    {
        delete window;
        session.gCn.reset(); // before the script that it is made from
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
