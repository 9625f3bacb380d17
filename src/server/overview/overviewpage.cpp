#include "server/overview/overviewpage.h"

#include "controls/window/building.h"
#include "server/keyedlist.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedLayout>
#include <QVBoxLayout>

namespace {

// What the server refuses is a word on the page; a list that cannot be read any more is emptied.
Overview::Answer answerOf(const Overview &overview, Connection &connection)
{
    try {
        return overview.read(connection);
    } catch (const Failure &failure) {
        if (failure.isConnectionLost() || failure.isInterrupted())
            throw;
        return {{}, {}, wordsOf(failure)};
    }
}

} // namespace

OverviewPage::OverviewPage(const ServerSurroundings &around, const char *name, const QString &title,
                           std::vector<Overview> overviews, Reading reading)
    : ServerPage(around, name, title)
    , m_overviews(std::move(overviews))
    , m_reading(reading)
    , m_choice(made<QComboBox>("overviewChoice"))
    , m_filters(new QStackedLayout)
    , m_stack(new QStackedLayout)
    , m_note(wordsLabel("overviewNote"))
{
    for (const Overview &each : m_overviews) {
        auto *list = new KeyedList(each.name, each.title, each.columns);
        list->setPlaceholderText(QStringLiteral("読んでいます..."));
        m_lists.push_back(list);
        m_choice->addItem(each.title);
    }
    buildLayout();
    connect(m_choice, &QComboBox::currentIndexChanged, this, &OverviewPage::choose);
}

void OverviewPage::buildLayout()
{
    m_choice->setAccessibleName(title() + QStringLiteral("の一覧の種類"));
    m_choice->setVisible(m_overviews.size() > 1);
    auto *copy = made<QPushButton>("copyOverview", QStringLiteral("コピー"));
    copy->setToolTip(QStringLiteral("選んだ行を写します (Ctrl+C)"));
    connect(copy, &QPushButton::clicked, this,
            [this] { m_lists[static_cast<std::size_t>(m_stack->currentIndex())]->copy(); });
    auto *line = new QHBoxLayout;
    line->addWidget(m_choice);
    line->addLayout(m_filters, 1);
    for (KeyedList *list : m_lists) {
        m_filters->addWidget(makeFilter((list->objectName() + QStringLiteral("Filter")).toLatin1(), *list));
        m_stack->addWidget(list);
    }
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(copy);
    buttons->addStretch(1);
    content()->addLayout(line);
    content()->addLayout(m_stack, 1);
    content()->addWidget(m_note);
    content()->addLayout(buttons);
}

void OverviewPage::choose(int index)
{
    m_filters->setCurrentIndex(index);
    m_stack->setCurrentIndex(index);
    m_note->clear();
    tellProblem({});
    refresh(); // also while another list is still being read: its answer goes to that list
}

void OverviewPage::refresh()
{
    const auto index = static_cast<std::size_t>(m_stack->currentIndex());
    ask([overview =
             m_overviews[index]](Session &session) { return answerOf(overview, session.connection()); },
        [this, index](Overview::Answer answer) { show(index, std::move(answer)); });
}

void OverviewPage::show(std::size_t index, Overview::Answer answer)
{
    const Overview &overview = m_overviews[index];
    m_lists[index]->setPlaceholderText(answer.problem.isEmpty() ? overview.whenEmpty : QString());
    m_lists[index]->show(std::move(answer.rows));
    if (static_cast<int>(index) != m_stack->currentIndex())
        return;
    tellProblem(answer.problem);
    m_note->setText(answer.note);
}
