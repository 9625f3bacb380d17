#include "structure/surroundings/renametable.h"

#include "core/command/definition.h"
#include "core/command/writing.h"
#include "core/sql/statements.h"
#include "structure/surroundings/surroundings.h"

namespace {

QString lineOf(const RelatedThing &thing)
{
    switch (thing.kind) {
    case RelatedThing::Kind::Table:
        return QStringLiteral("・外部キー %1 %2").arg(thing.name, thing.details);
    case RelatedThing::Kind::Trigger:
        return QStringLiteral("・ﾄﾘｶﾞｰ %1").arg(thing.name);
    default:
        return QStringLiteral("・%1 %2").arg(thing.details, thing.name);
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

} // namespace

bool renameTable(Session &session, Dialogue &dialogue, const QString &database, const QString &oldName,
                 const QString &newName)
{
    if (!dialogue.warn(questionFor(session, database, oldName, newName)) || !mayWrite(session, dialogue))
        return false;
    Connection &connection = session.connection();
    connection.execute(QStringLiteral("RENAME TABLE %1 TO %2")
                           .arg(quotedName(database, oldName), quotedName(database, newName)));
    // A server that writes names in small letters has it under another one.
    if (readDefinition(connection, showCreateTable(quotedName(database, newName))).kind.isEmpty())
        throw Failure(QStringLiteral("名前を変えた後のテーブルが見つかりません: ") +
                      quotedName(database, newName));
    return true;
}
