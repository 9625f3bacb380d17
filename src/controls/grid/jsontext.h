#pragma once

#include <limits>
#include <optional>
#include <stop_token>
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

// Nothing where the text is no JSON, or nested deeper than anybody could look into, or where it was stopped.
std::optional<JsonPart> parseJson(std::string_view utf8, const std::stop_token &stop = {});
// A line for each part, indented; of what is longer than `most` bytes no more than the beginning and a
// little.
std::string formattedJson(const JsonPart &json, std::size_t most = std::numeric_limits<std::size_t>::max());
