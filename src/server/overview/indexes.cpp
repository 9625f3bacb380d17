#include "server/overview/indexes.h"

#include <algorithm>

namespace {

// The last part may be a shorter prefix of the same column.
bool isCovered(const TableIndex::Part &part, const TableIndex::Part &by, bool isLast)
{
    if (part == by)
        return true;
    return isLast && part.what == by.what && part.length > 0 && (by.length == 0 || by.length > part.length);
}

// Whether `by` finds every row that the index finds, and keeps double values out as it does.
bool isCovered(const TableIndex &index, const TableIndex &by)
{
    if (index.name == u"PRIMARY" || index.type != by.type || index.parts.size() > by.parts.size())
        return false;
    if (index.isUnique || index.type != u"BTREE")
        return index.parts == by.parts && (by.isUnique || !index.isUnique);
    for (std::size_t i = 0; i < index.parts.size(); ++i)
        if (!isCovered(index.parts[i], by.parts[i], i + 1 == index.parts.size()))
            return false;
    return true;
}

} // namespace

QString TableIndex::partsText() const
{
    QStringList texts;
    for (const Part &part : parts)
        texts << (part.length > 0 ? QStringLiteral("%1(%2)").arg(part.what).arg(part.length) : part.what);
    return texts.join(QStringLiteral(", "));
}

std::vector<DoubledIndex> doubledIndexes(const std::vector<TableIndex> &indexes)
{
    std::vector<DoubledIndex> doubled;
    for (auto first = indexes.begin(); first != indexes.end();) {
        const auto last = std::find_if(first, indexes.end(), [first](const TableIndex &each) {
            return each.database != first->database || each.table != first->table;
        });
        for (auto index = first; index != last; ++index) {
            // Of two that are alike, one stays: the first one.
            const auto by = std::find_if(first, last, [&](const TableIndex &other) {
                return &other != &*index && isCovered(*index, other) &&
                       (!isCovered(other, *index) || &other < &*index);
            });
            if (by != last)
                doubled.push_back({&*index, &*by});
        }
        first = last;
    }
    return doubled;
}
