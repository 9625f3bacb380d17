#pragma once

#include <QMetaType>
#include <QString>

#include <vector>

// What a search found, and where.
struct SearchHit {
    enum class Kind { Database, Table, View, Column, Index, Procedure, Function, Trigger, Event, Value };

    Kind kind = Kind::Table;
    QString database;
    QString object; // the table of a column, index, trigger or value; else the thing itself
    QString name;   // of the thing itself
    QString place;  // what of it holds the text, in words for the user
    QString excerpt;
    QString condition = {}; // of a value: finds its row
};
using SearchHits = std::vector<SearchHit>;

QString titleOf(SearchHit::Kind kind);
