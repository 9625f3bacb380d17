#include "core/session.h"

Connection &Session::connection() const
{
    if (!gCn || !gCn->isOpen())
        throw SqlError(QStringLiteral("サーバーに接続されていません。"), 0, QStringLiteral("08003"));
    if (undoings == 0)
        requireGoingOn();
    return *gCn;
}

void Session::requireGoingOn() const
{
    if (isStopWanted)
        throw interruptedError(QStringLiteral("処理を中断しました。"));
}
