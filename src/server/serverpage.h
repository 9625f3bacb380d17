#pragma once

#include "controls/dialogue/savedconnections.h"
#include "core/command/dialogue.h"
#include "core/session/serverlink.h"

#include <QWidget>

#include <functional>
#include <optional>
#include <vector>

class QLabel;
class QVBoxLayout;

// What the pages share.
struct ServerSurroundings {
    ServerLink &link;
    Dialogue &dialogue; // titled as the window
    std::function<void(const QString &statement)> openInSheet;
    std::shared_ptr<StatementLog> log; // for what changes something on the server
    SavedConnections savedConnections;
};

// One page of the server window. The window asks it to refresh itself when it comes to the front and then
// every few seconds, never while its last questions wait for their answers. What keeps it from reading is
// said above its content, in the server's words.
class ServerPage : public QWidget {
    Q_OBJECT

public:
    QString title() const { return m_title; }
    // Nothing while an earlier one is under way.
    void startRefresh();
    bool isWaiting() const { return m_waiting > 0; }
    // Refreshed while another page is shown, too: what it gathers shall have no holes.
    virtual bool gathers() const { return false; }
    // Read every few seconds while it is shown; else only when it is opened and on demand.
    virtual bool followsClock() const { return true; }

Q_SIGNALS:
    void processWanted(const QString &id); // in the list of processes
    void refreshed();                      // all answers are there, or what kept them away is shown

protected:
    ServerPage(const ServerSurroundings &around, const char *name, const QString &title);

    // Asks what the page shows.
    virtual void refresh() = 0;

    // As ServerLink::ask(); a failure is shown above the content.
    template <class Question, class Show>
    void ask(Question question, Show show)
    {
        beginWaiting();
        m_around.link.ask(
            *this, question,
            [this, show](auto &&answer) {
                clearFailure();
                show(std::forward<decltype(answer)>(answer));
                endWaiting();
            },
            [this](const Failure &failure) {
                showFailure(failure);
                endWaiting();
            });
    }
    // Lines above the content: what is missing in it, and why. Empty: nothing is.
    void tellProblem(const QString &words);
    QVBoxLayout *content() const { return m_content; }
    const ServerSurroundings &around() const { return m_around; }

private:
    void beginWaiting() { ++m_waiting; }
    void endWaiting();
    void showFailure(const Failure &failure);
    void clearFailure();

    const ServerSurroundings m_around;
    const QString m_title;
    QLabel *m_problem;
    QVBoxLayout *m_content;
    int m_waiting = 0;
    bool m_hasFailed = false; // that is what the lines above say
};

// A refusal for want of a right is said to be one; the server's words stand behind.
bool isMissingRight(const Failure &failure);
QString wordsOf(const Failure &failure);
