#pragma once

#include <QString>

// What has to be known of a statement before the driver gets it. Leading comments, blanks and "(" are passed
// over.
namespace StatementKind {

// A statement that Connector/ODBC does not know to return rows, and that may return some all the same: sent
// as plain text, its rows stay unread (seen with 3.1.15), and the next statement on the connection ends the
// process with a segmentation fault.
bool mayLeaveRowsUnread(const QString &statement);

// Better sent as text: Connector/ODBC prepares it first, which takes a second trip to the server. MySQL 9
// refuses that of SHOW WARNINGS and its like, and the refusal would be all that they tell of.
bool isShow(const QString &statement);

// A statement that Connector/ODBC sends through the prepared protocol.
bool isPrepared(const QString &statement);

// A statement that gives one result at most; others, as CALL, may have further ones behind the first.
bool hasOneResult(const QString &statement);

// A statement whose further results may be asked for. Connector/ODBC 3.1.15 splits others at each ";", as "if
// 1 then select 1; end if", and the question for what follows the first result ends the process.
bool mayHaveFurtherResults(const QString &statement);

// A statement that must not be the first thing in what the driver gets. Connector/ODBC 3.1.15 lets the server
// read any local file while a statement runs that begins with LOAD, and refuses those of less than five
// characters, as "do 1".
bool needsComment(const QString &statement);

} // namespace StatementKind
