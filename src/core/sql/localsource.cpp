#include "core/sql/localsource.h"

#include <QScopeGuard>

#include <memory>
#include <mutex>

namespace {

class Lease {
public:
    explicit Lease(const LocalSource &source)
        : m_source(source)
    {
    }
    std::size_t read(char *to, std::size_t room)
    {
        const std::lock_guard lock(m_mutex);
        if (!m_source)
            throw interruptedError();
        return m_source(to, room);
    }
    void end()
    {
        const std::lock_guard lock(m_mutex);
        m_source = nullptr;
    }

private:
    std::mutex m_mutex;
    LocalSource m_source;
};

} // namespace

RecordSet executeLocal(Connection &connection, const QString &statement, const LocalSource &source)
{
    auto *sender = dynamic_cast<LocalSender *>(&connection);
    if (!sender)
        throw Failure(QStringLiteral("この接続では LOAD DATA LOCAL を使えません。"));
    const auto lease = std::make_shared<Lease>(source);
    const auto isOver = qScopeGuard([&lease] { lease->end(); });
    return sender->executeLocal(statement,
                                [lease](char *to, std::size_t room) { return lease->read(to, room); });
}
