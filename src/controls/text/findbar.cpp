#include "controls/text/findbar.h"

#include "controls/text/scintilla.h"
#include "controls/window/building.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QTimer>
#include <QToolButton>

namespace {

// To go through 150 MB takes a second: in more than this the search waits for a pause in the typing.
constexpr int largeText = 4 * 1024 * 1024;

} // namespace

FindBar::FindBar(QAbstractScrollArea *host)
    : QWidget(host)
    , m_host(host)
{
    setObjectName(QStringLiteral("findBar"));
    setAutoFillBackground(true);
    setCursor(Qt::ArrowCursor);
    m_host->installEventFilter(this);
    hide();
}

void FindBar::build()
{
    m_line = new QLineEdit(this);
    m_message = new QLabel(this);
    m_line->setObjectName(QStringLiteral("findText"));
    m_line->setPlaceholderText(QStringLiteral("検索"));
    m_line->setAccessibleName(QStringLiteral("検索する文字"));
    m_line->setMinimumWidth(150);
    auto *layout = new QHBoxLayout(this);
    layout->setContentsMargins(4, 3, 4, 3);
    layout->setSpacing(2);
    layout->addWidget(m_line);
    layout->addWidget(m_message);
    QList<QWidget *> order{m_line};
    const auto addButton = [&](const char *name, const QString &face, const QString &tip, auto clicked) {
        auto *button = new QToolButton(this);
        button->setObjectName(QLatin1String(name));
        button->setText(face);
        button->setToolTip(tip);
        button->setAccessibleName(tip);
        button->setAutoRaise(true);
        layout->addWidget(button);
        order << button;
        connect(button, &QToolButton::clicked, this, clicked);
    };
    addButton("findPrevious", QStringLiteral("▲"), QStringLiteral("前を検索 (Shift+F3)"),
              [this] { request(false, false); });
    addButton("findNext", QStringLiteral("▼"), QStringLiteral("次を検索 (F3)"),
              [this] { request(true, false); });
    addButton("findClose", QStringLiteral("×"), QStringLiteral("閉じる (Esc)"), [this] {
        hide();
        m_host->setFocus();
    });
    followInTabOrder(*m_host, order);
    connect(m_line, &QLineEdit::textEdited, this, [this] { request(true, true); });
    m_line->installEventFilter(this);
}

void FindBar::open(const QString &text)
{
    if (!m_line)
        build();
    if (!text.isEmpty())
        m_line->setText(text);
    m_message->clear();
    show();
    raise();
    place();
    m_line->setFocus(Qt::ShortcutFocusReason);
    m_line->selectAll();
}

void FindBar::showMessage(const QString &message)
{
    if (m_message)
        m_message->setText(message);
    place();
}

QString FindBar::text() const
{
    return m_line ? m_line->text() : QString();
}

bool FindBar::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_host && event->type() == QEvent::Resize)
        place();
    if (event->type() == QEvent::ShortcutOverride || event->type() == QEvent::KeyPress)
        if (handleHostKey(event))
            return true;
    if (watched == m_line && event->type() == QEvent::KeyPress) {
        const auto *key = static_cast<QKeyEvent *>(event);
        if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter) {
            request(!(key->modifiers() & Qt::ShiftModifier), false);
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

// Taken before any shortcut of the window, so that Ctrl+F means the box that has the focus.
bool FindBar::handleHostKey(QEvent *event)
{
    auto *key = static_cast<QKeyEvent *>(event);
    const bool isFind = key->matches(QKeySequence::Find);
    const bool isNext = key->key() == Qt::Key_F3 && !(key->modifiers() & ~Qt::ShiftModifier);
    const bool isClose = key->key() == Qt::Key_Escape && isVisible();
    if (!isFind && !isNext && !isClose)
        return false;
    if (event->type() == QEvent::ShortcutOverride) {
        event->accept();
        return true;
    }
    if (isClose) {
        hide();
        m_host->setFocus();
    } else if (isFind || text().isEmpty()) {
        open({});
        Q_EMIT opening();
    } else {
        request(!(key->modifiers() & Qt::ShiftModifier), false);
    }
    return true;
}

void FindBar::place()
{
    if (!isVisible())
        return;
    adjustSize();
    const QRect area = m_host->viewport()->geometry();
    resize(std::min(width(), area.width()), height());
    // Below: the header and the first row stay in sight.
    move(area.right() - width() + 1, area.bottom() - height() + 1);
}

void FindBar::request(bool isForward, bool isTyping)
{
    m_message->clear();
    if (!text().isEmpty())
        Q_EMIT findRequested(text(), isForward, isTyping);
    place();
}

void addFindBar(QsciScintilla &box)
{
    auto *bar = new FindBar(&box);
    QObject::connect(bar, &FindBar::opening, &box, [&box, bar] {
        const QString chosen = box.selectedText();
        if (!chosen.contains(u'\n'))
            bar->open(chosen);
    });
    const auto find = [&box, bar](const QString &text, bool isForward, bool isTyping) {
        int line = -1, index = -1, endLine = -1, endIndex = -1;
        if (box.hasSelectedText())
            box.getSelection(&line, &index, &endLine, &endIndex);
        else
            box.getCursorPosition(&line, &index);
        // While typing the hit grows where it is; otherwise the next one counts.
        if (isForward && !isTyping && endLine >= 0)
            line = endLine, index = endIndex;
        const bool isFound = box.findFirst(text, false, false, false, true, isForward, line, index, true);
        bar->showMessage(isFound ? QString() : QStringLiteral("見つかりません"));
    };
    auto *typed = new QTimer(bar);
    typed->setSingleShot(true);
    typed->setInterval(300);
    QObject::connect(typed, &QTimer::timeout, bar, [bar, find] { find(bar->text(), true, true); });
    QObject::connect(bar, &FindBar::findRequested, &box,
                     [&box, bar, typed, find](const QString &text, bool isForward, bool isTyping) {
                         typed->stop();
                         if (!isTyping || box.length() < largeText) {
                             find(text, isForward, isTyping);
                             return;
                         }
                         bar->showMessage(QStringLiteral("検索中…"));
                         typed->start();
                     });
}
