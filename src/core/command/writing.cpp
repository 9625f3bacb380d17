#include "core/command/writing.h"

#include "core/session/basconnection.h"
#include "core/session/connectionstring.h"
#include "core/sql/statements.h"
#include "core/sql/words.h"

#include <QHash>

QString serverName(const Session &session)
{
    return trimmedBlanks(session.gDsn) == noDataSource() ? session.gServer + u':' + session.gPort
                                                         : shownSource(session.gDsn);
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
    const QString what =
        session.runner.isRunning() ? session.runner.what() + QStringLiteral("\r\n") : QString();
    return profile.environment != Environment::Production ||
           dialogue.warn(QStringLiteral("本番のサーバー「%1」(%2) を変更します。\r\n%3続けますか？")
                             .arg(profile.name, serverName(session), what));
}

bool mayWriteOnReplica(const Session &session, Dialogue &dialogue)
{
    return !session.role.isForReading() ||
           dialogue.warn(QStringLiteral("サーバー %1 は %2です。\r\nここでの変更は他のサーバーに伝わらず、"
                                        "レプリケーションが止まることがあります。\r\n続けますか？")
                             .arg(serverName(session), roleText(session.role)));
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

bool mayChange(const QString &statement, SqlMode mode)
{
    static const QStringList reading{"select",   "show",  "desc",     "describe", "explain",
                                     "help",     "use",   "set",      "with",     "values",
                                     "table",    "begin", "start",    "commit",   "do",
                                     "rollback", "check", "checksum", "kill",     "savepoint"};
    // With these words behind it, a statement that begins like one that reads writes after all: "with t as
    // (...) delete", "set statement ... for delete", "set password", "begin not atomic", "start slave".
    static const QHash<QString, QStringList> writing{
        {"with", {"insert", "update", "delete", "replace"}},
        {"set", {"statement", "global", "persist", "persist_only", "password", "default role"}},
        {"begin", {"not"}},
        {"start", {"slave", "replica", "all", "group_replication"}}};
    // They lift what keeps a session from writing, or write a file on the server.
    static const QStringList anywhere{"tx_read_only", "transaction_read_only", "read write", "outfile",
                                      "dumpfile"};
    QStringList words;
    for (const SqlWord &word : sqlWords(statement, mode))
        if (word.kind == TokenKind::Word)
            words << word.small;
    if (words.isEmpty() || !reading.contains(words.first()))
        return !words.isEmpty();
    const QStringList suspects = anywhere + writing.value(words.first());
    for (qsizetype at = 1; at < words.size(); ++at) {
        if (suspects.contains(words[at]) || suspects.contains(words[at - 1] + u' ' + words[at]))
            return true;
    }
    return false;
}
