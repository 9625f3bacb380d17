#pragma once

#include "core/command/dialogue.h"

#include <QElapsedTimer>

#include <functional>

// "経過 0:12 / 残り 約1:05"; without the second half while nothing can be said of it.
QString batchTime(qint64 elapsedMilliseconds, int total, int current);

class PercentBar;
class QLabel;
class QPlainTextEdit;
class QWidget;

// Where a window shows what a command reports; what a window lacks stays null.
struct DialogueParts {
    QLabel *lblCnt = nullptr;
    PercentBar *picStatus = nullptr;
    QLabel *lblCkTableName = nullptr;
    QPlainTextEdit *txtError = nullptr;
    QLabel *Label13 = nullptr; // caption of txtError, carries the tool tip
    std::function<RestoreChoice(QWidget *window)> chooseBackups = nullptr;
    QLabel *timeLeft = nullptr; // elapsed time of a batch and what it may still take
};

// Asks and tells with real boxes, modal to the window and titled with its caption.
class WidgetDialogue : public Dialogue {
public:
    WidgetDialogue(QWidget *window, DialogueParts parts);

    bool confirm(const QString &question, Icon icon) override;
    bool warn(const QString &question) override;
    bool ask(const QString &question) override;
    bool askCarefully(const QString &question) override;
    int choose(const QString &question, const QStringList &choices) override;
    void tell(const QString &text, Icon icon) override;
    QString chooseFolder(const QString &title, const QString &startFolder) override;
    RestoreChoice chooseBackups() override;
    PendingAnswer askPending(const std::vector<PendingChange> &changes) override;
    void progress(int total, int current) override;
    void progressBar(double fraction) override;
    QString target() const override;
    void setTarget(const QString &name) override;
    void setLastError(const QString &description, bool withTip) override;
    void setBusy(bool isBusy) override;
    void refresh() override;

private:
    void showTime(int total, int current);

    QWidget *m_window;
    DialogueParts m_parts;
    QString m_lastFolder;  // where the next choice of a folder begins
    QElapsedTimer m_batch; // since the progress stood at 0
};
