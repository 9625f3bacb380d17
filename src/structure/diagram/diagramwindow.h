#pragma once

#include "core/session/serverlink.h"
#include "structure/diagram/diagram.h"

#include <QProcess>
#include <QWidget>

class DiagramView;
class QCheckBox;
class QLabel;
class QListWidget;
class QPushButton;
class QTimer;

// The tables of a database and their foreign keys as a picture that Graphviz lays out. Deletes itself when it
// is closed.
class DiagramWindow : public QWidget {
    Q_OBJECT

public:
    // The session is only read here. table: the one whose neighbours are shown first; empty: all are.
    DiagramWindow(const Session &session, const QString &database, const QString &table);
    ~DiagramWindow() override;

Q_SIGNALS:
    void opened(const QString &database, const QString &table);

protected:
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    static inline const QString sizeKey = QStringLiteral("diagram");
    static constexpr QSize standardSize{1000, 680};

    void buildLayout();
    void connectControls();
    void read(const QString &table);
    void listTables(const QString &table);
    void layOut();
    void startLayout(bool isRound);
    void takeLayout();
    void showLayout(const PlacedDiagram &diagram);
    void tellMissing(QProcess::ProcessError error);
    void stopLayout();
    void save();
    QString write(const QString &path);

    const QString m_settingsFile, m_database;
    std::unique_ptr<ServerLink> m_link;
    Diagram m_all, m_part;
    std::optional<PlacedDiagram> m_strip; // what ranks gave, while it is laid out around the middle
    QProcess m_dot;
    QListWidget *m_tables;
    QCheckBox *m_neighbours, *m_columns;
    DiagramView *m_view;
    QPushButton *m_larger, *m_smaller, *m_fit, *m_save;
    QLabel *m_state;
    QTimer *m_pause; // in the choosing
};
