#pragma once

#include "controls/dialogue/widgetdialogue.h"
#include "transfer/transferjob.h"

#include <QElapsedTimer>
#include <QWidget>

class PercentBar;
class QCheckBox;
class QHBoxLayout;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QPushButton;
class QVBoxLayout;

// What the windows of transfers share: start, stop, progress, report. It works on beside the other windows;
// closed while something runs, it stops that and goes once it has ended: closed by its user not before what
// is to be read has been shown.
class TransferWindow : public QWidget {
    Q_OBJECT

public:
    ~TransferWindow() override;

    // What runs and on which server, for a question before it is stopped; empty: nothing would be lost.
    QString whatWouldBeLost() const;

protected:
    // The settings of the session are those at each start; it outlives the window.
    TransferWindow(Session &session, const char *name, const QString &title, const char *startName);

    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void showEvent(QShowEvent *event) override;

    // A button was pressed: calls begin() unless something is missing, which it tells.
    virtual void start() = 0;
    void begin(const QString &database, const TransferJob::Work &work);
    void begin(const Session &from, const Session &to, const TransferJob::WorkOfTwo &work);
    void begin(const std::function<TransferReport(const ReportProgress &)> &work);
    void tell(const QString &text, bool isFailure);
    // After the end of a run, unless the window closes.
    virtual void ended(bool /*hasFailed*/) {}
    // Whether what runs can be done again as it is, and loses nothing by being stopped.
    virtual bool isOnlyLooking() const { return false; }

    QVBoxLayout *form() const { return m_form; }
    QPushButton *startButton() const { return m_start; }
    Dialogue &dialogue() { return m_dialogue; }
    // Asks whether a file that is there is to be replaced; true when there is none.
    bool mayReplace(const QString &path);

    Session &m_session;

private:
    void showProgress(const TransferStatus &status);
    void finish(const TransferReport &report);
    void setRunning(bool isRunning, const QString &where = {});

    WidgetDialogue m_dialogue;
    TransferJob m_job;
    QWidget *m_formArea;
    QVBoxLayout *m_form;
    QPushButton *m_start;
    QPushButton *m_stop;
    PercentBar *m_bar;
    QLabel *m_status;
    QPlainTextEdit *m_report;
    QElapsedTimer m_sinceStart;
    QString m_where; // it runs: the server, or both
    enum class AtEnd { Stay, CloseUnlessToBeRead, Close };
    AtEnd m_atEnd = AtEnd::Stay;
};

QCheckBox *tick(const char *name, const QString &text, bool isOn, const QString &tip = {});

// A line for a path with a button that chooses one: open or save a file, or a folder.
enum class PathKind { OpenFile, SaveFile, Folder };
QString choosePath(QWidget *window, PathKind kind, const QString &start, const QString &filter);
// The line with its button of that name.
QHBoxLayout *pathRow(const char *buttonName, QLineEdit *line, const std::function<void()> &browse);
