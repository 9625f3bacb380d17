#pragma once

#include "core/sql/connection.h"
#include "core/sql/lexer.h"

#include <QStringList>

// The CREATE TABLE text of one server in the words of another one, which may be of the other brand or older.
struct BrandText {
    QString text;
    QStringList changes; // in words: what the table will not be there as it was
};
BrandText brandText(const QString &createTable, SqlMode mode, const ServerInfo &from, const ServerInfo &to);
