#pragma once

#include "core/driver/workerdriver.h"

#include <deque>
#include <optional>

// Rows that are read as they are asked for, until takeRest() reads all that is left: then the connection is
// free for other statements.
class KeepingResult : public DriverResult {
public:
    const std::vector<Field> &fields() const override { return m_fields; }
    bool fetch(RowBlock &block) override;

    // Keeps the rest in memory; what goes wrong is said by fetch().
    void takeRest();

protected:
    // Adds rows to the empty block; false when no more follow, also when asked again. Throws Failure, and
    // leaves the rows in the block that came before it.
    virtual bool fill(RowBlock &block) = 0;
    // Nobody wants the rows that fill() has not given.
    virtual void giveUpRest() = 0;

    std::vector<Field> m_fields;

private:
    bool read(RowBlock &block);

    std::size_t m_lastBytes = 0, m_lastRows = 0; // of the block read last
    std::deque<RowBlock> m_kept;
    std::optional<Failure> m_keptError;
};
