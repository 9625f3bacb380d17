#pragma once

#include "core/sql/recordset.h"

#include <string>

class FlexGridModel;
class QItemSelection;

// The forms in which a grid's cells leave the program.
enum class CopyFormat { TabSeparated, TabSeparatedWithHeader, Csv, Markdown, Json, Insert };

// Builds the text of a copy row by row, as UTF-8 bytes with LF line ends.
class GridCopy {
public:
    // table: name for INSERT statements, set in backticks.
    GridCopy(CopyFormat format, std::vector<Field> fields, const QString &table);

    void addRow(std::span<const Cell> cells);
    std::string finish() &&;

private:
    void addHeader();

    CopyFormat m_format;
    std::vector<Field> m_fields;
    std::vector<std::string> m_names; // of the fields, in the form of the format
    std::string m_insertHead;
    std::string m_text;
    bool m_hasRows = false;
};

// The fields as members of a JSON object, of which a reader keeps only one of a name: "id", "id (2)".
std::vector<Field> withDistinctNames(std::vector<Field> fields);

// One value in the form of the format; NULL becomes NULL, null or nothing.
std::string copiedValue(CopyFormat format, const Cell &cell, FieldKind kind);

// The selected cells as text: the rows and columns that hold any selected cell, what is not selected among
// them left empty. A single cell is its value and nothing else.
QString copiedSelection(const FlexGridModel &model, const QItemSelection &selection, CopyFormat format,
                        const QString &table);
