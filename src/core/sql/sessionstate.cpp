#include "core/sql/sessionstate.h"

#include "core/sql/words.h"

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
    const QStringList all = bareWords(statement);
    const QString first = all.value(0), second = all.value(1);
    if (first == u"begin" || follows(all, 0, u"start", u"transaction") || first == u"xa")
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
    else if (first == u"prepare" || first == u"handler")
        m_hasPrepared = true;
    else if (first == u"call" || first == u"execute")
        m_hasRoutineTraces = true;
    else if (first == u"set" && second != u"global" && second != u"password" && second != u"persist") {
        if (all.contains(u"autocommit") || all.contains(u"@@autocommit"))
            m_isWithoutAutocommit =
                statement.contains(u'0') || all.contains(u"off") || all.contains(u"false");
        else if (namesUserVariable(all))
            m_hasUserVariables = true;
        else
            m_hasSettings = true;
    }
    if (all.contains(u"get_lock"))
        m_hasLocks = true;
    const bool assigns = all.contains(u":=") || contains(all, u":", u"=") || all.contains(u"into");
    if (assigns && namesUserVariable(all))
        m_hasUserVariables = true;
    const bool endsOne =
        (first == u"commit" || first == u"rollback") && !all.contains(u"to") && !all.contains(u"chain");
    m_mustEnd = m_mustEnd && isInTransaction.value_or(!endsOne);
}

void SessionState::keepFromWriting(std::optional<bool> isInTransaction)
{
    m_mustEnd = isInTransaction.value_or(m_hasTransaction || m_isWithoutAutocommit);
}

QStringList SessionState::held() const
{
    QStringList texts;
    const std::pair<bool, QString> parts[] = {
        {m_hasTransaction || m_isWithoutAutocommit, QStringLiteral("トランザクション")},
        {m_isWithoutAutocommit, QStringLiteral("autocommit=0 の設定（新しい接続では文ごとに確定します）")},
        {m_hasLocks, QStringLiteral("ロック")},
        {m_hasTemporaryTables, QStringLiteral("一時テーブル")},
        {m_hasUserVariables, QStringLiteral("ユーザー変数")},
        {m_hasSettings, QStringLiteral("セッション変数の設定")},
        {m_hasPrepared, QStringLiteral("プリペアドステートメント")},
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
