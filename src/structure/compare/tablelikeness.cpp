#include "structure/compare/tablelikeness.h"

#include "structure/alter/columnclauses.h"

#include <algorithm>

namespace {

bool isOfCharacterSet(const TableOption &option)
{
    return option.name == u"CHARSET" || option.name == u"COLLATE";
}

QString withoutCharacterSet(const QString &body)
{
    const SqlTokens words(body, {});
    QStringList kept;
    for (std::size_t at = 0; at < words.size(); ++at) {
        if (words.is(at, u"CHARACTER") && words.is(at + 1, u"SET"))
            at += 2;
        else if (words.is(at, u"COLLATE"))
            ++at;
        else
            kept << words.at(at);
    }
    return kept.join(u' ');
}

} // namespace

TableDefinition likeness(const TableDefinition &is, TableDefinition wanted, const CompareOptions &options)
{
    wanted.name = is.name;
    const auto counts = [&](const TableOption &option) {
        return option.name != u"AUTO_INCREMENT" &&
               (isOfCharacterSet(option) ? options.hasCharacterSets : options.hasTableOptions);
    };
    std::erase_if(wanted.options, [&](const TableOption &each) { return !counts(each); });
    std::ranges::copy_if(is.options, std::back_inserter(wanted.options),
                         [&](const TableOption &each) { return !counts(each); });
    if (options.hasCharacterSets)
        return wanted;
    for (TablePart &part : wanted.parts) {
        const auto own = std::ranges::find_if(is.parts, [&](const TablePart &each) {
            return part.kind == TablePart::Kind::Column && each.kind == part.kind && each.name == part.name;
        });
        if (own != is.parts.end() &&
            isSameColumn(withoutCharacterSet(own->body), withoutCharacterSet(part.body), {}))
            part.body = own->body;
    }
    return wanted;
}
