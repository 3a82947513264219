#include "JsonValue.h"

#include <algorithm>
#include <charconv>

namespace orvane {

namespace {

class Writer {
public:
    explicit Writer(bool pretty)
        : m_pretty(pretty) {}

    void write(const JsonValue& v, int indent) {
        switch (v.type()) {
        case JsonValue::Undefined:
        case JsonValue::Null:
            m_out += "null";
            break;
        case JsonValue::Bool:
            m_out += v.toBool() ? "true" : "false";
            break;
        case JsonValue::Double:
            writeNumber(v.toDouble());
            break;
        case JsonValue::String:
            writeString(v.stringView());
            break;
        case JsonValue::Array:
            writeArray(v.toArray(), indent);
            break;
        case JsonValue::Object:
            writeObject(v.toObject(), indent);
            break;
        }
    }

    QByteArray take() { return std::move(m_out); }

private:
    void newline(int indent) {
        if (!m_pretty)
            return;
        m_out += '\n';
        m_out.append(qsizetype(indent) * 2, ' ');
    }

    void writeNumber(double d) {
        char buffer[32];
        const auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, d);
        m_out.append(buffer, qsizetype(end - buffer));
    }

    void writeString(std::string_view s) {
        static const char hex[] = "0123456789abcdef";
        m_out += '"';
        std::size_t run = 0;
        for (std::size_t i = 0; i < s.size(); ++i) {
            const auto c = static_cast<unsigned char>(s[i]);
            if (c >= 0x20 && c != '"' && c != '\\')
                continue;
            m_out.append(s.data() + run, qsizetype(i - run));
            run = i + 1;
            switch (c) {
            case '"':
                m_out += "\\\"";
                break;
            case '\\':
                m_out += "\\\\";
                break;
            case '\n':
                m_out += "\\n";
                break;
            case '\r':
                m_out += "\\r";
                break;
            case '\t':
                m_out += "\\t";
                break;
            case '\b':
                m_out += "\\b";
                break;
            case '\f':
                m_out += "\\f";
                break;
            default: {
                const char escape[] = {'\\', 'u', '0', '0', hex[c >> 4], hex[c & 15]};
                m_out.append(escape, 6);
            }
            }
        }
        m_out.append(s.data() + run, qsizetype(s.size() - run));
        m_out += '"';
    }

    void writeArray(const JsonArray& a, int indent) {
        if (a.isEmpty()) {
            m_out += "[]";
            return;
        }
        m_out += '[';
        bool first = true;
        for (const JsonValue& item : a) {
            if (!first)
                m_out += ',';
            first = false;
            newline(indent + 1);
            write(item, indent + 1);
        }
        newline(indent);
        m_out += ']';
    }

    void writeObject(const JsonObject& o, int indent) {
        if (o.isEmpty()) {
            m_out += "{}";
            return;
        }
        // Sorted keys make files diffable and saves deterministic.
        const auto& members = o.members();
        std::vector<const std::pair<std::string, JsonValue>*> sorted;
        sorted.reserve(members.size());
        for (const auto& m : members)
            sorted.push_back(&m);
        std::stable_sort(sorted.begin(), sorted.end(),
                         [](const auto* a, const auto* b) { return a->first < b->first; });
        m_out += '{';
        bool first = true;
        for (std::size_t i = 0; i < sorted.size(); ++i) {
            // A repeated key keeps only its last value, as reading it back would.
            if (i + 1 < sorted.size() && sorted[i + 1]->first == sorted[i]->first)
                continue;
            if (!first)
                m_out += ',';
            first = false;
            newline(indent + 1);
            writeString(sorted[i]->first);
            m_out += m_pretty ? ": " : ":";
            write(sorted[i]->second, indent + 1);
        }
        newline(indent);
        m_out += '}';
    }

    bool m_pretty;
    QByteArray m_out;
};

} // namespace

QByteArray writeJson(const JsonValue& value) {
    Writer w(true);
    w.write(value, 0);
    QByteArray out = w.take();
    out += '\n';
    return out;
}

QByteArray writeCompactJson(const JsonValue& value) {
    Writer w(false);
    w.write(value, 0);
    return w.take();
}

} // namespace orvane
