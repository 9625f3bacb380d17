#include "core/sql/batch.h"

#include <algorithm>

namespace {

void execute(Connection &connection, const QByteArray &statement, BatchOutcome &outcome)
{
    RecordSet rows = connection.executeText(statement);
    for (bool hasResult = true; hasResult;) {
        rows.readWithoutLimit();
        while (rows.isOpen() && !rows.isEof()) // to its end: a procedure must not be killed for its rows
            rows.moveNext();
        const Effect effect = connection.effect();
        outcome.rowsTouched += std::max<qint64>(effect.rowsTouched, 0);
        outcome.warnings += std::max(effect.warnings, 0);
        hasResult = effect.hasFurther && connection.nextResult(rows);
    }
    ++outcome.done;
}

} // namespace

BatchOutcome executeAll(Connection &connection, const std::vector<QByteArray> &statements,
                        const std::function<void()> &mayGoOn)
{
    if (auto *sender = dynamic_cast<BatchSender *>(&connection))
        return sender->executeAll(statements);
    BatchOutcome outcome;
    try {
        for (const QByteArray &statement : statements) {
            mayGoOn();
            execute(connection, statement, outcome);
        }
    } catch (const Failure &failure) {
        outcome.failure = failure;
    }
    return outcome;
}
