#include "core/command/writing.h"

#include "core/session/basconnection.h"
#include "core/sql/lexer.h"
#include "core/sql/statements.h"

#include <algorithm>

QString serverName(const Session &session)
{
    return trimmedBlanks(session.gDsn) == noDataSource() ? session.gServer + u':' + session.gPort
                                                         : session.gDsn;
}

namespace {

// The saved connection's own word on writing.
bool mayWriteHere(const Session &session, Dialogue &dialogue)
{
    const ConnectionProfile &profile = session.profile;
    if (profile.isReadOnly) {
        dialogue.refuse(QStringLiteral("接続先「%1」は読み取り専用の接続です。").arg(profile.name));
        return false;
    }
    return profile.environment != Environment::Production ||
           dialogue.confirm(QStringLiteral("本番のサーバー「%1」(%2) を変更します。\r\n続けますか？")
                                .arg(profile.name, serverName(session)),
                            Icon::Critical);
}

bool mayWriteOnReplica(const Session &session, Dialogue &dialogue)
{
    return !session.role.isForReading() ||
           dialogue.confirm(QStringLiteral("サーバー %1 は %2です。\r\nここでの変更は他のサーバーに伝わらず、"
                                           "レプリケーションが止まることがあります。\r\n続けますか？")
                                .arg(serverName(session), roleText(session.role)),
                            Icon::Critical);
}

} // namespace

bool mayWrite(Session &session, Dialogue &dialogue)
{
    if (!mayWriteHere(session, dialogue))
        return false;
    if (!session.role.isForReading())
        return true;
    try {
        session.role = readServerRole(session.connection()); // it may have been promoted since
    } catch (const Failure &) {
        // The command itself finds the connection lost, or the stop.
    }
    return mayWriteOnReplica(session, dialogue);
}

bool confirmsWriting(const Session &session, Dialogue &dialogue)
{
    return mayWriteHere(session, dialogue) && mayWriteOnReplica(session, dialogue);
}

bool mayChange(const QString &statement)
{
    static const QStringList reading{"select",   "show",  "desc",     "describe", "explain",
                                     "help",     "use",   "set",      "with",     "values",
                                     "table",    "begin", "start",    "commit",   "do",
                                     "rollback", "check", "checksum", "kill",     "savepoint"};
    static const QStringList writing{"insert", "update", "delete", "replace"};
    QStringList words;
    for (const Token &token : sqlTokens(statement)) {
        if (token.kind == TokenKind::Word)
            words << statement.mid(token.start, token.length).toLower();
    }
    if (words.isEmpty() || !reading.contains(words.first()))
        return !words.isEmpty();
    // "with t as (...) delete ..."
    return words.first() == u"with" &&
           std::ranges::any_of(words, [](const QString &word) { return writing.contains(word); });
}
