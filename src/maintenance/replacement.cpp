#include "maintenance/replacement.h"

#include "core/statements.h"

namespace {

void makeOld(Session &session, const Replacement &replacement)
{
    try {
        session.connection().execute(replacement.oldStatement);
    } catch (const SqlError &error) {
        if (replacement.serverText.isEmpty() || doubtAfter(session, error) != Doubt::None)
            throw;
        // It need not name the database.
        session.connection().execute(useStatement(replacement.database));
        session.connection().execute(replacement.serverText);
    }
}

} // namespace

RecoveryReport recoverReplacement(Session &session, const Replacement &replacement, Doubt doubt)
{
    if (doubt == Doubt::None && !replacement.isDropped)
        return {};
    bool isThere = false;
    try {
        recover(
            session, doubt, [&] { makeOld(session, replacement); },
            [&] {
                isThere = exists(session.connection(), replacement.showStatement);
                if (!isThere)
                    makeOld(session, replacement);
            });
    } catch (const SqlError &error) {
        return {error.description() +
                    QStringLiteral("\n%1 を確認して下さい。元に戻せていない可能性があります。")
                        .arg(replacement.name),
                QStringLiteral("元の定義:\n") +
                    (replacement.serverText.isEmpty() ? replacement.oldStatement : replacement.serverText)};
    }
    // It was the new one's making that was in doubt.
    if (doubt != Doubt::None && replacement.isDropped && isThere)
        return {QStringLiteral("%1 の変更は済んでいます。").arg(replacement.name), {}};
    return {};
}
