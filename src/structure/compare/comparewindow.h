#pragma once

#include "controls/dialogue/savedconnections.h"
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
    QStringList databases;                            // of the session's server
    std::function<void(const QString &text)> propose; // into an SQL sheet
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
    void changeEvent(QEvent *event) override;

private:
    // One of the two: which connection, and which database.
    struct Side {
        QComboBox *connection, *database;
    };
    Side makeSide(const char *connection, const char *database);
    void buildForm();
    void offerDatabases(const Side &side);
    const ConnectionProfile *profile(const Side &side) const; // null: the session's own connection
    std::unique_ptr<Session> sessionOf(const Side &side);
    CompareOptions options() const;
    void showObjects();
    void showTexts();
    void markDifferences();
    std::vector<ComparedObject> chosen() const;
    void makeStatements();

    CompareServices m_services;
    const std::vector<ConnectionProfile> m_others; // that are saved
    QMap<QString, QString> m_passwords;            // by the connection's id
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
