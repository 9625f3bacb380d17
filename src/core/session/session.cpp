#include "core/session/session.h"

#include <utility>

namespace {

std::unique_ptr<Session> sameSettings(const Session &session, const QString &database)
{
    auto sibling = std::make_unique<Session>();
    sibling->programFolder = session.programFolder;
    sibling->gDsn = session.gDsn;
    sibling->gDriver = session.gDriver;
    sibling->gServer = session.gServer;
    sibling->gUser = session.gUser;
    sibling->gPass = session.gPass;
    sibling->gPort = session.gPort;
    sibling->tls = session.tls;
    sibling->profile = session.profile;
    sibling->writeBans = session.writeBans;
    sibling->gDbName = database;
    sibling->gTextPath = session.gTextPath;
    sibling->gIniPath = session.gIniPath;
    sibling->settingsFolder = session.settingsFolder;
    sibling->role = session.role;
    sibling->gIsLocalServer = session.gIsLocalServer;
    sibling->plainFactory = session.plainFactory;
    return sibling;
}

} // namespace

void Session::connectBy(PumpedFactory factory, Pump &pump)
{
    plainFactory = [factory = std::move(factory), &pump](Pump *other) -> ConnectionFactory {
        return [factory, chosen = other ? other : &pump](const QString &string) {
            return factory(string, *chosen);
        };
    };
    makeConnection = runner.stoppable(logged(heedingFactory(), statementLog));
}

void Session::connectBy(ConnectionFactory factory)
{
    plainFactory = [factory = std::move(factory)](Pump *) { return factory; };
    makeConnection = runner.stoppable(logged(heedingFactory(), statementLog));
}

// The saved connection is looked up when one is made: until then the session may be led elsewhere.
ConnectionFactory Session::heedingFactory(Pump *pump) const
{
    return [this, make = plainFactory(pump)](const QString &string) {
        std::unique_ptr<Connection> connection = make(string);
        auto *heeding = dynamic_cast<HeedsWriteBans *>(connection.get());
        if (heeding && profile.isSaved())
            heeding->heed([bans = writeBans, id = profile.id] { return bans->contains(id); });
        return connection;
    };
}

std::unique_ptr<Session> siblingOf(const Session &session, const QString &database)
{
    auto sibling = sameSettings(session, database);
    sibling->statementLog = session.statementLog;
    sibling->makeConnection =
        sibling->runner.stoppable(logged(sibling->heedingFactory(), session.statementLog));
    return sibling;
}

std::unique_ptr<Session> siblingOf(const Session &session, const QString &database, Pump &pump)
{
    auto sibling = sameSettings(session, database);
    sibling->makeConnection = sibling->runner.stoppable(sibling->heedingFactory(&pump));
    return sibling;
}

Connection &Session::connection() const
{
    const auto isOpen = [this] { return gCn && gCn->isOpen(); };
    if (runner.isFirstUse() && !isOpen() && comeBack) {
        requireGoingOn();
        comeBack();
    }
    if (!isOpen())
        throw Failure(QStringLiteral("サーバーに接続されていません。"), 0, QStringLiteral("08003"));
    requireGoingOn();
    return *gCn;
}
