#include "controls/hexdump.h"

#include "core/hexliteral.h"

#include <algorithm>
#include <charconv>

std::string hexDump(std::string_view bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string dump;
    dump.reserve(bytes.size() / 16 * 78 + 80);
    for (std::size_t start = 0; start < bytes.size(); start += 16) {
        for (int shift = 28; shift >= 0; shift -= 4)
            dump += digits[start >> shift & 15];
        const std::string_view line = bytes.substr(start, 16);
        for (std::size_t i = 0; i < 16; ++i) {
            dump += i == 8 ? "  " : " ";
            if (i >= line.size()) {
                dump += "  ";
                continue;
            }
            const auto byte = static_cast<unsigned char>(line[i]);
            (dump += digits[byte >> 4]) += digits[byte & 15];
        }
        dump += "  ";
        for (const char character : line)
            dump += character >= ' ' && character <= '~' ? character : '.';
        dump += '\n';
    }
    return dump;
}

std::string bytesOfLiteral(std::string_view text)
{
    if (!isHexLiteral(text))
        return std::string(text);
    std::string bytes;
    bytes.reserve(text.size() / 2);
    for (std::size_t i = 2; i < text.size(); i += 2) {
        unsigned value = 0;
        std::from_chars(text.data() + i, text.data() + i + 2, value, 16);
        bytes += static_cast<char>(value);
    }
    return bytes;
}

std::string withShortLines(std::string_view utf8, std::size_t most)
{
    std::string result;
    result.reserve(utf8.size() + utf8.size() / most);
    std::size_t length = 0;
    for (const char character : utf8) {
        const bool isStart = (static_cast<unsigned char>(character) & 0xc0) != 0x80;
        if (character == '\n') {
            length = 0;
        } else if (isStart && ++length > most) {
            result += '\n';
            length = 1;
        }
        result += character;
    }
    return result;
}
