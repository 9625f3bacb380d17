#pragma once

#include "core/session/session.h"
#include "structure/search/searchhit.h"

// A column as a search for values needs it.
struct SearchedColumn {
    QString name;
    QString type;       // "varchar", without length
    bool isKey = false; // of the primary key
};

// The statement that looks for the text in all columns of a table; empty where none of them can hold it. A
// number is compared as a number, other text is found within texts.
QString valueStatement(const QString &database, const QString &table,
                       const std::vector<SearchedColumn> &columns, const QString &text);
// The most rows that are looked at in one table's answer.
constexpr int mostRowsOfTable = 200;

// Asks for the columns and then for the rows. Throws Failure.
SearchHits searchTable(Session &session, const QString &database, const QString &table, const QString &text);
