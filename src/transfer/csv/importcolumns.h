#pragma once

#include "transfer/csv/csvimport.h"

// The columns of a table that take values of a file, and how.
class ImportColumns {
public:
    // Reads what they are from the server. Throws Failure where the table has none of a name, or where there
    // are none at all.
    ImportColumns(Connection &connection, const ImportOptions &options);

    // "`a`,`b`"
    const std::string &names() const { return m_names; }
    // Whether all take the characters of the file as they are: else a literal has to say what they are.
    bool isAllText() const;
    bool isNull(const CsvField &field) const { return !field.isQuoted && field.text == m_nullText; }

    // Of one column after the other; `field` is null where it is NULL.
    template <class Take>
    void forEachValue(const CsvRow &row, Take take) const
    {
        for (const Column &column : m_columns) {
            const CsvField &field = row.fields[column.field];
            take(isNull(field) ? nullptr : &field.text);
        }
    }
    // "1,'a'"
    void appendLiterals(std::string &to, const CsvRow &row) const;
    // "INSERT INTO `t` (`a`,`b`) VALUES\n", and what stands behind the rows.
    std::string insertHead() const;
    std::string insertTail(Duplicates duplicates) const;

private:
    enum class Taking { Text, Bytes, Bits };
    struct Column {
        std::string name; // quoted
        std::size_t field = 0;
        Taking taking = Taking::Text;
    };

    const std::string m_table, m_nullText;
    std::vector<Column> m_columns;
    std::string m_names;
};
