#pragma once

#include "core/keepingresult.h"
#include "core/native/nativedriver.h"
#include "core/native/nativerows.h"

// Rows that come from the server as they are asked for.
class NativeResult : public KeepingResult {
public:
    NativeResult(NativeDriver &driver, NativeRows rows, bool mayBeKilled);
    // Rows still to come are not wanted: the server is told to stop where that changes nothing but the rows.
    ~NativeResult() override;

    // Statements that only read. Others, as a procedure with several results, have to reach their end.
    static bool mayBeKilled(const QByteArray &statement);

    // Reads the rest and drops it, errors too.
    void dropRest();

protected:
    bool fill(RowBlock &block) override;
    void giveUpRest() override;

private:
    void endStream();

    NativeDriver &m_driver;
    NativeRows m_rows; // null once all have come
    const NativeColumns m_columns;
    const bool m_mayBeKilled;
};
