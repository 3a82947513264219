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

#include <QByteArray>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>
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

// One value being decoded, with its place in the document.
class JsonIn {
public:
    JsonIn(QJsonValue value, const JsonPath& path)
        : m_value(std::move(value))
        , m_path(path) {}

    const QJsonValue& value() const { return m_value; }
    const JsonPath& path() const { return m_path; }
    bool isNull() const { return m_value.isNull() || m_value.isUndefined(); }

    [[noreturn]] void fail(const QString& message) const;
    [[noreturn]] void fail(const char* message) const { fail(QString::fromUtf8(message)); }

private:
    QJsonValue m_value;
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

QJsonValue toJson(double value); // non-finite numbers cannot be written and throw
QJsonValue toJson(int value);
QJsonValue toJson(bool value);
QJsonValue toJson(const QString& value);
QJsonValue toJson(const QUuid& value);
QJsonValue toJson(const QDateTime& value);
QJsonValue toJson(const QByteArray& value);
QJsonValue toJson(const Size& value);

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
    const QJsonArray array = in.value().toArray();
    out.clear();
    out.reserve(std::size_t(array.size()));
    for (qsizetype i = 0; i < array.size(); ++i) {
        const JsonPath path(&in.path(), i);
        out.push_back(decodeJson<T>(JsonIn(array.at(i), path)));
    }
}

template <class T>
QJsonValue toJson(const std::vector<T>& values) {
    QJsonArray array;
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
    const QString name = in.value().toString();
    const auto value = enumFromName<E>(name);
    if (!value)
        failUnknownCase(in, enumTypeName(E{}), name);
    out = *value;
}

template <JsonEnum E>
QJsonValue toJson(E value) {
    return enumString(value);
}

// A record being decoded.
class JsonObjectIn {
public:
    explicit JsonObjectIn(const JsonIn& in);

    bool contains(const char* key) const { return m_object.contains(QLatin1StringView(key)); }

    // A missing key or a null value fails the document.
    template <class T>
    T required(const char* key) const {
        const QJsonValue v = m_object.value(QLatin1StringView(key));
        const JsonPath path(&m_path, QUtf8StringView(key));
        const JsonIn in(v, path);
        if (v.isUndefined())
            in.fail("required key is missing");
        return decodeJson<T>(in);
    }

    // A missing key or a null value is absent; a present value of the wrong type still fails.
    template <class T>
    std::optional<T> optional(const char* key) const {
        const QJsonValue v = m_object.value(QLatin1StringView(key));
        if (v.isUndefined() || v.isNull())
            return std::nullopt;
        const JsonPath path(&m_path, QUtf8StringView(key));
        return decodeJson<T>(JsonIn(v, path));
    }

    // Lenient keys: missing or null reads as `fallback`.
    template <class T>
    T value(const char* key, T fallback) const {
        auto v = optional<T>(key);
        return v ? std::move(*v) : std::move(fallback);
    }

    const JsonPath& path() const { return m_path; }
    const QJsonObject& object() const { return m_object; }

private:
    QJsonObject m_object;
    const JsonPath& m_path;
};

// A record being encoded. Keys come out sorted when the document is written.
class JsonObjectOut {
public:
    template <class T>
    JsonObjectOut& set(const char* key, const T& value) {
        try {
            m_object.insert(QLatin1StringView(key), toJson(value));
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

    QJsonObject take() { return std::move(m_object); }

private:
    QJsonObject m_object;
};

// A tagged union being decoded: an object with exactly one key, the case name.
class JsonTaggedIn {
public:
    explicit JsonTaggedIn(const JsonIn& in);
    JsonTaggedIn(const JsonTaggedIn&) = delete;
    JsonTaggedIn& operator=(const JsonTaggedIn&) = delete;

    const QString& caseName() const { return m_name; }
    bool is(const char* name) const { return m_name == QLatin1StringView(name); }
    // The case's labelled values; "_0" holds an unlabelled one.
    JsonObjectIn payload() const;
    [[noreturn]] void failUnknownCase(std::string_view typeName) const;

private:
    const JsonIn& m_in;
    QString m_name;
    QByteArray m_nameUtf8;
    JsonPath m_payloadPath;
    QJsonValue m_payload;
};

// {"name": payload}
QJsonObject taggedJson(const char* name, QJsonObject payload = {});

// Whole documents: pretty-printed with sorted keys.
QByteArray writeJsonDocument(const QJsonValue& root);
// Parses bytes into a root value; a syntax error becomes a JsonError with the offset.
QJsonValue readJsonDocument(const QByteArray& bytes);

} // namespace orvane
