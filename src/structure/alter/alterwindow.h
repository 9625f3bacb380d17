#pragma once

#include "controls/dialogue/widgetdialogue.h"
#include "controls/window/stopping.h"
#include "structure/alter/alterrun.h"

#include <functional>
#include <memory>

class QComboBox;
class QFormLayout;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class SqlTextBox;

// "alterWindow": the ALTER TABLE that makes a table what its edited text says, for reading, changing and
// running; afterwards what the server then has.
class AlterWindow : public StoppableDialog {
    Q_OBJECT

public:
    using Propose = std::function<void(const QString &text)>; // into an SQL sheet
    // dialogue: who answers in a test; null: real boxes.
    AlterWindow(Session &session, AlterRequest request, Propose propose, QWidget *parent,
                std::unique_ptr<Dialogue> dialogue = nullptr);

    // What was sent to the server, and what became of it.
    const AlterReport &report() const { return m_lastReport; }

private:
    void buildLayout();
    void askForNames(QFormLayout &form);
    void showStatement();
    void showRunning(bool isRunning);
    void run();

    Session &m_session;
    const AlterRequest m_request;
    const Propose m_propose;
    std::unique_ptr<Dialogue> m_dialogue;
    std::vector<std::pair<QString, QComboBox *>> m_names; // of columns that are gone, and what became of them
    SqlTextBox *m_text;
    QLabel *m_cost;
    QPlainTextEdit *m_report;
    QPushButton *m_run, *m_sheet, *m_stop, *m_close;
    AlterReport m_lastReport;
};
