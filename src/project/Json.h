#pragma once

// The document's JSON conventions, in one place:
// - a record is an object keyed by field name; `JsonObjectIn` reads it with required, optional and
//   lenient (defaulted) keys, `JsonObjectOut` writes it, leaving absent optionals out;
// - an enumeration without payload is its case name; one with payload is an object with exactly one key,
//   the case name, holding its labelled values, "_0" for an unlabelled one (`JsonTaggedIn`);
// - UUIDs are upper-case, dates ISO-8601 at whole seconds with "Z", blobs Base64, sizes [w, h];
// - unknown keys are ignored and a null optional reads as absent.
// Decoding failures carry the path of the offending value, built only when a failure happens.

#include "Geometry.h"
#include "JsonFwd.h"
#include "JsonValue.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QUuid>

#include <array>
#include <concepts>
#include <map>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

namespace orvane {

// Where a value sits in the document: a chain of frames on the decoder's stack, turned into text such
// as "timeline.clips[0].sourceSize" only when an error is reported.
class JsonPath {
public:
    JsonPath() = default;
    JsonPath(const JsonPath* parent, QUtf8StringView key)
        : m_parent(parent)
        , m_key(key) {}
    JsonPath(const JsonPath* parent, qsizetype index)
        : m_parent(parent)
        , m_index(index) {}

    QString toString() const;

private:
    const JsonPath* m_parent = nullptr;
    QUtf8StringView m_key;
    qsizetype m_index = -1;
};

class JsonError : public std::runtime_error {
public:
    JsonError(QString path, QString message);

    const QString& path() const noexcept { return m_path; }
    const QString& message() const noexcept { return m_message; }
    // "path: message", or the message alone at the root.
    QString description() const;

    // Encoding errors are found deep down and gain their path on the way out.
    void prependKey(QUtf8StringView key);
    void prependIndex(qsizetype index);

private:
    QString m_path;
    QString m_message;
};

namespace json {
// The exact text for a tagged object that does not hold exactly one key.
inline constexpr const char* invalidKeyCount = "Invalid number of keys found, expected one.";
} // namespace json

// One value being decoded, with its place in the document. It refers to the value, so decoding copies
// nothing; built from a temporary, it keeps the value itself.
class JsonIn {
public:
    JsonIn(const JsonValue& value, const JsonPath& path)
        : m_value(&value)
        , m_path(path) {}
    JsonIn(JsonValue&& value, const JsonPath& path)
        : m_owned(std::move(value))
        , m_value(&*m_owned)
        , m_path(path) {}
    JsonIn(const JsonIn&) = delete;
    JsonIn& operator=(const JsonIn&) = delete;

    const JsonValue& value() const { return *m_value; }
    const JsonPath& path() const { return m_path; }
    bool isNull() const { return m_value->isNull() || m_value->isUndefined(); }

    [[noreturn]] void fail(const QString& message) const;
    [[noreturn]] void fail(const char* message) const { fail(QString::fromUtf8(message)); }

private:
    std::optional<JsonValue> m_owned;
    const JsonValue* m_value;
    const JsonPath& m_path;
};

// Primitive codecs. Records declare theirs beside their type and are found by argument-dependent lookup.
void fromJson(const JsonIn& in, double& out);
void fromJson(const JsonIn& in, int& out);
void fromJson(const JsonIn& in, bool& out);
void fromJson(const JsonIn& in, QString& out);
void fromJson(const JsonIn& in, QUuid& out);
void fromJson(const JsonIn& in, QDateTime& out);
void fromJson(const JsonIn& in, QByteArray& out); // Base64
void fromJson(const JsonIn& in, Size& out);       // [width, height]

JsonValue toJson(double value); // non-finite numbers cannot be written and throw
JsonValue toJson(int value);
JsonValue toJson(bool value);
JsonValue toJson(const QString& value);
JsonValue toJson(const QUuid& value);
JsonValue toJson(const QDateTime& value);
JsonValue toJson(const QByteArray& value);
JsonValue toJson(const Size& value);

QString uuidString(const QUuid& id); // canonical upper-case 8-4-4-4-12
std::optional<QUuid> parseUuid(QStringView text);
QString isoDateString(const QDateTime& date);
std::optional<QDateTime> parseIsoDate(QStringView text);

template <class T>
T decodeJson(const JsonIn& in) {
    T out{};
    fromJson(in, out);
    return out;
}

template <class T>
void fromJson(const JsonIn& in, std::vector<T>& out) {
    if (!in.value().isArray())
        in.fail("expected an array");
    const JsonArray& array = in.value().toArray();
    out.clear();
    out.reserve(std::size_t(array.size()));
    for (qsizetype i = 0; i < array.size(); ++i) {
        const JsonPath path(&in.path(), i);
        out.push_back(decodeJson<T>(JsonIn(array.at(i), path)));
    }
}

template <class T>
JsonValue toJson(const std::vector<T>& values) {
    JsonArray array;
    array.reserve(qsizetype(values.size()));
    for (std::size_t i = 0; i < values.size(); ++i) {
        try {
            array.append(toJson(values[i]));
        } catch (JsonError& e) {
            e.prependIndex(qsizetype(i));
            throw;
        }
    }
    return array;
}

// Enumerations without payload are their case names. An enumeration opts in by declaring, in its own
// namespace, `enumEntries(E)` returning an array of EnumEntry and `enumTypeName(E)`.
template <class E>
struct EnumEntry {
    E value;
    std::string_view name;
};

template <class E>
concept JsonEnum = std::is_enum_v<E> && requires(E e) {
    {enumEntries(e)};
    { enumTypeName(e) } -> std::convertible_to<std::string_view>;
};

template <JsonEnum E>
std::string_view enumName(E value) {
    for (const auto& entry : enumEntries(E{}))
        if (entry.value == value)
            return entry.name;
    return {};
}

template <JsonEnum E>
QString enumString(E value) {
    const std::string_view name = enumName(value);
    return QString::fromLatin1(name.data(), qsizetype(name.size()));
}

template <JsonEnum E>
std::optional<E> enumFromName(QStringView name) {
    for (const auto& entry : enumEntries(E{}))
        if (name == QLatin1StringView(entry.name.data(), qsizetype(entry.name.size())))
            return entry.value;
    return std::nullopt;
}

[[noreturn]] void failUnknownCase(const JsonIn& in, std::string_view typeName, const QString& name);

template <JsonEnum E>
void fromJson(const JsonIn& in, E& out) {
    if (!in.value().isString())
        in.fail("expected a string");
    const std::string_view name = in.value().stringView();
    for (const auto& entry : enumEntries(E{})) {
        if (entry.name == name) {
            out = entry.value;
            return;
        }
    }
    failUnknownCase(in, enumTypeName(E{}), QString::fromUtf8(name.data(), qsizetype(name.size())));
}

template <JsonEnum E>
JsonValue toJson(E value) {
    return std::string(enumName(value));
}

// A record being decoded.
class JsonObjectIn {
public:
    explicit JsonObjectIn(const JsonIn& in);

    bool contains(const char* key) const { return m_object->contains(key); }

    // A missing key or a null value fails the document.
    template <class T>
    T required(const char* key) const {
        const JsonValue* v = m_object->find(key);
        const JsonPath path(&m_path, QUtf8StringView(key));
        if (!v)
            JsonIn(JsonValue(), path).fail("required key is missing");
        return decodeJson<T>(JsonIn(*v, path));
    }

    // A missing key or a null value is absent; a present value of the wrong type still fails.
    template <class T>
    std::optional<T> optional(const char* key) const {
        const JsonValue* v = m_object->find(key);
        if (!v || v->isNull())
            return std::nullopt;
        const JsonPath path(&m_path, QUtf8StringView(key));
        return decodeJson<T>(JsonIn(*v, path));
    }

    // Lenient keys: missing or null reads as `fallback`.
    template <class T>
    T value(const char* key, T fallback) const {
        auto v = optional<T>(key);
        return v ? std::move(*v) : std::move(fallback);
    }

    const JsonPath& path() const { return m_path; }
    const JsonObject& object() const { return *m_object; }

private:
    const JsonObject* m_object;
    const JsonPath& m_path;
};

// A record being encoded. Keys come out sorted when the document is written.
class JsonObjectOut {
public:
    template <class T>
    JsonObjectOut& set(const char* key, const T& value) {
        try {
            m_object.append(key, toJson(value));
        } catch (JsonError& e) {
            e.prependKey(QUtf8StringView(key));
            throw;
        }
        return *this;
    }

    template <class T>
    JsonObjectOut& set(const char* key, const std::optional<T>& value) {
        if (value)
            set(key, *value);
        return *this;
    }

    JsonObject take() { return std::move(m_object); }

private:
    JsonObject m_object;
};

// A tagged union being decoded: an object with exactly one key, the case name.
class JsonTaggedIn {
public:
    explicit JsonTaggedIn(const JsonIn& in);
    JsonTaggedIn(const JsonTaggedIn&) = delete;
    JsonTaggedIn& operator=(const JsonTaggedIn&) = delete;

    const QString& caseName() const { return m_name; }
    bool is(const char* name) const { return m_nameUtf8 == name; }
    // The case's labelled values; "_0" holds an unlabelled one.
    JsonObjectIn payload() const;
    [[noreturn]] void failUnknownCase(std::string_view typeName) const;

private:
    const JsonIn& m_in;
    std::string m_nameUtf8;
    QString m_name;
    JsonPath m_payloadPath;
    JsonIn m_payload;
};

// {"name": payload}
JsonObject taggedJson(const char* name, JsonObject payload = {});

// Whole documents: pretty-printed with sorted keys.
QByteArray writeJsonDocument(const JsonValue& root);
// Parses bytes into a root value; a syntax error becomes a JsonError with the offset.
JsonValue readJsonDocument(const QByteArray& bytes);

} // namespace orvane
