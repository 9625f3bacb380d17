#pragma once

#include <QFile>

// Claims an open file for its writer until it is closed. False: another writer, of this program or another,
// has claimed it, or has renamed it meanwhile. File systems that know no locks let everybody pass.
bool claimForWriting(QFile &file);

// Renames a claimed file over whatever has the name, and closes it; at no moment can another one claim it
// under its old name. Empty, or the system's words.
QString renameClaimed(QFile &file, const QString &name);
