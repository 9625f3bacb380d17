#pragma once

#include "core/signs.h"

#include <QStyledItemDelegate>

// Items of a list with signs for what cannot be seen. The items keep their texts, for the commands.
class VisibleItems : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QString displayText(const QVariant &value, const QLocale &) const override
    {
        return visibleItem(value.toString());
    }
};
