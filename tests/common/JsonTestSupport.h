#pragma once

// Decoding and round-trip helpers shared by the record tests.

#include "project/Json.h"

#include <string>

namespace orvane::test {

template <class T>
T decodeJsonValue(const JsonValue& value) {
    const JsonPath root;
    return decodeJson<T>(JsonIn(value, root));
}

template <class T>
T decodeJsonText(const char* json) {
    return decodeJsonValue<T>(readJsonDocument(QByteArray(json)));
}

// Through the document's text form, not just the tree.
template <class T>
T jsonRoundTrip(const T& value) {
    return decodeJsonValue<T>(readJsonDocument(writeJsonDocument(toJson(value))));
}

// The error of decoding `value` as a T, "path: message", or "no error". With `underKey` the value sits
// under that key of a document, so paths read "v.field".
template <class T>
std::string jsonDecodeError(const JsonValue& value, const char* underKey = nullptr) {
    try {
        const JsonPath root;
        if (underKey) {
            const JsonObject document{{underKey, value}};
            const JsonIn in(document, root);
            JsonObjectIn(in).required<T>(underKey);
        } else {
            decodeJsonValue<T>(value);
        }
    } catch (const JsonError& e) {
        return e.what();
    }
    return "no error";
}

} // namespace orvane::test
