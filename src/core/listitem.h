#pragma once

#include <QString>

// An item of lstTables or lstProcFunc: a kind tag, one TAB, the object's name as the server returned it.
struct ListItem {
    QString tag;  // "[TABLE]", "[VIEW]", "[ERROR]", "[PROC]", "[FUNC]"
    QString name; // what follows the first TAB; a name may hold further ones

    static ListItem parse(const QString &text);
    // Throws SqlError for a text without a TAB (no item is selected).
    static ListItem required(const QString &text);
    QString text() const { return tag + u'\t' + name; }
    bool isError() const { return tag == u"[ERROR]"; }
};
