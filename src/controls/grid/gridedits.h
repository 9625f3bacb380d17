#pragma once

#include "core/sql/rowblock.h"

#include <QByteArray>
#include <QString>

// What stands over the rows of a grid while they are edited. Rows are counted as in FlexGrid::rows(), not as
// they are shown; what was read stays there as it is.
class GridEdits {
public:
    enum class Mark {
        None,
        Changed,
        Added,
        Default,  // of an added row: the server will choose the value
        Required, // of an added row: nobody but the user has a value
        Deleted,
        Refused // by the server
    };

    virtual ~GridEdits() = default;
    // Replaces cells of a row that was read by those to be shown; they point into what this object holds.
    virtual void apply(int row, std::vector<Cell> &cells) const = 0;
    virtual bool mayEdit(int row, int column) const = 0;
    virtual Mark mark(int row, int column) const = 0;
    // What there is to say of a row; mostly nothing.
    virtual QString tip(int row) const = 0;
    // Whether the bytes of a file may become the cell's value; and makes them so: empty, or why not.
    virtual bool takesFile(int row, int column) const = 0;
    virtual QString load(int row, int column, const QByteArray &bytes) = 0;
};
