#include "core/sql/selectedtable.h"

#include "core/sql/words.h"

#include <QStringList>

namespace {

QString nameOf(const SqlWord &word)
{
    if (word.kind != TokenKind::Name || word.written.size() < 3)
        return word.written;
    QString text = word.written.mid(1, word.written.size() - 2);
    return text.replace(QString(2, word.written[0]), QString(word.written[0]));
}

// What no SELECT over one table is as long as.
constexpr qsizetype longest = 64 * 1024;

// Reads the parts of a SELECT in their order, as far as they leave a table's rows as they are.
class Reader {
public:
    explicit Reader(std::vector<SqlWord> words)
        : m_words(std::move(words))
    {
    }

    SelectedTable read();

private:
    bool isWord(QStringView word) const { return m_at < m_words.size() && m_words[m_at].small == word; }
    bool takes(QStringView word)
    {
        const bool isTaken = isWord(word);
        m_at += isTaken ? 1 : 0;
        return isTaken;
    }
    bool isName() const
    {
        return m_at < m_words.size() &&
               (m_words[m_at].kind == TokenKind::Name || m_words[m_at].kind == TokenKind::Word);
    }
    bool takesName(QStringList &parts);
    bool takesColumns();
    void passAlias();
    QString whyNotRest() const;

    const std::vector<SqlWord> m_words;
    std::size_t m_at = 0;
};

// "a", "t.a", "d.t.a"; with "*" in the place of the last part where that stands behind a dot.
bool Reader::takesName(QStringList &parts)
{
    do {
        if (!parts.isEmpty() && takes(u"*"))
            return true;
        if (!isName())
            return false;
        parts << nameOf(m_words[m_at++]);
    } while (takes(u"."));
    return true;
}

bool Reader::takesColumns()
{
    // They look like columns, and are the server's own values.
    static const QStringList values{"null",
                                    "true",
                                    "false",
                                    "current_date",
                                    "current_time",
                                    "current_timestamp",
                                    "current_user",
                                    "current_role",
                                    "localtime",
                                    "localtimestamp",
                                    "utc_date",
                                    "utc_time",
                                    "utc_timestamp",
                                    "distinct",
                                    "distinctrow",
                                    "rownum",
                                    "sql_calc_found_rows"};
    do {
        if (takes(u"*"))
            continue;
        QStringList parts;
        if (m_at < m_words.size() && values.contains(m_words[m_at].small))
            return false;
        if (!takesName(parts))
            return false;
    } while (takes(u","));
    return true;
}

void Reader::passAlias()
{
    static const QStringList clauses{"where",     "order",         "limit",  "group",   "having", "for",
                                     "lock",      "use",           "force",  "ignore",  "union",  "except",
                                     "join",      "inner",         "left",   "right",   "cross",  "into",
                                     "intersect", "straight_join", "window", "natural", "fetch",  "offset",
                                     "partition", "procedure"};
    if (takes(u"as"))
        ++m_at;
    else if (isName() && !clauses.contains(m_words[m_at].small))
        ++m_at;
}

// What stands behind the table may choose and order rows, nothing else.
QString Reader::whyNotRest() const
{
    static const QStringList changing{
        "join",      "straight_join", "group", "having", "union", "except",     "minus",
        "intersect", "procedure",     "into",  "window", ",",     "system_time"};
    bool isInOrder = false; // where a comma means another column
    for (std::size_t at = m_at; at < m_words.size(); ++at) {
        const SqlWord &word = m_words[at];
        if (word.depth > 0)
            continue;
        isInOrder |= word.small == u"order" || word.small == u"limit";
        if (changing.contains(word.small) && !(word.small == u"," && isInOrder))
            return QStringLiteral("ひとつのテーブルの行そのものではありません");
    }
    return {};
}

SelectedTable Reader::read()
{
    const auto none = [](const char *why) { return SelectedTable{{}, {}, QString::fromUtf8(why)}; };
    if (!takes(u"select"))
        return none("ひとつのテーブルのSELECTの結果ではありません");
    if (!takesColumns() || !isWord(u"from"))
        return none("列そのものではない式や別名があります");
    ++m_at;
    QStringList parts;
    if (!takesName(parts) || parts.size() > 2 || isWord(u"("))
        return none("ひとつのテーブルの行そのものではありません");
    passAlias();
    if (const QString why = whyNotRest(); !why.isEmpty())
        return {{}, {}, why};
    return {parts.size() == 2 ? parts[0] : QString(), parts.last(), {}};
}

} // namespace

SelectedTable selectedTable(const QByteArray &statement, SqlMode mode)
{
    if (statement.size() > longest)
        return {{}, {}, QStringLiteral("文が長すぎます")};
    return Reader(sqlWords(QString::fromUtf8(statement), mode)).read();
}

QString databaseOfUse(const QByteArray &statement, SqlMode mode)
{
    if (statement.size() > longest)
        return {};
    const std::vector<SqlWord> words = sqlWords(QString::fromUtf8(statement), mode);
    return words.size() >= 2 && words[0].small == u"use" ? nameOf(words[1]) : QString();
}
