#include "controls/text/wordcompletion.h"

#include "controls/text/sqltextbox.h"

namespace {

bool isPartOfName(QChar character)
{
    return character.isLetterOrNumber() || character == u'_' || character == u'$';
}

struct Begun {
    QString word;
    QString table;        // what stands before a dot in front of the word
    bool isTable = false; // it can only be a table's name
};

QString lastWord(const QString &text)
{
    qsizetype from = text.size();
    while (from > 0 && isPartOfName(text[from - 1]))
        --from;
    return text.mid(from);
}

bool leadsToTable(const QString &text)
{
    static const QStringList leading{"from", "join", "into", "update", "table"};
    const QString before = text.trimmed(), word = lastWord(before);
    const QString previous = lastWord(before.chopped(word.size()).trimmed());
    return before.size() < text.size() && leading.contains(word, Qt::CaseInsensitive) &&
           previous.compare(u"key", Qt::CaseInsensitive) != 0; // ON DUPLICATE KEY UPDATE
}

Begun begunBeforeCursor(const SqlTextBox &box)
{
    int line = 0;
    int column = 0;
    box.getCursorPosition(&line, &column);
    QString text = box.text(line).left(column);
    const QString word = lastWord(text);
    text.chop(word.size());
    if (!text.endsWith(u'.'))
        return {word, {}, leadsToTable(text)};
    text.chop(1);
    if (!text.endsWith(u'`'))
        return {word, lastWord(text), false};
    text.chop(1);
    return {word, text.mid(text.lastIndexOf(u'`') + 1), false};
}

QStringList startingWith(const QString &begun, QStringList words)
{
    words.removeIf([&](const QString &word) {
        return !word.startsWith(begun, Qt::CaseInsensitive) || word.contains(u'\n');
    });
    words.removeDuplicates();
    return words;
}

} // namespace

WordCompletion::WordCompletion(SqlTextBox &box)
    : m_box(box)
{
    m_box.SendScintilla(QsciScintilla::SCI_AUTOCSETIGNORECASE, 1);
    m_box.SendScintilla(QsciScintilla::SCI_AUTOCSETORDER, QsciScintilla::SC_ORDER_PERFORMSORT);
    m_box.SendScintilla(QsciScintilla::SCI_AUTOCSETSEPARATOR, '\n');
    m_box.SendScintilla(QsciScintilla::SCI_AUTOCSETMAXHEIGHT, 12);
}

void WordCompletion::offer()
{
    const Begun begun = begunBeforeCursor(m_box);
    QStringList words;
    if (begun.isTable)
        words = startingWith(begun.word, m_tables);
    if (words.isEmpty()) // of another database, perhaps, or none has been read
        words = wordsFor(begun.word, begun.table);
    if (!words.isEmpty())
        m_box.SendScintilla(QsciScintilla::SCI_AUTOCSHOW,
                            static_cast<unsigned long>(begun.word.toUtf8().size()),
                            words.join(u'\n').toUtf8().constData());
}

void WordCompletion::setNames(const QStringList &tablesAndColumns)
{
    m_names = tablesAndColumns;
    m_columns.clear();
    m_tables.clear();
    for (qsizetype i = 0; i + 1 < tablesAndColumns.size(); i += 2) {
        QStringList &columns = m_columns[tablesAndColumns[i].toLower()];
        if (columns.isEmpty())
            m_tables << tablesAndColumns[i];
        columns << tablesAndColumns[i + 1];
    }
    m_hasNames = true;
}

QStringList WordCompletion::wordsFor(const QString &begun, const QString &table) const
{
    const bool isUpper = !begun.isEmpty() && begun == begun.toUpper();
    const QString keywords = QString::fromUtf8(m_box.lexer()->keywords(1));
    QStringList words = m_columns.value(table.toLower());
    if (words.isEmpty()) // no dot, or the name of a database or an alias before it
        words = (isUpper ? keywords.toUpper() : keywords).split(u' ', Qt::SkipEmptyParts) + m_names;
    return startingWith(begun, words);
}
