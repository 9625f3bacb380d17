#include "sheets/sheeteditor.h"

#include <QKeyEvent>
#include <QTimer>

namespace {

// Larger texts are not split with every move of the cursor.
constexpr int mostMarkedBytes = 300'000;
constexpr int marginOfMarks = 1;

} // namespace

SheetEditor::SheetEditor(QWidget *parent)
    : StatementBox(parent)
    , m_errorMark(markerDefine(Background))
    , m_statementMark(markerDefine(FullRectangle))
    , m_later(new QTimer(this))
{
    showLineNumbers(true);
    setMarginType(marginOfMarks, SymbolMargin);
    setMarginWidth(marginOfMarks, 4);
    setMarginMarkerMask(marginOfMarks, 1 << m_statementMark);
    m_later->setSingleShot(true);
    m_later->setInterval(80);
    connect(m_later, &QTimer::timeout, this, &SheetEditor::markStatement);
    connect(this, &QsciScintilla::cursorPositionChanged, m_later, qOverload<>(&QTimer::start));
    connect(this, &QsciScintilla::textChanged, this, [this] {
        clearError();
        m_later->start();
    });
    colourMarks();
}

QByteArray SheetEditor::bytes() const
{
    QByteArray bytes(static_cast<qsizetype>(length()) + 1, Qt::Uninitialized);
    SendScintilla(SCI_GETTEXT, static_cast<unsigned long>(bytes.size()), bytes.data());
    bytes.chop(1);
    return bytes;
}

int SheetEditor::cursorPlace() const
{
    return static_cast<int>(SendScintilla(SCI_GETCURRENTPOS));
}

void SheetEditor::setCursorPlace(int place)
{
    SendScintilla(SCI_GOTOPOS, static_cast<unsigned long>(std::max(0, place)));
}

std::pair<int, int> SheetEditor::selection() const
{
    return {static_cast<int>(SendScintilla(SCI_GETSELECTIONSTART)),
            static_cast<int>(SendScintilla(SCI_GETSELECTIONEND))};
}

int SheetEditor::lineOf(int place) const
{
    return static_cast<int>(SendScintilla(SCI_LINEFROMPOSITION, static_cast<unsigned long>(place)));
}

void SheetEditor::replace(int start, int end, const QByteArray &text)
{
    beginUndoAction();
    SendScintilla(SCI_SETTARGETRANGE, static_cast<unsigned long>(start), static_cast<long>(end));
    SendScintilla(SCI_REPLACETARGET, static_cast<unsigned long>(text.size()), text.constData());
    endUndoAction();
}

void SheetEditor::insertStatement(const QString &text)
{
    if (hasSelectedText())
        return replaceSelectedText(text);
    const QByteArray all = bytes(), before = all.left(cursorPlace()), behind = all.mid(before.size());
    const auto isBlank = [](const QByteArray &part) { return part.trimmed().isEmpty(); };
    QString statement = text;
    if (!isBlank(before.mid(before.lastIndexOf('\n') + 1)))
        statement.prepend(u'\n');
    if (!isBlank(behind) && !text.trimmed().endsWith(u';'))
        statement += u';';
    if (!isBlank(behind.split('\n').first()))
        statement += u'\n';
    insert(statement);
}

void SheetEditor::markError(int line)
{
    clearError();
    markerAdd(line, m_errorMark);
    ensureLineVisible(line);
}

void SheetEditor::clearError()
{
    markerDeleteAll(m_errorMark);
}

void SheetEditor::changeEvent(QEvent *event)
{
    StatementBox::changeEvent(event);
    if (event->type() != QEvent::PaletteChange)
        return;
    colourMarks();
    colourQuotes();
}

void SheetEditor::colourMarks()
{
    const bool isDark = palette().color(QPalette::Base).lightness() < 128;
    setMarkerBackgroundColor(isDark ? QColor(0x6b, 0x24, 0x24) : QColor(0xff, 0xd6, 0xd6), m_errorMark);
    setMarkerBackgroundColor(palette().color(QPalette::Highlight), m_statementMark);
    setMarkerForegroundColor(palette().color(QPalette::Highlight), m_statementMark);
}

void SheetEditor::showEvent(QShowEvent *event)
{
    StatementBox::showEvent(event);
    colourQuotes();
}

void SheetEditor::setMode(SqlMode mode)
{
    m_mode = mode;
    colourQuotes();
    m_later->start();
}

void SheetEditor::colourQuotes()
{
    auto *sql = qobject_cast<QsciLexerSQL *>(lexer());
    if (!sql) // before the box is seen
        return;
    if (sql->backslashEscapes() == m_mode.hasPlainBackslashes)
        sql->setBackslashEscapes(!m_mode.hasPlainBackslashes);
    const int like = m_mode.hasAnsiQuotes ? QsciLexerSQL::QuotedIdentifier : QsciLexerSQL::SingleQuotedString;
    sql->setColor(sql->color(like), QsciLexerSQL::DoubleQuotedString);
}

// The lines of the statement that Ctrl+Enter would send.
void SheetEditor::markStatement()
{
    markerDeleteAll(m_statementMark);
    if (length() > mostMarkedBytes)
        return;
    const QByteArray text = bytes();
    const int place = cursorPlace();
    for (const ScriptPiece &piece : pieces({text.constData(), static_cast<std::size_t>(text.size())})) {
        if (piece.end < place)
            continue;
        const int last = lineOf(static_cast<int>(piece.start) + static_cast<int>(piece.text.size()));
        for (int line = lineOf(static_cast<int>(piece.start)); line <= last; ++line)
            markerAdd(line, m_statementMark);
        return;
    }
}
