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

StatusSample StatusReader::readWithDelay(Session &session)
{
    StatusSample sample = read(session);
    if (!m_mayAskForDelay)
        return sample;
    try {
        sample.replicationDelay = readReplicationDelay(session.connection());
    } catch (const Failure &failure) {
        if (failure.isConnectionLost() || failure.isInterrupted())
            throw;
        m_mayAskForDelay = false;
    }
    return sample;
}
