#pragma once

#include "server/keyedlist.h"
#include "server/serverwindow.h"
#include "support/gui/stage.h"

#include <QTabWidget>

// For tests of single pages of the server's window, on servers of each brand.
class ServerPageTest : public QObject {
protected:
    void open(const TestServer &server, const char *pageName, const QString &account = "demo")
    {
        m_stage = std::make_unique<Stage>(Stage::Server::Real);
        m_stage->enter(nativeDriverName(), server.port(), account, "demo");
        auto dialogue = std::make_unique<ScriptedDialogue>();
        m_dialogue = dialogue.get();
        auto *window = new ServerWindow(m_stage->session, {{}, m_saved}, std::move(dialogue));
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        m_stage->open(window);
        turnTo(pageName);
    }
    void turnTo(const char *pageName)
    {
        m_page = &control<ServerPage>(*m_stage->window, pageName);
        control<QTabWidget>(*m_stage->window, "serverPages").setCurrentWidget(m_page);
    }
    KeyedList &list(const char *name) const { return control<KeyedList>(*m_stage->window, name); }
    QString label(const char *name) const { return control<QLabel>(*m_page, name).text(); }
    // A cell of the row with that key; a null text without one.
    QString cell(const char *name, const QString &key, int column) const
    {
        KeyedRows &rows = list(name).rows();
        for (int row = 0; row < rows.rowCount(); ++row)
            if (rows.row(row).key == key)
                return rows.row(row).cells[column];
        return {};
    }

    TestServers m_servers{{"--performance-schema=ON"}, [](TestServer &server) {
                              server.run("create database d; create user visitor@'%' identified by 'demo'");
                          }};
    std::unique_ptr<Stage> m_stage;
    ServerPage *m_page = nullptr; // that was opened
    ScriptedDialogue *m_dialogue = nullptr;
    SavedConnections m_saved;
};
