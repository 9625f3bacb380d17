#pragma once

#include "core/command/scriptfile.h"
#include "core/sql/connection.h"

#include <QStringList>

#include <functional>
#include <string>
#include <string_view>

// What a file of SQL says of itself before anything of it is sent.
struct ScriptLook {
    QString writer;        // the tool and its version, as the first lines name them; empty: not told
    QString sourceServer;  // "MariaDB 10.11.19", of the server it was written from; empty: not told
    QString characterSet;  // of its SET NAMES; empty: none
    QStringList databases; // that it makes or uses by name, in order
    QStringList dropped;   // "TABLE `a`", ...: what it drops if it is there; a part when there are many
    int drops = 0;
    bool isTextOfCp932 = false; // most of it beyond ASCII is no UTF-8
    bool isOfDumpTool = false;  // one that marks its end
    bool isComplete = true;     // as far as that can be told
    bool isSandboxed = false;   // begins with the line that switches the client's own commands off
    bool setsGtids = false;     // the server's replication position, and keeps what it loads from replicas
    QStringList newCollations;  // utf8mb4_0900_..., uca1400, that other servers do not know
};

// Reads the whole file once, in pieces. Throws Failure, and what onProgress throws.
ScriptLook lookAtScript(const QString &path, const std::function<void(qint64 read, qint64 all)> &onProgress);
// In words, with what may not go well on the server.
QString textOf(const ScriptLook &look, const ServerInfo &server);

// Adds those that not all servers know, each once.
void addNewCollations(QStringList &names, const QString &statement);
QStringList unknownCollations(const QStringList &names, const ServerInfo &server);
// The statement with collations that the server does not know replaced by its nearest ones; true when it was
// changed. Texts and names in quotes stay.
bool replaceCollations(std::string &statement, const ServerInfo &server);

// Whether it is one of the statements that setsGtids tells of.
bool isOfGtids(std::string_view statement);
