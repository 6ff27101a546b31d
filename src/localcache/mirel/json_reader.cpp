#include "json_reader.h"

#include <cmath>
#include <cstdlib>

namespace Mirel {

namespace {

constexpr int MaxDepth = 16;

class Parser {
public:
    explicit Parser(const std::string& text)
        : m_text(text)
    {
    }

    bool document(JsonValue& value)
    {
        skipSpace();
        if (!parseValue(value, 0))
            return false;
        skipSpace();
        return m_pos == m_text.size() || fail("trailing characters");
    }

    std::string error;

private:
    bool fail(const char* what)
    {
        if (error.empty())
            error = std::string(what) + " at offset " + std::to_string(m_pos);
        return false;
    }

    void skipSpace()
    {
        while (m_pos < m_text.size() &&
               (m_text[m_pos] == ' ' || m_text[m_pos] == '\n' || m_text[m_pos] == '\r' || m_text[m_pos] == '\t'))
            ++m_pos;
    }

    bool literal(const char* word)
    {
        const std::string expected(word);
        if (m_text.compare(m_pos, expected.size(), expected) != 0)
            return fail("unexpected characters");
        m_pos += expected.size();
        return true;
    }

    bool parseValue(JsonValue& value, int depth)
    {
        if (depth > MaxDepth)
            return fail("nesting too deep");
        if (m_pos >= m_text.size())
            return fail("unexpected end");
        switch (m_text[m_pos]) {
        case '{':
            return parseObject(value, depth);
        case '[':
            return parseArray(value, depth);
        case '"':
            value.type = JsonValue::Type::String;
            return parseString(value.text);
        case 't':
            value.type = JsonValue::Type::Bool;
            value.boolean = true;
            return literal("true");
        case 'f':
            value.type = JsonValue::Type::Bool;
            return literal("false");
        case 'n':
            return literal("null");
        default:
            return parseNumber(value);
        }
    }

    bool parseObject(JsonValue& value, int depth)
    {
        value.type = JsonValue::Type::Object;
        ++m_pos;
        skipSpace();
        if (m_pos < m_text.size() && m_text[m_pos] == '}') {
            ++m_pos;
            return true;
        }
        for (;;) {
            skipSpace();
            std::string name;
            if (m_pos >= m_text.size() || m_text[m_pos] != '"' || !parseString(name))
                return fail("expected a member name");
            skipSpace();
            if (m_pos >= m_text.size() || m_text[m_pos] != ':')
                return fail("expected ':'");
            ++m_pos;
            skipSpace();
            JsonValue member;
            if (!parseValue(member, depth + 1))
                return false;
            value.members[name] = std::move(member);
            skipSpace();
            if (m_pos < m_text.size() && m_text[m_pos] == ',') {
                ++m_pos;
                continue;
            }
            if (m_pos < m_text.size() && m_text[m_pos] == '}') {
                ++m_pos;
                return true;
            }
            return fail("expected ',' or '}'");
        }
    }

    bool parseArray(JsonValue& value, int depth)
    {
        value.type = JsonValue::Type::Array;
        ++m_pos;
        skipSpace();
        if (m_pos < m_text.size() && m_text[m_pos] == ']') {
            ++m_pos;
            return true;
        }
        for (;;) {
            skipSpace();
            JsonValue item;
            if (!parseValue(item, depth + 1))
                return false;
            value.items.push_back(std::move(item));
            skipSpace();
            if (m_pos < m_text.size() && m_text[m_pos] == ',') {
                ++m_pos;
                continue;
            }
            if (m_pos < m_text.size() && m_text[m_pos] == ']') {
                ++m_pos;
                return true;
            }
            return fail("expected ',' or ']'");
        }
    }

    static void appendUtf8(std::string& out, unsigned long code)
    {
        if (code < 0x80) {
            out += char(code);
        } else if (code < 0x800) {
            out += char(0xC0 | (code >> 6));
            out += char(0x80 | (code & 0x3F));
        } else if (code < 0x10000) {
            out += char(0xE0 | (code >> 12));
            out += char(0x80 | ((code >> 6) & 0x3F));
            out += char(0x80 | (code & 0x3F));
        } else {
            out += char(0xF0 | (code >> 18));
            out += char(0x80 | ((code >> 12) & 0x3F));
            out += char(0x80 | ((code >> 6) & 0x3F));
            out += char(0x80 | (code & 0x3F));
        }
    }

    bool hex4(unsigned long& code)
    {
        if (m_pos + 4 > m_text.size())
            return fail("short \\u escape");
        code = 0;
        for (int i = 0; i < 4; ++i) {
            const char c = m_text[m_pos++];
            code <<= 4;
            if (c >= '0' && c <= '9')
                code |= unsigned(c - '0');
            else if (c >= 'a' && c <= 'f')
                code |= unsigned(c - 'a' + 10);
            else if (c >= 'A' && c <= 'F')
                code |= unsigned(c - 'A' + 10);
            else
                return fail("bad \\u escape");
        }
        return true;
    }

    bool parseString(std::string& out)
    {
        ++m_pos; // opening quote
        while (m_pos < m_text.size()) {
            const char c = m_text[m_pos++];
            if (c == '"')
                return true;
            if (static_cast<unsigned char>(c) < 0x20)
                return fail("control character in string");
            if (c != '\\') {
                out += c;
                continue;
            }
            if (m_pos >= m_text.size())
                break;
            const char escaped = m_text[m_pos++];
            switch (escaped) {
            case '"':
            case '\\':
            case '/':
                out += escaped;
                break;
            case 'b':
                out += '\b';
                break;
            case 'f':
                out += '\f';
                break;
            case 'n':
                out += '\n';
                break;
            case 'r':
                out += '\r';
                break;
            case 't':
                out += '\t';
                break;
            case 'u': {
                unsigned long code = 0;
                if (!hex4(code))
                    return false;
                if (code >= 0xD800 && code < 0xDC00 && m_text.compare(m_pos, 2, "\\u") == 0) {
                    m_pos += 2;
                    unsigned long low = 0;
                    if (!hex4(low))
                        return false;
                    if (low < 0xDC00 || low > 0xDFFF)
                        return fail("bad surrogate pair");
                    code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                }
                appendUtf8(out, code);
                break;
            }
            default:
                return fail("bad escape");
            }
        }
        return fail("unterminated string");
    }

    bool parseNumber(JsonValue& value)
    {
        const size_t start = m_pos;
        if (m_pos < m_text.size() && m_text[m_pos] == '-')
            ++m_pos;
        size_t digits = 0;
        while (m_pos < m_text.size() &&
               ((m_text[m_pos] >= '0' && m_text[m_pos] <= '9') || m_text[m_pos] == '.' || m_text[m_pos] == 'e' ||
                m_text[m_pos] == 'E' || m_text[m_pos] == '+' || m_text[m_pos] == '-')) {
            ++m_pos;
            ++digits;
        }
        if (digits == 0 || digits > 40)
            return fail("bad number");
        const std::string number = m_text.substr(start, m_pos - start);
        char* end = nullptr;
        value.number = std::strtod(number.c_str(), &end);
        if (end != number.c_str() + number.size() || !std::isfinite(value.number))
            return fail("bad number");
        value.type = JsonValue::Type::Number;
        return true;
    }

    const std::string& m_text;
    size_t m_pos = 0;
};

int base64Digit(char c)
{
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    if (c == '+')
        return 62;
    if (c == '/')
        return 63;
    return -1;
}

} // namespace

const JsonValue* JsonValue::member(const std::string& name) const
{
    if (type != Type::Object)
        return nullptr;
    const auto it = members.find(name);
    return it == members.end() ? nullptr : &it->second;
}

std::optional<std::string> JsonValue::string(const std::string& name) const
{
    const JsonValue* value = member(name);
    if (!value || value->type != Type::String)
        return std::nullopt;
    return value->text;
}

std::optional<long long> JsonValue::integer(const std::string& name) const
{
    const JsonValue* value = member(name);
    if (!value || value->type != Type::Number || value->number != std::floor(value->number) ||
        std::fabs(value->number) > 9.0e15)
        return std::nullopt;
    return static_cast<long long>(value->number);
}

std::optional<JsonValue> parseJson(const std::string& text, std::string& error)
{
    Parser parser(text);
    JsonValue value;
    if (!parser.document(value)) {
        error = parser.error;
        return std::nullopt;
    }
    return value;
}

std::optional<std::string> decodeBase64(const std::string& text)
{
    if (text.size() % 4 != 0)
        return std::nullopt;
    std::string out;
    out.reserve(text.size() / 4 * 3);
    for (size_t i = 0; i < text.size(); i += 4) {
        int digits[4];
        int padding = 0;
        for (int j = 0; j < 4; ++j) {
            const char c = text[i + j];
            if (c == '=' && i + 4 == text.size() && j >= 2) {
                digits[j] = 0;
                ++padding;
                continue;
            }
            if (padding > 0)
                return std::nullopt;
            digits[j] = base64Digit(c);
            if (digits[j] < 0)
                return std::nullopt;
        }
        const unsigned long group = (unsigned long)digits[0] << 18 | (unsigned long)digits[1] << 12 |
                                    (unsigned long)digits[2] << 6 | (unsigned long)digits[3];
        out += char((group >> 16) & 0xFF);
        if (padding < 2)
            out += char((group >> 8) & 0xFF);
        if (padding < 1)
            out += char(group & 0xFF);
    }
    return out;
}

} // namespace Mirel
