#include "core/session/session.h"

#include <utility>

void Session::connectBy(ConnectionFactory factory)
{
    makeConnection = runner.stoppable(logged(std::move(factory), statementLog));
}

Connection &Session::connection() const
{
    if (!gCn || !gCn->isOpen())
        throw Failure(QStringLiteral("サーバーに接続されていません。"), 0, QStringLiteral("08003"));
    requireGoingOn();
    return *gCn;
}
