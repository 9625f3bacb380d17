#pragma once

#include "core/command/runner.h"

#include <QDialog>
#include <QKeySequence>

class QPushButton;

// What a user has in hand while something runs: see WindowPump, which holds all other input off while a
// statement waits for its server.

// Marks a button as one that stops what runs, or takes the mark away: clicks on it get through. The key
// clicks it from anywhere in its window.
void setStopsRunningCommand(QWidget *button, bool isOn, const QKeySequence &key = {});
bool stopsRunningCommand(const QObject *button);
// The marked button of the window that has this key; null: none.
QWidget *buttonOfStopKey(const QWidget &window, const QKeySequence &key);

// Marks a window that asks no server for anything, or only over connections of its own: it works on while
// something runs, with its boxes, menus and dialogs.
void setWorksWhileRunning(QWidget *window);
bool worksWhileRunning(const QWidget &window);

// Escape in any window that is no dialog stops what runs. One for the program.
class EscapeStops : public QObject {
    Q_OBJECT

public:
    EscapeStops(Runner &runner, QObject *parent);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    Runner &m_runner;
};

// A dialog that can be left while something of it runs: Escape, its Cancel and its close box stop that, and
// the dialog goes once it has ended.
class StoppableDialog : public QDialog {
    Q_OBJECT

public:
    StoppableDialog(Runner &runner, QWidget *parent)
        : QDialog(parent)
        , m_runner(runner)
    {
    }

    void reject() override;

private:
    Runner &m_runner;
};

// The tag text of the button that starts something: "True" while that runs and nobody has stopped it, then
// "False". It is there for those who watch the program from outside; the program itself asks the Runner.
class RunTag : public QObject {
    Q_OBJECT

public:
    RunTag(Runner &runner, QPushButton &button);
    ~RunTag() override;
    RunTag(const RunTag &) = delete;
    RunTag &operator=(const RunTag &) = delete;

private:
    void set(bool isRunning);

    QPushButton &m_button;
};
