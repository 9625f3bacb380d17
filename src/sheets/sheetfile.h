#pragma once

#include <QByteArray>

// How a file's text is written: as it was read, so that a saved sheet changes nothing but what was edited.
enum class FileEncoding { Utf8, Utf8Mark, Utf16Little, Utf16Big, CodePage };

// As fromCodePage() reads it.
FileEncoding encodingOf(const QByteArray &bytes);
// What CP932 has no form for makes a file of that UTF-8 with a byte order mark.
QByteArray encoded(const QByteArray &utf8, FileEncoding encoding);
