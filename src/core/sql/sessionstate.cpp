#include "core/sql/sessionstate.h"

#include "core/sql/words.h"

#include <QRegularExpression>

#include <algorithm>

namespace {

bool follows(const QStringList &words, qsizetype place, QStringView first, QStringView second)
{
    return place + 1 < words.size() && words[place] == first && words[place + 1] == second;
}

bool contains(const QStringList &words, QStringView first, QStringView second)
{
    for (qsizetype i = 0; i < words.size(); ++i)
        if (follows(words, i, first, second))
            return true;
    return false;
}

// "@a", but not "@@a".
bool namesUserVariable(const QStringList &words)
{
    for (qsizetype i = 0; i < words.size(); ++i)
        if (words[i] == u"@" && (i == 0 || words[i - 1] != u"@") &&
            (i + 1 == words.size() || words[i + 1] != u"@"))
            return true;
    return std::ranges::any_of(words, [](const QString &word) {
        return word.startsWith(u'@') && !word.startsWith(u"@@") && word.size() > 1;
    });
}

// What the program sends leaves nothing that anybody misses: a definition in another character set, and rows
// that a restore reads through variables.
constexpr QStringView ownBlock = u"begin not atomic execute immediate convert(0x";
constexpr QStringView ownVariable = u"@tarnwell_";

// A word or a name, without its quotes.
QString unquoted(const SqlWord &word)
{
    const bool isQuoted = word.kind == TokenKind::Name || word.kind == TokenKind::Text;
    return isQuoted ? word.written.mid(1, word.written.size() - 2).toLower() : word.small;
}

QString wordOf(const QString &statement, std::size_t place)
{
    const std::vector<SqlWord> words = sqlWords(statement);
    return place < words.size() ? unquoted(words[place]) : QString();
}

// What a SET sets, as "@@session.autocommit=0", "session autocommit=0"; nothing, where that is neither of the
// session nor stays in it.
QStringList assignments(const QString &statement)
{
    static const QStringList others{"password", "statement", "default"};
    const std::vector<SqlWord> words = sqlWords(statement);
    if (words.size() > 1 && others.contains(words[1].small))
        return {};
    QStringList texts{QString()};
    for (std::size_t i = 1; i < words.size(); ++i) {
        const SqlWord &word = words[i];
        if (word.depth == 0 && word.written == u",") {
            texts << QString();
            continue;
        }
        const bool isBehindWord = i > 1 && words[i - 1].kind == TokenKind::Word;
        if (isBehindWord && (word.kind == TokenKind::Word || word.kind == TokenKind::Name))
            texts.last() += u' ';
        texts.last() += unquoted(word);
    }
    return texts;
}

// Words before a "(" that do nothing but compute. What is not here may be a function of the user's, which
// may do anything.
bool isHarmless(const QString &word)
{
    static const QStringList harmless{
        "select",  "from",    "where",  "and",     "or",       "not",         "on",           "using",
        "in",      "as",      "by",     "exists",  "values",   "over",        "with",         "union",
        "all",     "any",     "join",   "having",  "then",     "else",        "when",         "between",
        "like",    "limit",   "count",  "sum",     "min",      "max",         "avg",          "concat",
        "if",      "ifnull",  "nullif", "isnull",  "coalesce", "concat_ws",   "group_concat", "distinct",
        "length",  "left",    "right",  "lower",   "upper",    "trim",        "substring",    "substr",
        "round",   "floor",   "ceil",   "abs",     "mod",      "cast",        "convert",      "char",
        "date",    "now",     "year",   "month",   "day",      "date_format", "hex",          "replace",
        "decimal", "varchar", "binary", "version", "database", "user",        "current_user", "char_length",
        "row",     "index",   "key",    "force",   "use",      "ignore",      "partition",    "interval"};
    return harmless.contains(word);
}

} // namespace

void SessionState::note(const QString &statement, std::optional<bool> isInTransaction)
{
    if (!m_isNoting)
        return;
    const QStringList all = bareWords(statement);
    const QString first = all.value(0);
    if (follows(all, 0, u"begin", u"not"))
        m_hasRoutineTraces |= !statement.startsWith(ownBlock);
    else if (follows(all, 0, u"xa", u"commit") || follows(all, 0, u"xa", u"rollback"))
        m_hasTransaction = false;
    else if (first == u"begin" || follows(all, 0, u"start", u"transaction") || first == u"xa")
        m_hasTransaction = true;
    else if (first == u"commit" || (first == u"rollback" && !all.contains(u"to")))
        m_hasTransaction = false;
    else if (first == u"use")
        m_database = statement;
    else if (first == u"lock" || (first == u"flush" && contains(all, u"read", u"lock")))
        m_hasLocks = true;
    else if (first == u"unlock")
        m_hasLocks = false;
    else if (first == u"create" && all.mid(0, 5).contains(u"temporary"))
        m_hasTemporaryTables = true;
    else if (first == u"prepare" || (first == u"handler" && all.contains(u"open")))
        m_prepared << wordOf(statement, 1);
    else if (first == u"handler" && all.contains(u"close"))
        m_prepared.remove(wordOf(statement, 1));
    else if (follows(all, 0, u"deallocate", u"prepare") || follows(all, 0, u"drop", u"prepare"))
        m_prepared.remove(wordOf(statement, 2));
    else if (first == u"call" || first == u"execute")
        m_hasRoutineTraces = true;
    else if (first == u"set")
        noteSet(statement);
    // These end a transaction; the temporary ones do not.
    static const QStringList ending{"create", "alter", "drop", "rename", "truncate", "grant", "revoke"};
    if (ending.contains(first) && isInTransaction == false)
        m_hasTransaction = false;
    if (all.contains(u"get_lock"))
        m_hasLocks = true;
    const bool assigns = all.contains(u":=") || contains(all, u":", u"=") || all.contains(u"into");
    if (assigns && namesUserVariable(all) && !(first == u"load" && statement.contains(ownVariable)))
        m_hasUserVariables = true;
    const bool endsOne =
        (first == u"commit" || first == u"rollback") && !all.contains(u"to") && !all.contains(u"chain");
    m_mustEnd = m_mustEnd && isInTransaction.value_or(!endsOne);
}

void SessionState::noteSet(const QString &statement)
{
    static const QRegularExpression form(
        QStringLiteral("^(@@|@)?(?:(global|session|local|persist|persist_only)[. ])?(\\w+)(?::?=(.*))?"));
    static const QStringList elsewhere{"global", "persist", "persist_only"}, on{"1", "on", "true", "default"},
        off{"0", "off", "false"};
    QString scope; // goes for what follows as well, where it is a word of its own
    for (const QString &assignment : assignments(statement)) {
        const QRegularExpressionMatch match = form.match(assignment);
        const bool isSystem = match.captured(1) == u"@@";
        if (!isSystem && !match.captured(2).isEmpty())
            scope = match.captured(2);
        if (elsewhere.contains(isSystem ? match.captured(2) : scope))
            continue;
        if (assignment.startsWith(u'@') && !isSystem)
            m_hasUserVariables = true;
        else if (match.captured(3) != u"autocommit")
            m_hasSettings = true;
        else if (on.contains(match.captured(4)) || off.contains(match.captured(4)))
            m_isWithoutAutocommit = off.contains(match.captured(4)); // else it is not known
    }
}

void SessionState::holdOwn(const void *owner, bool holds)
{
    if (holds)
        m_owners << owner;
    else
        m_owners.remove(owner);
}

void SessionState::keepFromWriting(std::optional<bool> isInTransaction)
{
    m_mustEnd = isInTransaction.value_or(m_hasTransaction || m_isWithoutAutocommit);
}

QString lostAutocommit()
{
    return QStringLiteral("autocommit=0 の設定（新しい接続では文ごとに確定します）");
}

QStringList SessionState::held() const
{
    QStringList texts;
    const std::pair<bool, QString> parts[] = {
        {m_hasTransaction || m_isWithoutAutocommit, QStringLiteral("トランザクション")},
        {m_isWithoutAutocommit, lostAutocommit()},
        {m_hasLocks, QStringLiteral("ロック")},
        {m_hasTemporaryTables, QStringLiteral("一時テーブル")},
        {m_hasUserVariables, QStringLiteral("ユーザー変数")},
        {m_hasSettings, QStringLiteral("セッション変数の設定")},
        {!m_prepared.isEmpty(), QStringLiteral("プリペアドステートメント")},
        {m_hasRoutineTraces, QStringLiteral("プロシージャが接続に残したもの")}};
    for (const auto &[isHeld, text] : parts)
        if (isHeld)
            texts << text;
    return texts;
}

bool canBeRepeated(const QString &statement)
{
    static const QStringList reading{"select", "show", "desc", "describe", "explain", "help", "with"};
    static const QStringList notHarmless{"into", "update", "delete", "insert",  "replace", "procedure",
                                         "lock", "share",  "next",   "analyze", "for",     "nextval"};
    const QStringList all = bareWords(statement);
    if (!reading.contains(all.value(0)))
        return false;
    if (all[0] == u"show" || all[0] == u"desc" || all[0] == u"describe" || all[0] == u"help")
        return all.value(1) != u"warnings" && all.value(1) != u"errors" && all.value(1) != u"count";
    for (qsizetype i = 0; i < all.size(); ++i)
        if (notHarmless.contains(all[i]) || all[i].startsWith(u"/*") ||
            (i > 0 && all[i] == u"(" && all[i - 1].front().isLetter() && !isHarmless(all[i - 1])))
            return false;
    return !namesUserVariable(all) && !all.contains(u":=");
}
