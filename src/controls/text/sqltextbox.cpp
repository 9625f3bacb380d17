#include "controls/text/sqltextbox.h"

#include "controls/text/findbar.h"
#include "controls/text/textcolours.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>

namespace {

class MySqlLexer : public QsciLexerSQL {
public:
    using QsciLexerSQL::QsciLexerSQL;

    // QScintilla 2.13 knows the words of the standard, not those of these servers.
    const char *keywords(int set) const override
    {
        static const QByteArray words =
            QsciLexerSQL::keywords(1) +
            QByteArrayLiteral(
                " analyze auto_increment bigint change charset columns comment database databases datetime "
                "delayed delimiter div duplicate engine enum event exists explain flush force fulltext "
                "grants "
                "handler index infile json kill keys lines load lock longblob longtext mediumblob mediumint "
                "mediumtext mod modify offset optimize outfile over partition processlist regexp rename "
                "repair replace rlike separator show straight_join tables terminated text tinyblob tinyint "
                "tinytext truncate unlock unsigned use varbinary variables warnings window xor zerofill");
        return set == 1 ? words.constData() : QsciLexerSQL::keywords(set);
    }
};

} // namespace

SqlTextBox::SqlTextBox(QWidget *parent)
    : QsciScintilla(parent)
{
    setUtf8(true);
    setEolMode(EolWindows);
    setTabWidth(4);
    setIndentationsUseTabs(true);
    setAutoIndent(true);
    setBraceMatching(SloppyBraceMatch);
    setMarginWidth(1, 0);
    setScrollWidth(1);
    setScrollWidthTracking(true);
    // It opens an SQL sheet from every window; Scintilla swaps two lines by it.
    if (QsciCommand *command = standardCommands()->boundTo((Qt::CTRL | Qt::Key_T).toCombined()))
        command->setKey(0);
    addFindBar(*this);
    connect(this, &QsciScintilla::linesChanged, this, [this] { fitLineNumbers(); });
}

void SqlTextBox::showLineNumbers(bool isOn)
{
    m_hasLineNumbers = isOn;
    setMarginLineNumbers(0, isOn);
    fitLineNumbers();
}

void SqlTextBox::setContents(const QString &text)
{
    const bool wasReadOnly = isReadOnly();
    QsciScintilla::setReadOnly(false);
    setText(text);
    QsciScintilla::setReadOnly(wasReadOnly);
}

QString SqlTextBox::contents() const
{
    // Not by text(), which ends at a NUL.
    QByteArray bytes(static_cast<qsizetype>(length()) + 1, Qt::Uninitialized);
    SendScintilla(SCI_GETTEXT, static_cast<unsigned long>(bytes.size()), bytes.data());
    QString text = QString::fromUtf8(bytes.constData(), bytes.size() - 1);
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    text.replace(u'\r', u'\n');
    return text.replace(u'\n', QStringLiteral("\r\n"));
}

void SqlTextBox::setReadOnly(bool isReadOnly)
{
    QsciScintilla::setReadOnly(isReadOnly);
    colour();
}

void SqlTextBox::changeEvent(QEvent *event)
{
    QsciScintilla::changeEvent(event);
    if (event->type() == QEvent::PaletteChange)
        colour();
}

// The library's own menu speaks English only.
void SqlTextBox::contextMenuEvent(QContextMenuEvent *event)
{
    QMenu menu(this);
    menu.setObjectName(QStringLiteral("editorMenu"));
    const auto add = [&](const QString &text, QKeySequence::StandardKey key, bool isEnabled, auto run) {
        QAction *action = menu.addAction(text, this, run);
        action->setShortcut(key);
        action->setEnabled(isEnabled);
    };
    const bool mayEdit = !isReadOnly(), hasSelection = hasSelectedText();
    add(QStringLiteral("元に戻す(&U)"), QKeySequence::Undo, mayEdit && isUndoAvailable(), [this] { undo(); });
    add(QStringLiteral("やり直し(&R)"), QKeySequence::Redo, mayEdit && isRedoAvailable(), [this] { redo(); });
    menu.addSeparator();
    add(QStringLiteral("切り取り(&T)"), QKeySequence::Cut, mayEdit && hasSelection, [this] { cut(); });
    add(QStringLiteral("コピー(&C)"), QKeySequence::Copy, hasSelection, [this] { copy(); });
    add(QStringLiteral("貼り付け(&P)"), QKeySequence::Paste, mayEdit && SendScintilla(SCI_CANPASTE) != 0,
        [this] { paste(); });
    add(QStringLiteral("削除(&D)"), QKeySequence::UnknownKey, mayEdit && hasSelection,
        [this] { removeSelectedText(); });
    menu.addSeparator();
    add(QStringLiteral("すべて選択(&A)"), QKeySequence::SelectAll, length() > 0, [this] { selectAll(); });
    menu.addSeparator();
    menu.addActions(actions());
    menu.exec(event->globalPos());
}

// Scintilla would keep Escape for itself, also where it has no list to close.
bool SqlTextBox::event(QEvent *event)
{
    const bool isOverride = event->type() == QEvent::ShortcutOverride;
    const bool isWindows = (isOverride || event->type() == QEvent::KeyPress) &&
                           static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape && !isListActive();
    const bool isTaken = (isOverride && isWindows) || QsciScintilla::event(event);
    if (isWindows)
        event->ignore();
    return isTaken;
}

void SqlTextBox::keyPressEvent(QKeyEvent *event)
{
    const bool isTab = event->key() == Qt::Key_Tab || event->key() == Qt::Key_Backtab;
    // Tab indents, so keyboard users leave the box with Ctrl+Tab.
    if (isTab && (event->modifiers() & Qt::ControlModifier)) {
        const bool isForward = event->key() == Qt::Key_Tab && !(event->modifiers() & Qt::ShiftModifier);
        QAbstractScrollArea::focusNextPrevChild(isForward); // QScintilla's own keeps the focus
        return;
    }
    QsciScintilla::keyPressEvent(event);
}

// QScintilla 2.13 hands out the whole paragraph around the caret with every key, a second for a text of
// 150 MB without a blank line. An input method needs no more than the line.
QVariant SqlTextBox::inputMethodQuery(Qt::InputMethodQuery query) const
{
    int line = 0, index = 0;
    getCursorPosition(&line, &index);
    switch (query) {
    case Qt::ImSurroundingText:
        return text(line);
    case Qt::ImCursorPosition:
    case Qt::ImAnchorPosition:
        return index;
    default:
        return QsciScintilla::inputMethodQuery(query);
    }
}

void SqlTextBox::colour()
{
    if (lexer())
        colourSql(*this);
}

// Colours and fonts are not loaded before the box is seen: the program's start need not wait for them.
void SqlTextBox::showEvent(QShowEvent *event)
{
    if (!lexer())
        buildLexer();
    QsciScintilla::showEvent(event);
    fitLineNumbers();
}

void SqlTextBox::buildLexer()
{
    auto *lexer = new MySqlLexer(this);
    lexer->setBackslashEscapes(true);
    lexer->setHashComments(true);
    lexer->setQuotedIdentifiers(true);
    setLexer(lexer);
    colour();
}

void SqlTextBox::fitLineNumbers()
{
    if (!isVisible())
        return;
    setMarginWidth(0, m_hasLineNumbers ? QStringLiteral("0%1").arg(lines()) : QString());
    if (!m_hasLineNumbers)
        setMarginWidth(0, 0);
}
