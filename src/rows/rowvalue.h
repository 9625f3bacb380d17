#pragma once

#include "core/sql/rowblock.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

// What a column's values are to the program; it decides how they stand in a statement and how they are
// edited.
enum class ValueKind {
    Number,      // exact: integers, DECIMAL, YEAR
    Approximate, // FLOAT and DOUBLE
    Text,        // with a character set; ENUM, SET, UUID and INET too
    Json,
    Time,  // dates and times of all sorts
    Bytes, // BINARY, VARBINARY and the BLOBs
    Bits,
    Opaque // geometries and vectors: kept byte for byte, not edited
};

// One column of a table, as the server lists it.
struct TableColumn {
    QString name;
    QString type; // "varchar(20)", in the server's words
    ValueKind kind = ValueKind::Text;
    bool isNullable = true;
    bool isGenerated = false; // takes no values
    bool isAutoIncrement = false;
    bool hasDefault = false;  // so that a new row may leave it out
    bool isIndexed = false;   // as everything is that foreign keys refer to
    QStringList choices = {}; // of ENUM and SET
    bool isSet = false;
    bool isSingleFloat = false; // FLOAT, whose text has fewer digits than the value
};

// The bytes of a value: UTF-8 of a text, the bytes themselves of binary columns, the server's words of
// numbers and dates. Empty: NULL.
using RowValue = std::optional<QByteArray>;

// The number that a value of a BIT column is.
quint64 bitsOf(const QByteArray &bytes);
// Whether a new row must hold a value in the column.
bool needsValue(const TableColumn &column);
// Whether an empty text is a value of the column.
bool hasEmptyText(const TableColumn &column);

ValueKind kindOfType(const QString &type);
// The choices of "enum('a','b')" or "set(...)"; none for other types.
QStringList choicesOfType(const QString &type);

// A cell shows bytes that are no text as "0x" and digits; a value holds the bytes.
RowValue valueOfCell(const TableColumn &column, const Cell &cell);
QByteArray cellBytes(const TableColumn &column, const QByteArray &value);

// The text of a value as it is edited, and back. NULL has no text. Bits are digits 0 and 1; bytes that are no
// text are "0x" and digits.
QString editedText(const TableColumn &column, const RowValue &value);
RowValue editedValue(const TableColumn &column, const QString &text);
// Words on a text that is no value of the column; the server itself refuses most.
QString whyNotEdited(const TableColumn &column, const QString &text);

// A value as it is assigned: whatever it holds, it ends where it should, in every sql_mode.
QString literal(const TableColumn &column, const RowValue &value);
// A condition that holds for this very value and no other, byte for byte: no collation, no trailing blanks,
// no rounding.
QString sameValue(const TableColumn &column, const RowValue &value);
// A condition that lets the server find the row by an index; it may hold for more values than this one. Empty
// where there is none.
QString indexedValue(const TableColumn &column, const RowValue &value);
