#pragma once

#include "core/session/session.h"

class ProfileFile;

// Puts the defaults, then what "Tarnwell.ini" and "variable.dat" hold, into the session. Missing or damaged
// files leave the defaults. They stand in the program folder, or in the user's configuration folder where
// the program's cannot be written. Returns what the user has to know about it, mostly nothing.
QString sLoadSettings(Session &session);
// Writes into both files what was changed since they were read. Shows nothing; returns the path and the
// system's words of the first step that failed, else empty.
QString sSaveSettings(const Session &session);

// The value, at most size - 1 characters up to its first NUL; fallback when missing or empty.
QString fIniRead(const ProfileFile &file, const QString &section, const QString &key, const QString &fallback,
                 int size);
void fIniWrite(ProfileFile &file, const QString &section, const QString &key, const QString &value);
// 2: the platform's texts are Unicode, so that files may hold more than the ANSI code page can.
int fPlatformId();

// The light disguise of the stored password: every code point one lower, and back.
QString shiftedDown(const QString &password);
QString shiftedUp(const QString &stored);

// The items of a list file: an item ends at a comma or a line's end, double quotes enclose one.
QStringList listItems(const QString &text);
