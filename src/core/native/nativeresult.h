#pragma once

#include "core/native/nativedriver.h"

#include <deque>
#include <optional>

// Rows that come from the server as they are asked for.
class NativeResult : public DriverResult {
public:
    NativeResult(NativeDriver &driver, NativeRows rows, bool mayBeKilled);
    // Rows still to come are not wanted: the server is told to stop where that changes nothing but the rows.
    ~NativeResult() override;

    // Statements that only read. Others, as a procedure with several results, have to reach their end.
    static bool mayBeKilled(const QByteArray &statement);

    const std::vector<Field> &fields() const override { return m_fields; }
    bool fetch(RowBlock &block) override;

    // Keeps the rest in memory, so that the connection is free; what goes wrong is said by fetch().
    void takeRest();
    // Reads the rest and drops it, errors too.
    void dropRest();

private:
    bool fill(RowBlock &block);
    void addRow(RowBlock &block, const char *const *values) const;
    void endStream();

    NativeDriver &m_driver;
    NativeRows m_rows; // null once all have come
    const bool m_mayBeKilled;
    std::vector<Field> m_fields;
    std::deque<RowBlock> m_kept;
    std::optional<SqlError> m_keptError;
};
