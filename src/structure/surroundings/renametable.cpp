#include "structure/surroundings/renametable.h"

#include "core/command/definition.h"
#include "core/command/doubt.h"
#include "core/command/writing.h"
#include "core/sql/names.h"
#include "core/sql/statements.h"
#include "structure/surroundings/surroundings.h"

#include <array>

namespace {

QString lineOf(const RelatedThing &thing)
{
    switch (thing.kind) {
    case RelatedThing::Kind::Table:
        return QStringLiteral("・外部キー %1 %2").arg(thing.name, thing.details);
    case RelatedThing::Kind::Fact:
        return QStringLiteral("・権限 %1 (%2)").arg(thing.name, thing.details);
    default:
        return QStringLiteral("・%1 %2").arg(thing.details, thing.name);
    }
}

// Whether the commands that name it without quotes would refuse it.
bool isAwkward(const QString &database, const QString &name)
{
    try {
        requireOwnName(database, name);
        return false;
    } catch (const Failure &) {
        return true;
    }
}

QString questionFor(Session &session, const QString &database, const QString &oldName, const QString &newName)
{
    constexpr qsizetype mostLines = 20;
    QStringList lines;
    for (const RelatedThing &thing : readReferring(session, database, oldName))
        lines << lineOf(thing);
    QString question = QStringLiteral("サーバー %1 の %2 の名前を %3 にします。")
                           .arg(serverName(session), quotedName(database, oldName), quotedName(newName));
    if (isAwkward(database, newName))
        question += QStringLiteral("\r\n\r\n引用符なしでは書けない名前です。引用符を付けずに文を作る"
                                   "コマンド（定義の表示や変更など）は使えなくなります。");
    if (lines.isEmpty())
        return question;
    const qsizetype count = lines.size();
    if (count > mostLines)
        lines = lines.first(mostLines) << QStringLiteral("・ほか %1 件").arg(count - mostLines);
    return question +
           QStringLiteral("\r\n\r\n次のものがこの名前を使っています。外部キーはサーバーが付け替えますが、"
                          "ほかは古い名前のまま残り、動かなくなります。\r\n\r\n") +
           lines.join(QStringLiteral("\r\n"));
}

bool exists(Connection &connection, const QString &database, const QString &name)
{
    constexpr int noSuchTable = 1146;
    try {
        return !readDefinition(connection, showCreateTable(quotedName(database, name))).kind.isEmpty();
    } catch (const Failure &error) {
        if (error.number() != noSuchTable)
            throw;
        return false;
    }
}

// After an answer that did not come. Throws Failure where the table still has its old name, or nobody can
// tell.
void settle(Session &session, const ServerPlace &place, const Failure &error, Doubt doubt,
            const std::array<QString, 3> &names)
{
    const auto &[database, oldName, newName] = names;
    const Undoing afterAStop(session);
    QString words;
    try {
        if (doubt == Doubt::AnswerLost)
            reconnect(session, place);
        if (!exists(session.connection(), database, oldName) &&
            exists(session.connection(), database, newName))
            return;
        words = QStringLiteral("名前は、まだ %1 です。").arg(oldName);
        if (doubt == Doubt::AnswerLost)
            words += QStringLiteral("接続が切れても、サーバーは変更を続けていることがあります。");
    } catch (const Failure &unread) {
        words = QStringLiteral("今の名前を読めません: ") + unread.description();
    }
    throw Failure(error.description() + u'\n' + words, error.number(), error.state());
}

} // namespace

bool renameTable(Session &session, Dialogue &dialogue, const QString &database, const QString &oldName,
                 const QString &newName)
{
    if (!dialogue.warn(questionFor(session, database, oldName, newName)) || !mayWrite(session, dialogue))
        return false;
    const ServerPlace place = serverPlace(session.connection());
    try {
        session.connection().execute(QStringLiteral("RENAME TABLE %1 TO %2")
                                         .arg(quotedName(database, oldName), quotedName(database, newName)));
    } catch (const Failure &error) {
        const Doubt doubt = doubtAfter(session, error);
        if (doubt == Doubt::None)
            throw;
        settle(session, place, error, doubt, {database, oldName, newName});
    }
    return true;
}
