#pragma once

#include <string>
#include <string_view>

// Lines of 16 bytes: offset, hexadecimal, readable characters.
std::string hexDump(std::string_view bytes);
// The bytes that "0x4a4B" stands for; anything else stays as it is.
std::string bytesOfLiteral(std::string_view text);
// Breaks lines longer than `most` characters, for showing only: an editor lays out whole lines, and one of
// a megabyte would stall it.
std::string withShortLines(std::string_view utf8, std::size_t most);
