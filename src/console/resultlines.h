#pragma once

#include "core/sql/recordset.h"

#include <functional>
#include <string>
#include <string_view>

class PackedRows;

// The delimited lines of a result, in UTF-8, each ended by CR LF.
class ResultLines {
public:
    explicit ResultLines(char delimiter)
        : m_delimiter(delimiter)
    {
    }

    // The names, and below them a rule as long as the names' line has bytes in the ANSI code page.
    std::string header(const std::vector<Field> &fields) const;
    // Of all rows of the block; a NULL is "NULL". Valid until the next call.
    std::string_view of(const RowBlock &block);

private:
    char m_delimiter;
    std::string m_lines;
    std::vector<Cell> m_cells;
};

// How many bytes the lines of the block's rows have.
std::size_t lineBytes(const RowBlock &block);

// Header and a line for each row, handed over about a megabyte at a time.
void writeLines(const std::vector<Field> &fields, const PackedRows &rows, char delimiter,
                const std::function<void(std::string_view)> &take);
