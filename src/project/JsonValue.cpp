#include "JsonValue.h"

// The value types. The text forms live beside them: JsonParser.cpp reads, JsonWriter.cpp writes.

namespace orvane {

JsonArray::JsonArray(std::initializer_list<JsonValue> items)
    : m_items(items) {}

void JsonArray::append(JsonValue value) {
    m_items.push_back(std::move(value));
}

bool JsonArray::operator==(const JsonArray& other) const {
    return m_items == other.m_items;
}

JsonObject::JsonObject(std::initializer_list<JsonMember> members) {
    for (const JsonMember& m : members)
        insert(std::string_view(m.key), m.value);
}

const JsonValue* JsonObject::find(std::string_view key) const {
    for (auto it = m_members.rbegin(); it != m_members.rend(); ++it)
        if (it->first == key)
            return &it->second;
    return nullptr;
}

const JsonValue& JsonObject::value(std::string_view key) const {
    static const JsonValue undefined;
    const JsonValue* v = find(key);
    return v ? *v : undefined;
}

const JsonValue& JsonObject::value(QStringView key) const {
    return value(std::string_view(key.toUtf8()));
}

bool JsonObject::contains(QStringView key) const {
    return contains(std::string_view(key.toUtf8()));
}

QStringList JsonObject::keys() const {
    QStringList keys;
    for (const auto& [k, v] : m_members)
        if (!keys.contains(QString::fromStdString(k)))
            keys.append(QString::fromStdString(k));
    keys.sort();
    return keys;
}

void JsonObject::insert(std::string_view key, JsonValue value) {
    for (auto& member : m_members) {
        if (member.first == key) {
            member.second = std::move(value);
            return;
        }
    }
    m_members.emplace_back(std::string(key), std::move(value));
}

void JsonObject::insert(QStringView key, JsonValue value) {
    insert(std::string_view(key.toUtf8()), std::move(value));
}

void JsonObject::append(std::string key, JsonValue value) {
    m_members.emplace_back(std::move(key), std::move(value));
}

void JsonObject::remove(std::string_view key) {
    std::erase_if(m_members, [&](const auto& m) { return m.first == key; });
}

void JsonObject::remove(QStringView key) {
    remove(std::string_view(key.toUtf8()));
}

bool JsonObject::operator==(const JsonObject& other) const {
    if (m_members.size() != other.m_members.size())
        return false;
    for (const auto& [key, value] : m_members) {
        const JsonValue* theirs = other.find(key);
        if (!theirs || !(*theirs == value))
            return false;
    }
    return true;
}

JsonValue::JsonValue(Type type) {
    switch (type) {
    case Undefined:
        break;
    case Null:
        m_value = nullptr;
        break;
    case Bool:
        m_value = false;
        break;
    case Double:
        m_value = 0.0;
        break;
    case String:
        m_value = std::string();
        break;
    case Array:
        m_value = JsonArray();
        break;
    case Object:
        m_value = JsonObject();
        break;
    }
}

std::string_view JsonValue::stringView() const {
    if (const auto* s = std::get_if<std::string>(&m_value))
        return *s;
    return {};
}

const JsonArray& JsonValue::toArray() const& {
    static const JsonArray empty;
    const auto* a = std::get_if<JsonArray>(&m_value);
    return a ? *a : empty;
}

JsonArray JsonValue::toArray() && {
    auto* a = std::get_if<JsonArray>(&m_value);
    return a ? std::move(*a) : JsonArray();
}

const JsonObject& JsonValue::toObject() const& {
    static const JsonObject empty;
    const auto* o = std::get_if<JsonObject>(&m_value);
    return o ? *o : empty;
}

JsonObject JsonValue::toObject() && {
    auto* o = std::get_if<JsonObject>(&m_value);
    return o ? std::move(*o) : JsonObject();
}

const JsonValue& JsonValue::operator[](std::string_view key) const {
    return toObject().value(key);
}

} // namespace orvane
