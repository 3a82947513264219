#pragma once

// A small JSON document model made for the project file: values own their children, objects keep
// their members in insertion order (the writer sorts keys), lookups return references so decoding
// copies nothing, and the parser and writer are strict and fast enough for projects of many
// megabytes.

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QStringView>

#include <cstddef>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace orvane {

class JsonValue;
class JsonObject;

class JsonArray {
public:
    JsonArray() = default;
    JsonArray(std::initializer_list<JsonValue> items);

    // Defined after JsonValue: the element type must be complete there.
    qsizetype size() const;
    bool isEmpty() const;
    const JsonValue& at(qsizetype i) const;
    const JsonValue& operator[](qsizetype i) const;
    JsonValue& operator[](qsizetype i);
    void append(JsonValue value);
    void removeAt(qsizetype i);
    void reserve(qsizetype n);

    std::vector<JsonValue>::const_iterator begin() const;
    std::vector<JsonValue>::const_iterator end() const;

    bool operator==(const JsonArray& other) const;

private:
    std::vector<JsonValue> m_items;
};

struct JsonMember;

class JsonObject {
public:
    JsonObject() = default;
    JsonObject(std::initializer_list<JsonMember> members);

    qsizetype size() const;
    bool isEmpty() const;
    // The value under `key`, or an undefined value when there is none. With repeated keys the last
    // one counts, as when a reader fills a dictionary in order.
    const JsonValue& value(std::string_view key) const;
    const JsonValue& value(QStringView key) const;
    const JsonValue* find(std::string_view key) const;
    bool contains(std::string_view key) const { return find(key) != nullptr; }
    bool contains(QStringView key) const;
    QStringList keys() const;

    // Replaces the value of an existing key, or appends.
    void insert(std::string_view key, JsonValue value);
    void insert(QStringView key, JsonValue value);
    // Appends without looking for the key: for encoders that write each key once.
    void append(std::string key, JsonValue value);
    void remove(std::string_view key);
    void remove(QStringView key);

    const std::vector<std::pair<std::string, JsonValue>>& members() const { return m_members; }
    void reserve(qsizetype n);

    // Member order does not matter.
    bool operator==(const JsonObject& other) const;

private:
    std::vector<std::pair<std::string, JsonValue>> m_members;
};

class JsonValue {
public:
    enum Type { Undefined, Null, Bool, Double, String, Array, Object };

    JsonValue() = default;
    JsonValue(Type type);
    JsonValue(std::nullptr_t)
        : m_value(nullptr) {}
    JsonValue(bool b)
        : m_value(b) {}
    JsonValue(double d)
        : m_value(d) {}
    JsonValue(int i)
        : m_value(double(i)) {}
    JsonValue(qint64 i)
        : m_value(double(i)) {}
    JsonValue(const char* s)
        : m_value(std::string(s)) {}
    JsonValue(std::string s)
        : m_value(std::move(s)) {}
    JsonValue(const QString& s)
        : m_value(s.toStdString()) {}
    JsonValue(JsonArray a)
        : m_value(std::move(a)) {}
    JsonValue(JsonObject o)
        : m_value(std::move(o)) {}

    Type type() const { return Type(m_value.index()); }
    bool isUndefined() const { return type() == Undefined; }
    bool isNull() const { return type() == Null; }
    bool isBool() const { return type() == Bool; }
    bool isDouble() const { return type() == Double; }
    bool isString() const { return type() == String; }
    bool isArray() const { return type() == Array; }
    bool isObject() const { return type() == Object; }

    bool toBool(bool fallback = false) const { return isBool() ? std::get<bool>(m_value) : fallback; }
    double toDouble(double fallback = 0) const { return isDouble() ? std::get<double>(m_value) : fallback; }
    QString toString() const {
        return isString() ? QString::fromStdString(std::get<std::string>(m_value)) : QString();
    }
    // UTF-8 text without a copy; empty when not a string.
    std::string_view stringView() const;

    // References into this value: an rvalue hands its child out by value so nothing dangles.
    const JsonArray& toArray() const&;
    JsonArray toArray() &&;
    const JsonObject& toObject() const&;
    JsonObject toObject() &&;

    // Object lookup as a shortcut; undefined for anything that is not an object.
    const JsonValue& operator[](std::string_view key) const;

    bool operator==(const JsonValue& other) const = default;

private:
    struct UndefinedTag {
        bool operator==(const UndefinedTag&) const = default;
    };
    std::variant<UndefinedTag, std::nullptr_t, bool, double, std::string, JsonArray, JsonObject> m_value;
};

struct JsonMember {
    std::string key;
    JsonValue value;
    JsonMember(const char* k, JsonValue v)
        : key(k)
        , value(std::move(v)) {}
    JsonMember(std::string k, JsonValue v)
        : key(std::move(k))
        , value(std::move(v)) {}
    JsonMember(const QString& k, JsonValue v)
        : key(k.toStdString())
        , value(std::move(v)) {}
};

inline qsizetype JsonArray::size() const {
    return qsizetype(m_items.size());
}
inline bool JsonArray::isEmpty() const {
    return m_items.empty();
}
inline const JsonValue& JsonArray::at(qsizetype i) const {
    return m_items[std::size_t(i)];
}
inline const JsonValue& JsonArray::operator[](qsizetype i) const {
    return m_items[std::size_t(i)];
}
inline JsonValue& JsonArray::operator[](qsizetype i) {
    return m_items[std::size_t(i)];
}
inline void JsonArray::removeAt(qsizetype i) {
    m_items.erase(m_items.begin() + i);
}
inline void JsonArray::reserve(qsizetype n) {
    m_items.reserve(std::size_t(n));
}
inline std::vector<JsonValue>::const_iterator JsonArray::begin() const {
    return m_items.begin();
}
inline std::vector<JsonValue>::const_iterator JsonArray::end() const {
    return m_items.end();
}
inline qsizetype JsonObject::size() const {
    return qsizetype(m_members.size());
}
inline bool JsonObject::isEmpty() const {
    return m_members.empty();
}
inline void JsonObject::reserve(qsizetype n) {
    m_members.reserve(std::size_t(n));
}

struct JsonSyntaxError {
    std::size_t offset = 0;
    QString reason;
};

// Strict RFC 8259: one value, no comments or trailing commas, valid UTF-8, no lone surrogates,
// numbers that fit a double, nesting at most 512 deep.
std::variant<JsonValue, JsonSyntaxError> parseJson(std::string_view text);

// Pretty-printed with two-space indentation and keys sorted by their UTF-8 bytes; numbers in their
// shortest form that reads back exactly. Non-finite numbers must not reach it.
QByteArray writeJson(const JsonValue& value);
// One line, keys sorted: for logs and for the wire.
QByteArray writeCompactJson(const JsonValue& value);

} // namespace orvane
