#include "console/consoledraft.h"

#include "controls/text/sqltextbox.h"

#include <QTimer>

ConsoleDraft::ConsoleDraft(SqlTextBox &box, const QString &folder)
    : m_box(box)
    , m_timer(new QTimer(this))
{
    if (std::vector<std::unique_ptr<Draft>> left = Draft::left(folder); !left.empty()) {
        m_draft = std::move(left.back()); // the last one; others wait for the next console
        m_box.setContents(m_draft->contents()["text"].toString());
    } else {
        m_draft = std::make_unique<Draft>(folder);
    }
    constexpr int delay = 1000; // milliseconds after the last key
    m_timer->setSingleShot(true);
    m_timer->setInterval(delay);
    connect(m_timer, &QTimer::timeout, this, &ConsoleDraft::keep);
    connect(&m_box, &QsciScintilla::textChanged, m_timer, qOverload<>(&QTimer::start));
}

// Where it cannot be kept, nothing is said: the statement matters more.
void ConsoleDraft::keep()
{
    constexpr int most = 2'000'000; // bytes; a larger text comes from a file
    if (m_box.length() == 0 || m_box.length() > most)
        m_draft->remove();
    else
        m_draft->save({{"text", m_box.contents()}});
}

void ConsoleDraft::remove()
{
    m_timer->stop();
    m_draft->remove();
}
