#include "server/load/statusreading.h"

#include "core/command/replicationstatus.h"

#include <QDateTime>

#include <algorithm>
#include <limits>

double StatusSample::number(const QString &name) const
{
    bool isNumber = false;
    const double value = values.value(name).toDouble(&isNumber);
    return isNumber ? value : std::numeric_limits<double>::quiet_NaN();
}

StatusSample StatusReader::read(Session &session)
{
    StatusSample sample;
    RecordSet rows = session.connection().execute(QStringLiteral("show global status"));
    sample.time = QDateTime::currentMSecsSinceEpoch();
    for (; !rows.isEof(); rows.moveNext())
        sample.values.insert(rows.text(0), rows.text(1));
    return sample;
}

namespace {

void noteReplication(const std::vector<ReplicationSource> &sources, StatusSample &sample)
{
    for (const ReplicationSource &each : sources) {
        if (each.delay)
            sample.replicationDelay = std::max(sample.replicationDelay.value_or(0), *each.delay);
        else if (!each.isOfGroup())
            sample.stoppedReplication = each.name.isEmpty() ? each.address : each.name;
    }
    if (!sample.stoppedReplication.isEmpty())
        sample.replicationDelay.reset();
}

} // namespace

StatusSample StatusReader::readWithDelay(Session &session)
{
    StatusSample sample = read(session);
    if (!m_mayAskForDelay)
        return sample;
    try {
        noteReplication(readReplicationSources(session.connection()), sample);
    } catch (const Failure &failure) {
        if (failure.isConnectionLost() || failure.isInterrupted())
            throw;
        m_mayAskForDelay = false;
    }
    return sample;
}
