#pragma once

#include "core/recordset.h"

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
