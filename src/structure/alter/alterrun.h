#pragma once

#include "structure/alter/alterrequest.h"

// The ways of changing a table, the cheapest first.
enum class AlterWay { Instant, InPlace, AsServerLikes };
std::vector<AlterWay> alterWays(const ServerInfo &server);
// The statement with the words that allow no dearer way; as it is where it is no ALTER TABLE, or says its way
// itself.
QString withWay(const QString &statement, AlterWay way, SqlMode mode);
// What is said before anything is run.
QString costWords(const ServerInfo &server, const TableSize &size);

// "約 5,000 行"
QString rowWords(const TableSize &size);

struct AlterReport {
    bool isBegun = false; // false: the user said no
    bool isAsWanted = false;
    bool isUnchanged = false; // the table is as it was before
    QString words;            // what became of it, with the server's own words and all differences
};
// Runs the statements of the text, each in the cheapest way that the server takes, within the session's
// runner; asks first, and again before others would have to wait. However it ends, the table is read back.
// Never throws for what the server says.
AlterReport runAlter(Session &session, Dialogue &dialogue, const AlterRequest &request, const QString &text);
