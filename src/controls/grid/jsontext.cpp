#include "controls/grid/jsontext.h"

#include <algorithm>

namespace {

constexpr int deepest = 500;

// Reads from left to right; each function gives false where the text is no JSON.
class JsonReader {
public:
    JsonReader(std::string_view text, const std::stop_token &stop)
        : m_text(text)
        , m_stop(stop)
    {
    }
    bool readAll(JsonPart &part) { return readValue(part, 0) && (skipBlanks(), m_at == m_text.size()); }

private:
    char sign()
    {
        skipBlanks();
        return m_at < m_text.size() ? m_text[m_at] : '\0';
    }
    void skipBlanks() { m_at = std::min(m_text.find_first_not_of(" \t\r\n", m_at), m_text.size()); }
    bool take(char wanted)
    {
        const bool is = sign() == wanted;
        m_at += is ? 1 : 0;
        return is;
    }
    bool readString(std::string_view &text)
    {
        if (sign() != '"')
            return false;
        const std::size_t start = m_at++;
        while (m_at < m_text.size() && m_text[m_at] != '"')
            m_at += m_text[m_at] == '\\' ? 2 : 1;
        if (m_at >= m_text.size())
            return false;
        text = m_text.substr(start, ++m_at - start);
        return true;
    }
    bool readWord(std::string_view &text)
    {
        constexpr std::string_view numberSigns = "+-.0123456789Ee";
        for (const std::string_view word : {"true", "false", "null"})
            if (m_text.substr(m_at).starts_with(word)) {
                text = m_text.substr(m_at, word.size());
                m_at += word.size();
                return true;
            }
        const std::size_t end = std::min(m_text.find_first_not_of(numberSigns, m_at), m_text.size());
        text = m_text.substr(m_at, end - m_at);
        m_at = end;
        return text.find_first_of("0123456789") != std::string_view::npos;
    }
    bool readParts(JsonPart &part, char close, int depth)
    {
        ++m_at;
        if (take(close))
            return true;
        do {
            JsonPart &next = part.parts.emplace_back();
            if (part.kind == JsonPart::Kind::Object && !(readString(next.key) && take(':')))
                return false;
            if (!readValue(next, depth + 1))
                return false;
        } while (take(','));
        return take(close);
    }
    bool readValue(JsonPart &part, int depth)
    {
        if (depth > deepest || m_stop.stop_requested())
            return false;
        switch (sign()) {
        case '{':
            part.kind = JsonPart::Kind::Object;
            return readParts(part, '}', depth);
        case '[':
            part.kind = JsonPart::Kind::Array;
            return readParts(part, ']', depth);
        case '"':
            return readString(part.text);
        default:
            return readWord(part.text);
        }
    }

    std::string_view m_text;
    const std::stop_token &m_stop;
    std::size_t m_at = 0;
};

void append(std::string &out, const JsonPart &part, std::size_t depth, std::size_t most)
{
    if (!part.key.empty())
        (out += part.key) += ": ";
    if (part.kind == JsonPart::Kind::Scalar) {
        out += part.text;
        return;
    }
    const bool isObject = part.kind == JsonPart::Kind::Object;
    out += isObject ? '{' : '[';
    for (std::size_t i = 0; i < part.parts.size() && out.size() <= most; ++i) {
        out += i == 0 ? "\n" : ",\n";
        out.append((depth + 1) * 2, ' ');
        append(out, part.parts[i], depth + 1, most);
    }
    if (!part.parts.empty())
        (out += '\n').append(depth * 2, ' ');
    out += isObject ? '}' : ']';
}

} // namespace

std::optional<JsonPart> parseJson(std::string_view utf8, const std::stop_token &stop)
{
    JsonPart all;
    if (!JsonReader(utf8, stop).readAll(all))
        return {};
    return all;
}

std::string formattedJson(const JsonPart &json, std::size_t most)
{
    std::string out;
    append(out, json, 0, most);
    return out;
}
