#pragma once

#include <QString>

#include <functional>
#include <mutex>
#include <set>

// The saved connections that became read-only while connections of theirs stood, by their ids: each of those
// keeps from writing from its next statement on. Several threads have connections.
class WriteBans {
public:
    void add(const QString &id)
    {
        const std::lock_guard lock(m_mutex);
        m_ids.insert(id);
    }
    void remove(const QString &id)
    {
        const std::lock_guard lock(m_mutex);
        m_ids.erase(id);
    }
    bool contains(const QString &id) const
    {
        const std::lock_guard lock(m_mutex);
        return m_ids.contains(id);
    }

private:
    mutable std::mutex m_mutex;
    std::set<QString> m_ids;
};

// A connection that asks before each statement whether it may still write.
class HeedsWriteBans {
public:
    virtual ~HeedsWriteBans() = default;
    virtual void heed(std::function<bool()> isBanned) = 0;
};
