#include "server/serverpage.h"

#include "controls/window/building.h"

#include <QLabel>
#include <QVBoxLayout>

#include <algorithm>
#include <iterator>

ServerPage::ServerPage(const ServerSurroundings &around, const char *name, const QString &title)
    : m_around(around)
    , m_title(title)
    , m_problem(wordsLabel("pageProblem"))
    , m_content(new QVBoxLayout)
{
    setObjectName(QLatin1String(name));
    m_problem->hide();
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_problem);
    layout->addLayout(m_content, 1);
}

void ServerPage::startRefresh()
{
    if (!isWaiting())
        refresh();
}

void ServerPage::endWaiting()
{
    if (--m_waiting == 0)
        Q_EMIT refreshed();
}

void ServerPage::tellProblem(const QString &words)
{
    m_problem->setText(words);
    m_problem->setVisible(!words.isEmpty());
    m_hasFailed = false;
}

void ServerPage::showFailure(const Failure &failure)
{
    // That there is no connection is the window's to say.
    if (!m_around.link.problem().isEmpty())
        return;
    tellProblem(failure.isInterrupted() ? QString() : wordsOf(failure));
    m_hasFailed = true;
}

void ServerPage::clearFailure()
{
    if (m_hasFailed)
        tellProblem({});
}

bool isMissingRight(const Failure &failure)
{
    // To a database, a table, a column, for an action, to a routine.
    constexpr int refusals[] = {1044, 1142, 1143, 1227, 1370};
    return std::find(std::begin(refusals), std::end(refusals), failure.number()) != std::end(refusals);
}

QString wordsOf(const Failure &failure)
{
    return (isMissingRight(failure) ? QStringLiteral("権限が足りません: ")
                                    : QStringLiteral("読めませんでした: ")) +
           failure.description();
}
