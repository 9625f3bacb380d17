#pragma once

#include "core/driver/keepingresult.h"
#include "core/driver/odbc/odbcdriver.h"

#include <memory>
#include <string>

// The rows of a statement handle, read as bytes in bound blocks of many rows. The first cell that does not
// fit its place in the block is gone back to; from there on rows are read one by one, long cells in full.
class OdbcResult : public KeepingResult {
public:
    // mayHaveFollowers: the statement may have further results, which are read to their end, too.
    OdbcResult(OdbcDriver &driver, OdbcStatementHandle handle, SQLSMALLINT columnCount,
               bool mayHaveFollowers);
    ~OdbcResult() override;

protected:
    bool fill(RowBlock &block) override;
    void giveUpRest() override { release(); }

private:
    // One column's places in the bound block, one after the other.
    struct Column {
        bool isHex = false;
        SQLSMALLINT type = SQL_C_CHAR;
        std::size_t size = 0;          // of one place
        std::unique_ptr<char[]> bytes; // not zeroed: it is large, and most results are small
        std::vector<SQLLEN> lengths;
        bool isCut(std::size_t row) const;
    };

    void describe(SQLUSMALLINT number, Field &field, Column &column) const;
    bool isOfBits(SQLUSMALLINT number) const;
    void bind();
    bool fetchRows();
    void addRow(RowBlock &block, std::size_t row);
    std::string longCell(std::size_t column);
    void finish();
    void release();

    OdbcDriver &m_driver;
    const bool m_mayHaveFollowers;
    OdbcStatementHandle m_handle; // null once all rows have been read
    std::vector<Column> m_columns;
    SQLULEN m_rowsAtOnce = 1;
    SQLULEN m_rowsFetched = 0;
    SQLLEN m_rowsBefore = 0; // of the block that is bound
};
