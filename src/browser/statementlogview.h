#pragma once

#include "core/sql/statementlog.h"

#include <QWidget>

class FlexGrid;
class QTimer;

// The log of statements below the main window: time, duration, rows or error, text. Looks for news only
// while it is shown, and is built when it is first shown.
class StatementLogView : public QWidget {
    Q_OBJECT

public:
    StatementLogView(std::shared_ptr<StatementLog> log, QWidget *parent = nullptr);
    void setVisible(bool isOn) override;

Q_SIGNALS:
    // The user wants this statement in the console.
    void statementChosen(const QString &statement);

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void build();
    void refresh();
    void fill();
    void sendToConsole();

    std::shared_ptr<StatementLog> m_log;
    FlexGrid *m_grid = nullptr;
    QTimer *m_timer;
    std::uint64_t m_shownRevision = 0;
    std::uint64_t m_firstNumber = 0; // of the entry in the first row
    bool m_isEmpty = true;
};
