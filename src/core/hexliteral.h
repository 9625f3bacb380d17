#pragma once

#include <string_view>

// Whether the text is "0x" and an even number of hexadecimal digits, the form in which cells show bytes that
// are no text. A binary cell is never shown in this form as a text.
inline bool isHexLiteral(std::string_view text)
{
    return text.size() > 2 && text.size() % 2 == 0 && text.starts_with("0x") &&
           text.find_first_not_of("0123456789abcdefABCDEF", 2) == text.npos;
}
