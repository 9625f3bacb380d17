#pragma once

#include "core/command/storedcolumns.h"

#include <functional>
#include <span>
#include <string>

// The rows of one table as INSERT statements of a given size, each value in a form that every server reads as
// what it was.
class InsertWriter {
public:
    // Without its ";".
    using Sink = std::function<void(std::string_view statement)>;

    // isNamed: the statements name their columns. The row that makes a statement larger ends it.
    InsertWriter(const QString &table, std::vector<StoredColumn> columns, bool isNamed, int bytes, Sink sink);

    // What the rows have to be read as: "`a`, `b`*1e0, ...".
    QString selected() const;
    // Of a record set that selected() made; `fields` are its fields.
    void setFields(const std::vector<Field> &fields);
    void addRow(std::span<const Cell> cells);
    void finish();

private:
    enum class Literal { Bare, Text, Hex, Choice };

    void begin();
    void addValue(std::string_view bytes, Literal literal);

    std::vector<StoredColumn> m_columns;
    std::vector<Literal> m_literals;
    std::string m_target; // "INTO `t` (...) VALUES"
    std::size_t m_bytes;
    Sink m_sink;
    std::string m_rows;      // the statement so far
    std::size_t m_begin = 0; // of its first row
    bool m_isForgiving = false;
};

// 'a\'b': escapes that hold where backslash escapes are on, for bytes that are UTF-8.
void appendTextLiteral(std::string &to, std::string_view bytes);
