#include "transfer/copy/sameserver.h"

#include "core/command/doubt.h"

#include <QUuid>

namespace {

// A name that one session has locked is locked for all of its server, and for no other server's: no tunnel
// and no name of the host changes that, and two servers copied from one disk do not share it.
bool seesLockOf(Connection &one, Connection &other)
{
    const QString name = QStringLiteral("tarnwell-") + QUuid::createUuid().toString(QUuid::WithoutBraces);
    one.execute(QStringLiteral("SELECT GET_LOCK('%1', 0)").arg(name));
    RecordSet rows = other.execute(QStringLiteral("SELECT IS_USED_LOCK('%1')").arg(name));
    const bool isSeen = rows.isOpen() && !rows.isEof() && !rows.isNull(0);
    rows.close();
    one.execute(QStringLiteral("SELECT RELEASE_LOCK('%1')").arg(name));
    return isSeen;
}

// The name of a Galera cluster is the same in many places; what its rows came from is not.
QString clusterMark(Connection &connection, const Cluster &cluster)
{
    if (!cluster.isGalera)
        return cluster.name;
    RecordSet rows = connection.execute(QStringLiteral("SHOW GLOBAL STATUS LIKE 'wsrep_cluster_state_uuid'"));
    return rows.isOpen() && !rows.isEof() ? rows.text(1) : cluster.name;
}

} // namespace

bool isSameServer(Connection &one, Connection &other)
{
    // What splits reading from writing may show each of the two statements to another server.
    if (seesLockOf(one, other))
        return true;
    const ServerPlace left = serverPlace(one), right = serverPlace(other);
    if (!left.server.isEmpty() && left.server == right.server)
        return true;
    return left.cluster.isMember() && right.cluster.isMember() &&
           clusterMark(one, left.cluster) == clusterMark(other, right.cluster);
}
