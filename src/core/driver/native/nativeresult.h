#pragma once

#include "core/driver/keepingresult.h"
#include "core/driver/native/nativedriver.h"
#include "core/sql/recordset.h"

#include <mysql.h>
#include <vector>

// The columns of a result of the client library, and how their values are shown.
class NativeColumns {
public:
    explicit NativeColumns(MYSQL_RES *rows);

    const std::vector<Field> &fields() const { return m_fields; }
    // Adds the row that was fetched last.
    void addRow(RowBlock &block, MYSQL_RES *rows, const char *const *values) const;

private:
    std::vector<Field> m_fields;
    std::vector<bool> m_areHex; // of a type that is not known: bytes that may look like text by chance
};

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
