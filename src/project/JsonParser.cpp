#include "JsonValue.h"

#include <charconv>
#include <cstring>

namespace orvane {

namespace {

constexpr int maxDepth = 512;

class Parser {
public:
    explicit Parser(std::string_view text)
        : m_begin(text.data())
        , m_p(text.data())
        , m_end(text.data() + text.size()) {}

    std::variant<JsonValue, JsonSyntaxError> run() {
        JsonValue root;
        skipWhitespace();
        if (!parseValue(root, 0))
            return m_error;
        skipWhitespace();
        if (m_p != m_end) {
            fail("garbage after the document");
            return m_error;
        }
        return root;
    }

private:
    bool fail(const char* reason) {
        m_error = JsonSyntaxError{std::size_t(m_p - m_begin), QString::fromLatin1(reason)};
        return false;
    }

    void skipWhitespace() {
        while (m_p != m_end && (*m_p == ' ' || *m_p == '\n' || *m_p == '\r' || *m_p == '\t'))
            ++m_p;
    }

    bool literal(const char* word, std::size_t length) {
        if (std::size_t(m_end - m_p) < length || std::memcmp(m_p, word, length) != 0)
            return fail("invalid literal");
        m_p += length;
        return true;
    }

    bool parseValue(JsonValue& out, int depth) {
        if (m_p == m_end)
            return fail("unexpected end of the document");
        switch (*m_p) {
        case '{':
            return parseObject(out, depth + 1);
        case '[':
            return parseArray(out, depth + 1);
        case '"': {
            std::string s;
            if (!parseString(s))
                return false;
            out = JsonValue(std::move(s));
            return true;
        }
        case 't':
            out = JsonValue(true);
            return literal("true", 4);
        case 'f':
            out = JsonValue(false);
            return literal("false", 5);
        case 'n':
            out = JsonValue(nullptr);
            return literal("null", 4);
        default:
            return parseNumber(out);
        }
    }

    bool parseObject(JsonValue& out, int depth) {
        if (depth > maxDepth)
            return fail("nesting too deep");
        ++m_p; // {
        JsonObject object;
        skipWhitespace();
        if (m_p != m_end && *m_p == '}') {
            ++m_p;
            out = JsonValue(std::move(object));
            return true;
        }
        while (true) {
            skipWhitespace();
            if (m_p == m_end || *m_p != '"')
                return fail("expected a key");
            std::string key;
            if (!parseString(key))
                return false;
            skipWhitespace();
            if (m_p == m_end || *m_p != ':')
                return fail("expected ':'");
            ++m_p;
            skipWhitespace();
            JsonValue value;
            if (!parseValue(value, depth))
                return false;
            object.append(std::move(key), std::move(value));
            skipWhitespace();
            if (m_p == m_end)
                return fail("unterminated object");
            if (*m_p == ',') {
                ++m_p;
                continue;
            }
            if (*m_p == '}') {
                ++m_p;
                break;
            }
            return fail("expected ',' or '}'");
        }
        out = JsonValue(std::move(object));
        return true;
    }

    bool parseArray(JsonValue& out, int depth) {
        if (depth > maxDepth)
            return fail("nesting too deep");
        ++m_p; // [
        JsonArray array;
        skipWhitespace();
        if (m_p != m_end && *m_p == ']') {
            ++m_p;
            out = JsonValue(std::move(array));
            return true;
        }
        while (true) {
            skipWhitespace();
            JsonValue value;
            if (!parseValue(value, depth))
                return false;
            array.append(std::move(value));
            skipWhitespace();
            if (m_p == m_end)
                return fail("unterminated array");
            if (*m_p == ',') {
                ++m_p;
                continue;
            }
            if (*m_p == ']') {
                ++m_p;
                break;
            }
            return fail("expected ',' or ']'");
        }
        out = JsonValue(std::move(array));
        return true;
    }

    static int hexValue(char c) {
        if (c >= '0' && c <= '9')
            return c - '0';
        if (c >= 'a' && c <= 'f')
            return c - 'a' + 10;
        if (c >= 'A' && c <= 'F')
            return c - 'A' + 10;
        return -1;
    }

    bool parseHex4(char32_t& out) {
        if (m_end - m_p < 4)
            return fail("truncated \\u escape");
        out = 0;
        for (int i = 0; i < 4; ++i) {
            const int h = hexValue(m_p[i]);
            if (h < 0)
                return fail("invalid \\u escape");
            out = out * 16 + char32_t(h);
        }
        m_p += 4;
        return true;
    }

    static void appendUtf8(std::string& s, char32_t c) {
        if (c < 0x80) {
            s += char(c);
        } else if (c < 0x800) {
            s += char(0xC0 | (c >> 6));
            s += char(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            s += char(0xE0 | (c >> 12));
            s += char(0x80 | ((c >> 6) & 0x3F));
            s += char(0x80 | (c & 0x3F));
        } else {
            s += char(0xF0 | (c >> 18));
            s += char(0x80 | ((c >> 12) & 0x3F));
            s += char(0x80 | ((c >> 6) & 0x3F));
            s += char(0x80 | (c & 0x3F));
        }
    }

    // Length of the valid UTF-8 sequence at m_p, or 0 when it is not one (overlong forms, surrogates
    // and code points past U+10FFFF included).
    std::size_t utf8Length() const {
        const auto* u = reinterpret_cast<const unsigned char*>(m_p);
        const std::size_t left = std::size_t(m_end - m_p);
        auto cont = [&](std::size_t i) {
            return i < left && (u[i] & 0xC0) == 0x80;
        };
        if (u[0] >= 0xC2 && u[0] <= 0xDF)
            return cont(1) ? 2 : 0;
        if (u[0] >= 0xE0 && u[0] <= 0xEF) {
            if (!cont(1) || !cont(2))
                return 0;
            if (u[0] == 0xE0 && u[1] < 0xA0)
                return 0;
            if (u[0] == 0xED && u[1] >= 0xA0)
                return 0;
            return 3;
        }
        if (u[0] >= 0xF0 && u[0] <= 0xF4) {
            if (!cont(1) || !cont(2) || !cont(3))
                return 0;
            if (u[0] == 0xF0 && u[1] < 0x90)
                return 0;
            if (u[0] == 0xF4 && u[1] >= 0x90)
                return 0;
            return 4;
        }
        return 0;
    }

    bool parseString(std::string& out) {
        ++m_p; // opening quote
        while (true) {
            // Copy the plain run in one go.
            const char* run = m_p;
            while (m_p != m_end) {
                const auto c = static_cast<unsigned char>(*m_p);
                if (c == '"' || c == '\\' || c < 0x20 || c >= 0x80)
                    break;
                ++m_p;
            }
            out.append(run, std::size_t(m_p - run));
            if (m_p == m_end)
                return fail("unterminated string");
            const auto c = static_cast<unsigned char>(*m_p);
            if (c == '"') {
                ++m_p;
                return true;
            }
            if (c < 0x20)
                return fail("control character in string");
            if (c >= 0x80) {
                const std::size_t n = utf8Length();
                if (n == 0)
                    return fail("invalid UTF-8 in string");
                out.append(m_p, n);
                m_p += n;
                continue;
            }
            // Backslash escape.
            ++m_p;
            if (m_p == m_end)
                return fail("unterminated escape");
            const char e = *m_p++;
            switch (e) {
            case '"':
                out += '"';
                break;
            case '\\':
                out += '\\';
                break;
            case '/':
                out += '/';
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
                char32_t code;
                if (!parseHex4(code))
                    return false;
                if (code >= 0xDC00 && code <= 0xDFFF)
                    return fail("lone low surrogate");
                if (code >= 0xD800 && code <= 0xDBFF) {
                    if (m_end - m_p < 2 || m_p[0] != '\\' || m_p[1] != 'u')
                        return fail("lone high surrogate");
                    m_p += 2;
                    char32_t low;
                    if (!parseHex4(low))
                        return false;
                    if (low < 0xDC00 || low > 0xDFFF)
                        return fail("lone high surrogate");
                    code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                }
                appendUtf8(out, code);
                break;
            }
            default:
                --m_p;
                return fail("invalid escape");
            }
        }
    }

    bool parseNumber(JsonValue& out) {
        const char* start = m_p;
        auto digits = [&] {
            const char* from = m_p;
            while (m_p != m_end && *m_p >= '0' && *m_p <= '9')
                ++m_p;
            return m_p != from;
        };
        if (m_p != m_end && *m_p == '-')
            ++m_p;
        if (m_p == m_end)
            return fail("invalid number");
        if (*m_p == '0') {
            ++m_p;
        } else if (!digits()) {
            return fail(*start == '-' ? "invalid number" : "unexpected character");
        }
        if (m_p != m_end && *m_p == '.') {
            ++m_p;
            if (!digits())
                return fail("invalid number");
        }
        bool negativeExponent = false;
        if (m_p != m_end && (*m_p == 'e' || *m_p == 'E')) {
            ++m_p;
            if (m_p != m_end && (*m_p == '+' || *m_p == '-'))
                negativeExponent = *m_p++ == '-';
            if (!digits())
                return fail("invalid number");
        }
        double value = 0;
        const auto [end, ec] = std::from_chars(start, m_p, value);
        if (ec == std::errc::result_out_of_range) {
            // Too small reads as zero; too large cannot be held.
            if (!negativeExponent) {
                m_p = start;
                return fail("number too large");
            }
            value = *start == '-' ? -0.0 : 0.0;
        } else if (ec != std::errc() || end != m_p) {
            m_p = start;
            return fail("invalid number");
        }
        out = JsonValue(value);
        return true;
    }

    const char* m_begin;
    const char* m_p;
    const char* m_end;
    JsonSyntaxError m_error;
};

} // namespace

std::variant<JsonValue, JsonSyntaxError> parseJson(std::string_view text) {
    return Parser(text).run();
}

} // namespace orvane
