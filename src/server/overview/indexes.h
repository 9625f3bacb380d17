#pragma once

#include <QStringList>

#include <vector>

// An index as information_schema.STATISTICS tells it.
struct TableIndex {
    struct Part {
        QString what;   // column or expression, and its direction
        int length = 0; // of a prefix; 0: the whole value
        bool operator==(const Part &) const = default;
    };

    QString database, table, name, type;
    bool isUnique = false;
    std::vector<Part> parts;

    QString partsText() const; // "a, b(10)"
};

// An index that another one of its table makes superfluous.
struct DoubledIndex {
    const TableIndex *index, *by;
};
// Those of one table stand together. What is returned points into them.
std::vector<DoubledIndex> doubledIndexes(const std::vector<TableIndex> &indexes);
