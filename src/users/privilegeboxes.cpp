#include "users/privilegeboxes.h"

#include <QCheckBox>
#include <QVariant>

namespace {

const char *const tag = "tag";

}

void setAll(const Boxes &boxes, bool isChecked)
{
    for (QCheckBox *box : boxes)
        box->setChecked(isChecked);
}

Checks checksOf(const Boxes &boxes)
{
    Checks checks;
    for (const QCheckBox *box : boxes)
        checks.push_back(box->isChecked());
    return checks;
}

Checks tagsOf(const Boxes &boxes)
{
    Checks checks;
    for (const QCheckBox *box : boxes)
        checks.push_back(box->property(tag).toInt() != 0);
    return checks;
}

void showColumns(const Boxes &boxes, std::span<const Privilege> privileges, RecordSet &row)
{
    if (!row.isOpen() || row.isEof())
        return;
    for (std::size_t i = 0; i < boxes.size(); ++i) {
        const int column = row.fieldIndex(privileges[i].source.toString());
        if (column < 0)
            continue;
        const bool isGranted = row.text(column) == u"Y";
        boxes[i]->setChecked(isGranted);
        boxes[i]->setProperty(tag, isGranted ? QStringLiteral("1") : QStringLiteral("0"));
    }
}

void showElements(const Boxes &boxes, std::span<const Privilege> privileges, const QString &setValue)
{
    for (std::size_t i = 0; i < boxes.size(); ++i)
        boxes[i]->setChecked(setHolds(setValue, privileges[i].source));
}
