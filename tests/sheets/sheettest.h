#pragma once

#include "controls/grid/flexgrid.h"
#include "core/driver/connect.h"
#include "core/session/lastingconnection.h"
#include "sheets/sheetresults.h"
#include "sheets/sheetwindow.h"
#include "support/gui/stage.h"

// For tests of the sheets' window, on a real server with the table t of three rows and the procedure two.
class SheetTest : public QObject {
protected:
    void begin()
    {
        m_server.run("drop database if exists d; create database d; use d; create table t (a int);"
                     "insert into t values (1), (2), (3);\ndelimiter |\n"
                     "create procedure two() begin select 1; select 2; end|");
        m_stage = std::make_unique<Stage>(Stage::Server::Real);
        m_stage->session.connectBy(lasting(createConnection), m_stage->pump);
        m_stage->enter(nativeDriverName(), m_server.port(), "demo", "demo");
        m_stage->session.gDbName = "d";
        m_remembered.clear();
        open();
    }
    void end()
    {
        delete m_window;
        m_stage.reset();
    }
    // Once more: as after a restart.
    void open()
    {
        auto dialogue = std::make_unique<ScriptedDialogue>();
        m_dialogue = dialogue.get();
        m_window = new SheetWindow(m_stage->session, services(), std::move(dialogue));
        m_window->setAttribute(Qt::WA_DeleteOnClose, false);
        goTo(*m_window);
    }
    virtual SheetServices services()
    {
        SheetServices services;
        services.remember = [this](const HistoryEntry &entry) { m_remembered << entry.statement; };
        services.lastStatements = [this] {
            QStringList newest = m_remembered;
            std::reverse(newest.begin(), newest.end());
            return newest;
        };
        return services;
    }
    SheetPage &page()
    {
        return *qobject_cast<SheetPage *>(control<QTabWidget>(*m_window, "sheetTabs").currentWidget());
    }
    void type(const QString &text)
    {
        page().editor().setContents(text);
        page().editor().setCursorPlace(0);
    }
    void run(const char *button = "runSheet")
    {
        press(*m_window, {button});
        QTRY_VERIFY_WITH_TIMEOUT(!page().isRunning(), 20'000);
    }
    QString messages() { return control<QPlainTextEdit>(page(), "sheetMessages").toPlainText(); }
    QStringList firstCells()
    {
        QStringList cells;
        for (int i = 1; i < page().results().count(); ++i)
            cells << qobject_cast<SheetResult *>(page().results().widget(i))->grid().text(0, 0);
        return cells;
    }

    TestServer m_server;
    std::unique_ptr<Stage> m_stage;
    QPointer<SheetWindow> m_window;
    ScriptedDialogue *m_dialogue = nullptr;
    QStringList m_remembered;
};
