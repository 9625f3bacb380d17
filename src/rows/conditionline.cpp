#include "rows/conditionline.h"

#include "core/sql/statements.h"

#include <QAbstractItemView>
#include <QAction>
#include <QCompleter>
#include <QKeyEvent>
#include <QMenu>
#include <QRegularExpression>
#include <QStringListModel>
#include <QStyle>

ConditionLine::ConditionLine(QWidget *parent)
    : QLineEdit(parent)
    , m_names(new QStringListModel(this))
    , m_openLastUsed(addAction(QIcon(), QLineEdit::TrailingPosition))
{
    m_openLastUsed->setToolTip(QStringLiteral("前に使ったもの (Alt+↓)"));
    m_openLastUsed->setEnabled(false);
    connect(m_openLastUsed, &QAction::triggered, this, &ConditionLine::openLastUsed);
    connect(this, &QLineEdit::textEdited, this, &ConditionLine::completeWord);
}

// The start is spared the search for the icon, and the making of the completer.
void ConditionLine::showEvent(QShowEvent *event)
{
    if (m_openLastUsed->icon().isNull())
        m_openLastUsed->setIcon(style()->standardIcon(QStyle::SP_ArrowDown));
    QLineEdit::showEvent(event);
}

void ConditionLine::setNames(const QStringList &columns)
{
    m_names->setStringList(columns);
}

void ConditionLine::setLastUsed(const QStringList &texts)
{
    m_lastUsed = texts;
    m_openLastUsed->setEnabled(!texts.isEmpty());
}

int ConditionLine::startOfWord() const
{
    int start = cursorPosition();
    while (start > 0 && (text()[start - 1].isLetterOrNumber() || text()[start - 1] == u'_'))
        --start;
    return start;
}

void ConditionLine::makeCompleter()
{
    m_completer = new QCompleter(m_names, this);
    m_completer->setWidget(this);
    m_completer->setCaseSensitivity(Qt::CaseInsensitive);
    connect(m_completer, qOverload<const QString &>(&QCompleter::activated), this,
            &ConditionLine::insertWord);
}

void ConditionLine::completeWord()
{
    if (!m_completer)
        makeCompleter();
    const int start = startOfWord();
    m_completer->setCompletionPrefix(text().mid(start, cursorPosition() - start));
    const bool isKnown = m_completer->completionCount() == 1 &&
                         m_completer->currentCompletion() == m_completer->completionPrefix();
    if (m_completer->completionPrefix().isEmpty() || m_completer->completionCount() == 0 || isKnown)
        m_completer->popup()->hide();
    else
        m_completer->complete();
}

void ConditionLine::insertWord(const QString &name)
{
    static const QRegularExpression bare(QStringLiteral("\\A[A-Za-z_]\\w*\\z"));
    const int start = startOfWord(), end = cursorPosition();
    const QString written = bare.match(name).hasMatch() ? name : quotedName(name);
    setText(text().left(start) + written + text().mid(end));
    setCursorPosition(start + static_cast<int>(written.size()));
}

void ConditionLine::openLastUsed()
{
    QMenu menu(this);
    for (const QString &used : m_lastUsed)
        menu.addAction(QString(used).replace(u'&', QStringLiteral("&&")), this, [this, used] {
            setText(used);
            Q_EMIT returnPressed();
        });
    menu.exec(mapToGlobal(QPoint(0, height())));
}

void ConditionLine::keyPressEvent(QKeyEvent *event)
{
    if (m_completer && m_completer->popup()->isVisible() &&
        (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Escape ||
         event->key() == Qt::Key_Tab)) {
        event->ignore(); // the list's
        return;
    }
    if (event->key() == Qt::Key_Down && event->modifiers() == Qt::AltModifier && m_openLastUsed->isEnabled())
        openLastUsed();
    else
        QLineEdit::keyPressEvent(event);
}
