#pragma once

#include <QString>

// An item of lstTables or lstProcFunc: a kind tag, one TAB, the object's name as the server returned it.
struct ListItem {
    QString tag;  // "[TABLE]", "[VIEW]", "[ERROR]", "[PROC]", "[FUNC]"
    QString name; // what follows the first TAB; a name may hold further ones

    static ListItem parse(const QString &text);
    // Throws Failure for a text without a TAB (no item is selected).
    static ListItem required(const QString &text);
    QString text() const { return tag + u'\t' + name; }
    bool isError() const { return tag == u"[ERROR]"; }
};

// For texts that a user reads: control characters and marks that change the direction or cannot be seen are
// replaced by signs, so that no name looks like another one. Never for what is sent.
QString visibleName(const QString &name);
// The same for an item of a list: the TAB behind its tag stays.
QString visibleItem(const QString &item);
// The same for texts of several lines: TABs and line ends stay.
QString visibleText(const QString &text);
