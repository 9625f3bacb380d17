#include "core/session.h"

Connection &Session::connection() const
{
    if (!gCn || !gCn->isOpen())
        throw SqlError(QStringLiteral("サーバーに接続されていません。"), 0, QStringLiteral("08003"));
    return *gCn;
}
