#pragma once

#include "controls/grid/jsontext.h"

#include <QTreeWidget>

// A JSON text as a tree; what is beneath a part is made when it is first opened, so that a large text costs
// what is looked at.
class JsonTree : public QTreeWidget {
    Q_OBJECT

public:
    explicit JsonTree(const char *name);

    // Null: nothing. It and its text outlive the tree's showing it.
    void showJson(const JsonPart *json);

private:
    QTreeWidgetItem *itemFor(const JsonPart &part, const QString &name) const;
    void fill(QTreeWidgetItem &item);
};
