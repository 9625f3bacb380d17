#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// A statement that takes away more than one may have meant: UPDATE and DELETE without WHERE and LIMIT, DROP,
// TRUNCATE.
struct Danger {
    QString what;  // "UPDATE t（WHERE なし）"
    QString table; // whose rows it takes, as written; empty: none that can be counted
};

// Nothing: it is none of these.
std::optional<Danger> dangerOf(const QByteArray &statement);
