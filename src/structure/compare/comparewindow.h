#pragma once

#include "controls/dialogue/savedconnections.h"
#include "core/session/serverlink.h"
#include "structure/compare/databasecompare.h"
#include "transfer/transferwindow.h"

#include <QMap>

class QCheckBox;
class QComboBox;
class QTreeWidget;
class QTreeWidgetItem;
class SqlTextBox;

// What the window needs of the program beside its session.
struct CompareServices {
    SavedConnections saved;
    QStringList databases; // of the session's server
    // Into an SQL sheet that works with the settings, which are those of the side to be changed.
    std::function<void(const QString &text, std::unique_ptr<Session> there)> propose;
};

// "compareWindow": two databases of one or two connections, what differs between them, and statements of the
// user's choice for an SQL sheet.
class CompareWindow : public TransferWindow {
    Q_OBJECT

public:
    CompareWindow(Session &session, CompareServices services);
    ~CompareWindow() override;

protected:
    void start() override;
    void ended(bool hasFailed) override;
    bool isOnlyLooking() const override { return true; }
    void changeEvent(QEvent *event) override;
    void closeEvent(QCloseEvent *event) override;

private:
    static inline const QString sizeKey = QStringLiteral("compare");
    static constexpr QSize standardSize{900, 720};

    // One of the two: which connection, and which database.
    struct Side {
        QComboBox *connection, *database;
        QPushButton *list; // reads which databases another server has
    };
    Side makeSide(const char *connection, const char *database, const char *list);
    void buildForm();
    void offerDatabases(const Side &side);
    void listDatabases(const Side &side);
    const ConnectionProfile *profile(const Side &side) const; // null: the session's own connection
    std::unique_ptr<Session> sessionOf(const Side &side);
    CompareOptions options() const;
    void showObjects();
    void showTexts();
    void markDifferences();
    std::vector<ComparedObject> chosen() const;
    void makeStatements();

    CompareServices m_services;
    const std::vector<ConnectionProfile> m_others;          // that are saved
    QMap<QString, QString> m_passwords;                     // by the connection's id
    QMap<QComboBox *, std::shared_ptr<ServerLink>> m_links; // that read the databases for a box
    Side m_left, m_right;
    QCheckBox *m_characterSets, *m_tableOptions, *m_definers;
    QTreeWidget *m_list;
    SqlTextBox *m_leftText, *m_rightText;
    QComboBox *m_direction;
    QPushButton *m_make;
    struct Read;
    std::shared_ptr<Read> m_read; // what the last run has read
    std::vector<ComparedObject> m_objects;
};
