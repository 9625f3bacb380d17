#pragma once

#include "core/connection.h"
#include "core/rowblock.h"

// Adds the bytes of a binary column as they are shown: as they stand when they are readable UTF-8 text (no
// control characters but TAB, CR and LF) that is not of the other form, else as "0x" and hex digits in
// capitals.
void addBinaryCell(RowBlock &block, std::string_view bytes);
// The same, always as digits.
void addHexCell(RowBlock &block, std::string_view bytes);

// "10.11.19-MariaDB-0+deb12u1" is 101119; the "5.5.5-" that MariaDB puts in front for old clients is skipped.
ServerInfo serverInfo(const QString &version);
