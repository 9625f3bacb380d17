#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

// A part of a JSON text. The views lie in that text: digits and the order of keys stay as they were written,
// which Qt's own reader keeps neither of.
struct JsonPart {
    enum class Kind { Object, Array, Scalar };

    Kind kind = Kind::Scalar;
    std::string_view key = {};  // in its quotes; empty: none
    std::string_view text = {}; // of a scalar
    std::vector<JsonPart> parts = {};
};

// Nothing where the text is no JSON, or nested deeper than anybody could look into.
std::optional<JsonPart> parseJson(std::string_view utf8);
// A line for each part, indented.
std::string formattedJson(const JsonPart &json);
