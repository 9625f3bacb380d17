#include "sheets/borrowedconnection.h"

#include <QScopeGuard>

#include <deque>

namespace {

// Rows that have been read already.
class KeptRows : public RowSource {
public:
    explicit KeptRows(std::vector<Field> fields)
        : m_fields(std::move(fields))
    {
    }
    const std::vector<Field> &fields() const override { return m_fields; }
    bool isOpen() const override { return true; }
    bool read(RowBlock &block) override
    {
        block.clear();
        if (m_blocks.empty())
            return false;
        block = std::move(m_blocks.front());
        m_blocks.pop_front();
        return true;
    }
    void add(RowBlock block) { m_blocks.push_back(std::move(block)); }

private:
    const std::vector<Field> m_fields;
    std::deque<RowBlock> m_blocks;
};

} // namespace

ServerInfo BorrowedConnection::server() const
{
    ServerInfo server;
    carryOut([&server](Connection &connection) { server = connection.server(); });
    return server;
}

RecordSet BorrowedConnection::executeText(const QByteArray &statement)
{
    std::unique_ptr<KeptRows> kept;
    QString note;
    m_effect = {};
    m_effect.isInTransaction = false; // of a connection that is lost
    carryOut([&](Connection &connection) {
        RecordSet rows = connection.executeText(statement);
        note = rows.note();
        if (rows.isOpen()) {
            kept = std::make_unique<KeptRows>(rows.fields());
            for (; !rows.isEof(); rows.moveNextBlock())
                kept->add(rows.takeBlock());
        }
        m_effect = connection.effect();
    });
    return kept ? RecordSet(std::move(kept)) : RecordSet(note);
}

void BorrowedConnection::carryOut(const std::function<void(Connection &)> &work) const
{
    if (!m_isOpen)
        throw Failure(QStringLiteral("接続は閉じています。"), 0, QStringLiteral("08003"));
    if (!m_isFree())
        throw Failure(QStringLiteral("このシートは実行中です。"));
    Completion done;
    std::optional<Failure> failure;
    m_worker.begin();
    m_isBusy = true;
    const auto isOver = qScopeGuard([this] { m_isBusy = false; });
    QMetaObject::invokeMethod(
        &m_worker,
        [&] {
            failure = m_worker.lend(work);
            done.finish();
        },
        Qt::QueuedConnection);
    m_pump.wait(done);
    if (failure)
        throw Failure(*failure);
}

void BorrowedConnection::cancel()
{
    if (m_isBusy)
        m_worker.stop();
}
