#pragma once

#include "controls/dialogue/widgetdialogue.h"
#include "server/serverpage.h"

#include <QDeadlineTimer>
#include <QWidget>

#include <functional>
#include <memory>

class QCheckBox;
class QLabel;
class QPushButton;
class QSpinBox;
class QTabWidget;
class QTimer;

// What the window needs of the program beside its session.
struct ServerServices {
    std::function<void(const QString &statement)> openInSheet;
    SavedConnections savedConnections = {};
};

// What the server is doing, page by page, over a connection of its own. The page that is shown is read anew
// every few seconds, nothing is while the window is hidden. A server that is gone is waited for. Deletes
// itself when it is closed.
class ServerWindow : public QWidget {
    Q_OBJECT

public:
    // dialogue: who answers in a test; null: real boxes. The session is only read here.
    ServerWindow(const Session &session, ServerServices services,
                 std::unique_ptr<Dialogue> dialogue = nullptr);
    ~ServerWindow() override;

    // All rights of that account.
    void showAccount(const QString &user, const QString &host);
    // Whether it shows what the session's connection leads to.
    bool isOf(const Session &session) const;
    void takeMarks(const ConnectionProfile &profile);

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    static inline const QString sizeKey = QStringLiteral("server");
    static constexpr QSize standardSize{1000, 680};

    void buildLayout();
    void connectControls();
    ServerPage *pageAt(int index) const;
    ServerPage *page() const;
    // By the clock; and what the user wants to see now.
    void tick();
    void refreshNow();
    void setTicking();
    void showState();
    void showProcess(const QString &id);
    void noteRefresh(const ServerPage *refreshed);
    void keepSeconds(int seconds) const;
    int keptSeconds() const;

    const QString m_settingsFile, m_connection;
    std::unique_ptr<Dialogue> m_dialogue;
    std::unique_ptr<ServerLink> m_link; // outlives the pages, which are deleted by ~ServerWindow
    QTabWidget *m_pages;
    QLabel *m_state;
    QSpinBox *m_seconds;
    QCheckBox *m_paused;
    QPushButton *m_refresh;
    QTimer *m_timer;
    QDeadlineTimer m_nextAttempt; // to connect
};
