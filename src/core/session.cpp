#include "core/session.h"

Connection &Session::connection() const
{
    if (!gCn || !gCn->isOpen())
        throw SqlError(QStringLiteral("サーバーに接続されていません。"), 0, QStringLiteral("08003"));
    return *gCn;
}

void Session::requireGoingOn() const
{
    constexpr int interrupted = 1317;
    if (isStopWanted)
        throw SqlError(QStringLiteral("処理を中断しました。"), interrupted, QStringLiteral("70100"));
}
