#pragma once

#include "core/session/serverlink.h"
#include "structure/search/searchhit.h"

#include <QWidget>

#include <atomic>

class HitList;
class HitRows;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QProgressBar;
class QPushButton;
class QRadioButton;
class QTimer;

// Looks for a text on the server over a connection of its own, while everything else goes on: in names,
// comments and definitions as one types, or in the values of chosen tables. Deletes itself when it is closed.
class SearchWindow : public QWidget {
    Q_OBJECT

public:
    // The session is only read here.
    explicit SearchWindow(const Session &session);
    ~SearchWindow() override;

    // Whether it looks where the session's connection leads to.
    bool isOf(const Session &session) const;
    // What is chosen in the program is what is offered; empty: nothing.
    void offer(const QString &database, const QString &table);

Q_SIGNALS:
    void opened(const SearchHit &hit);

protected:
    void showEvent(QShowEvent *event) override;
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    static inline const QString sizeKey = QStringLiteral("search");
    static constexpr QSize standardSize{900, 560};

    // One search; its questions are sent one after the other, each shows what it found.
    struct Search {
        QString text, database;
        QStringList questions; // statements, or tables
        int number = 0;        // tells it apart from an older one
    };

    void buildLayout();
    void connectControls();
    QString database() const; // empty: all
    bool isOfValues() const;
    void readDatabases();
    void readTables();
    void showMode();
    void type();
    void start();
    void begin(Search search);
    void askNext(qsizetype place);
    void take(SearchHits hits, qsizetype place);
    void refuse(const Failure &failure, const QString &question, qsizetype place);
    void stop();
    void end(const QString &words);
    bool isSearching() const { return !m_search.questions.isEmpty(); }

    const QString m_settingsFile, m_connection;
    std::unique_ptr<ServerLink> m_link;
    // The latest search; an older one ends as soon as it sees that it is not.
    std::shared_ptr<std::atomic<int>> m_latest = std::make_shared<std::atomic<int>>(0);
    Search m_search;
    bool m_hasCut = false;  // an answer was as long as one may be
    QStringList m_refusals; // in the server's words
    QString m_wantedTable;

    QLineEdit *m_text;
    QComboBox *m_databases;
    QRadioButton *m_ofNames, *m_ofValues;
    QListWidget *m_tables;
    QWidget *m_tablePane;
    QPushButton *m_start, *m_stop;
    HitRows *m_rows;
    HitList *m_hits;
    QProgressBar *m_progress;
    QLabel *m_state;
    QTimer *m_pause; // in the typing
};
