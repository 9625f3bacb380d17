#pragma once

#include "core/sql/rowblock.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <span>
#include <vector>

enum class FieldKind { Text, Number, Binary };

// A column of a result. Binary: bytes that are not valid text arrive as "0x" and hex digits.
struct Field {
    QString name;
    FieldKind kind = FieldKind::Text;
};

// Where a record set's rows come from: a connection, or a test's table. Destroying it ends the result
// on the server side too; rows not yet read are thrown away.
class RowSource {
public:
    virtual ~RowSource() = default;
    virtual const std::vector<Field> &fields() const = 0;
    // False once the connection below is closed.
    virtual bool isOpen() const = 0;
    // Replaces `block` by the next rows; false (and an empty block) at the end. Throws Failure.
    virtual bool read(RowBlock &block) = 0;
};

// The result of one statement, read forward: row by row with isEof(), cells or texts, moveNext(); or, what is
// much cheaper where rows are only passed on, in the blocks that they came in: isEof(), block() or
// takeBlock(), moveNextBlock(). Not open (isOpen() false) when the statement gave no rows, after close(), or
// once the connection is closed.
class RecordSet {
public:
    RecordSet() = default; // what a statement without rows gives
    // The same, with a word to the user.
    explicit RecordSet(QString note)
        : m_note(std::move(note))
    {
    }
    explicit RecordSet(std::unique_ptr<RowSource> source);

    bool isOpen() const { return m_source && m_source->isOpen(); }
    void close() { m_source.reset(); }

    // What the user should know though the statement succeeded; mostly empty.
    const QString &note() const { return m_note; }

    int fieldCount() const { return static_cast<int>(m_fields.size()); }
    const std::vector<Field> &fields() const { return m_fields; }
    // Throws Failure when there is no such field, as the other readers by index do.
    const QString &fieldName(int index) const;
    // The first field of that name, compared without regard to case; -1 when there is none.
    int fieldIndex(const QString &name) const;

    // Throws Failure when the set is not open, when its rows become too large to be kept
    // (mostResultBytes()), or with the server's words when the read failed.
    bool isEof();
    void moveNext();

    // The block that the current row belongs to, with all its rows; never empty before the end.
    const RowBlock &block() const { return m_block; }
    // The same, handed over; there is no current row until moveNextBlock().
    RowBlock takeBlock();
    void moveNextBlock();

    // The rows are not kept: there may be more of them than memory holds.
    void readWithoutLimit() { m_isLimited = false; }

    // Called with the number of rows of every block that arrives, first of all the one that is here already.
    void countRows(std::function<void(int rows)> counter);

    // The current row. Valid until moveNext() or close(); undefined at the end of the rows.
    std::span<const Cell> cells() const { return m_cells; }
    bool isNull(int index) const { return cell(index).isNull; }
    // The value as the server words it; a NULL is the text "NULL".
    QString text(int index) const;
    // The same by field name; throws Failure when the result has no such field.
    QString text(const QString &name) const;
    int requiredField(const QString &name) const;

private:
    const Cell &cell(int index) const;

    std::unique_ptr<RowSource> m_source;
    std::vector<Field> m_fields;
    RowBlock m_block;
    std::vector<Cell> m_cells;
    int m_row = -1; // row of m_block that m_cells shows; -1 before the first
    bool m_atEnd = false;
    bool m_isLimited = true;
    std::uint64_t m_bytes = 0; // of all blocks so far, this one too
    std::function<void(int)> m_counter;
    QString m_note;
};
