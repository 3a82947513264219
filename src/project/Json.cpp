#include "Json.h"

#include <climits>
#include <cmath>

namespace orvane {

QString JsonPath::toString() const {
    std::vector<const JsonPath*> frames;
    for (const JsonPath* p = this; p; p = p->m_parent)
        frames.push_back(p);
    QString text;
    for (auto it = frames.rbegin(); it != frames.rend(); ++it) {
        const JsonPath* p = *it;
        if (p->m_index >= 0) {
            text += u'[' + QString::number(p->m_index) + u']';
        } else if (!p->m_key.isEmpty()) {
            if (!text.isEmpty())
                text += u'.';
            text += p->m_key.toString();
        }
    }
    return text;
}

JsonError::JsonError(QString path, QString message)
    : std::runtime_error((path.isEmpty() ? message : path + QStringLiteral(": ") + message).toStdString())
    , m_path(std::move(path))
    , m_message(std::move(message)) {}

QString JsonError::description() const {
    return m_path.isEmpty() ? m_message : m_path + QStringLiteral(": ") + m_message;
}

void JsonError::prependKey(QUtf8StringView key) {
    const QString k = key.toString();
    if (m_path.isEmpty())
        m_path = k;
    else if (m_path.startsWith(u'['))
        m_path = k + m_path;
    else
        m_path = k + u'.' + m_path;
    static_cast<std::runtime_error&>(*this) = std::runtime_error(description().toStdString());
}

void JsonError::prependIndex(qsizetype index) {
    const QString i = u'[' + QString::number(index) + u']';
    m_path = m_path.isEmpty() || m_path.startsWith(u'[') ? i + m_path : i + u'.' + m_path;
    static_cast<std::runtime_error&>(*this) = std::runtime_error(description().toStdString());
}

void JsonIn::fail(const QString& message) const {
    throw JsonError(m_path.toString(), message);
}

void failUnknownCase(const JsonIn& in, std::string_view typeName, const QString& name) {
    in.fail(QStringLiteral("unknown case \"%1\" of %2")
                .arg(name, QString::fromLatin1(typeName.data(), qsizetype(typeName.size()))));
}

// ---- primitives ------------------------------------------------------------------------------------

void fromJson(const JsonIn& in, double& out) {
    if (!in.value().isDouble())
        in.fail("expected a number");
    out = in.value().toDouble();
}

void fromJson(const JsonIn& in, int& out) {
    if (!in.value().isDouble())
        in.fail("expected an integer");
    const double d = in.value().toDouble();
    if (std::trunc(d) != d || d < double(INT_MIN) || d > double(INT_MAX))
        in.fail("expected an integer");
    out = static_cast<int>(d);
}

void fromJson(const JsonIn& in, bool& out) {
    if (!in.value().isBool())
        in.fail("expected true or false");
    out = in.value().toBool();
}

void fromJson(const JsonIn& in, QString& out) {
    if (!in.value().isString())
        in.fail("expected a string");
    out = in.value().toString();
}

void fromJson(const JsonIn& in, QUuid& out) {
    if (!in.value().isString())
        in.fail("expected a UUID string");
    const auto id = parseUuid(in.value().toString());
    if (!id)
        in.fail("expected a UUID string");
    out = *id;
}

void fromJson(const JsonIn& in, QDateTime& out) {
    if (!in.value().isString())
        in.fail("expected an ISO-8601 date string");
    const auto date = parseIsoDate(in.value().toString());
    if (!date)
        in.fail("expected an ISO-8601 date string");
    out = *date;
}

void fromJson(const JsonIn& in, QByteArray& out) {
    if (!in.value().isString())
        in.fail("expected a Base64 string");
    const std::string_view text = in.value().stringView();
    auto decoded = QByteArray::fromBase64Encoding(QByteArray(text.data(), qsizetype(text.size())),
                                                  QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        in.fail("expected a Base64 string");
    out = std::move(*decoded);
}

void fromJson(const JsonIn& in, Size& out) {
    const JsonValue& v = in.value();
    const JsonArray& a = v.toArray();
    if (!v.isArray() || a.size() != 2 || !a.at(0).isDouble() || !a.at(1).isDouble())
        in.fail("expected an array of two numbers");
    out = Size{a.at(0).toDouble(), a.at(1).toDouble()};
}

JsonValue toJson(double value) {
    if (!std::isfinite(value))
        throw JsonError(QString(),
                        QStringLiteral("cannot write the non-finite number %1 in JSON").arg(value));
    return value;
}

JsonValue toJson(int value) {
    return qint64(value);
}
JsonValue toJson(bool value) {
    return value;
}
JsonValue toJson(const QString& value) {
    return value;
}
JsonValue toJson(const QUuid& value) {
    return uuidString(value);
}
JsonValue toJson(const QDateTime& value) {
    return isoDateString(value);
}
JsonValue toJson(const QByteArray& value) {
    return QString::fromLatin1(value.toBase64());
}

JsonValue toJson(const Size& value) {
    return JsonArray{toJson(value.width), toJson(value.height)};
}

QString uuidString(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces).toUpper();
}

std::optional<QUuid> parseUuid(QStringView text) {
    // Only the bare canonical 8-4-4-4-12 form, in either case; no braces, no URN prefix.
    if (text.size() != 36)
        return std::nullopt;
    for (qsizetype i = 0; i < 36; ++i) {
        const QChar c = text[i];
        if (i == 8 || i == 13 || i == 18 || i == 23) {
            if (c != u'-')
                return std::nullopt;
        } else if (!(c.isDigit() && c.unicode() < 128) && !(c >= u'a' && c <= u'f') &&
                   !(c >= u'A' && c <= u'F')) {
            return std::nullopt;
        }
    }
    const QUuid id = QUuid::fromString(text);
    if (id.isNull() && text != QLatin1StringView("00000000-0000-0000-0000-000000000000"))
        return std::nullopt;
    return id;
}

QString isoDateString(const QDateTime& date) {
    const QDateTime utc = date.toUTC();
    const QDate d = utc.date();
    const QTime t = utc.time();
    return QString::asprintf("%04d-%02d-%02dT%02d:%02d:%02dZ", d.year(), d.month(), d.day(), t.hour(),
                             t.minute(), t.second());
}

std::optional<QDateTime> parseIsoDate(QStringView text) {
    // "YYYY-MM-DDTHH:MM:SS" then "Z" or "+HH:MM" / "-HH:MM"; no fractional seconds, no local times.
    auto digits = [&](qsizetype at, qsizetype count, int& value) {
        if (at + count > text.size())
            return false;
        value = 0;
        for (qsizetype i = at; i < at + count; ++i) {
            const char16_t c = text[i].unicode();
            if (c < '0' || c > '9')
                return false;
            value = value * 10 + (c - '0');
        }
        return true;
    };
    auto at = [&](qsizetype i, char16_t c) {
        return i < text.size() && text[i].unicode() == c;
    };
    int year, month, day, hour, minute, second;
    if (!digits(0, 4, year) || !at(4, '-') || !digits(5, 2, month) || !at(7, '-') || !digits(8, 2, day) ||
        !at(10, 'T') || !digits(11, 2, hour) || !at(13, ':') || !digits(14, 2, minute) || !at(16, ':') ||
        !digits(17, 2, second))
        return std::nullopt;
    int offsetSeconds = 0;
    if (at(19, 'Z') && text.size() == 20) {
        offsetSeconds = 0;
    } else if ((at(19, '+') || at(19, '-')) && text.size() == 25 && at(22, ':')) {
        int oh, om;
        if (!digits(20, 2, oh) || !digits(23, 2, om) || oh > 23 || om > 59)
            return std::nullopt;
        offsetSeconds = (oh * 3600 + om * 60) * (at(19, '-') ? -1 : 1);
    } else {
        return std::nullopt;
    }
    const QDate date(year, month, day);
    const QTime time(hour, minute, second);
    if (!date.isValid() || !time.isValid())
        return std::nullopt;
    return QDateTime(date, time, Qt::UTC).addSecs(-offsetSeconds);
}

// ---- records and tagged unions ---------------------------------------------------------------------

JsonObjectIn::JsonObjectIn(const JsonIn& in)
    : m_object(&in.value().toObject())
    , m_path(in.path()) {
    if (!in.value().isObject())
        in.fail("expected an object");
}

namespace {
const std::pair<std::string, JsonValue>& singleMember(const JsonIn& in) {
    if (!in.value().isObject())
        in.fail("expected an object");
    const JsonObject& object = in.value().toObject();
    if (object.size() != 1)
        in.fail(json::invalidKeyCount);
    return object.members().front();
}
} // namespace

JsonTaggedIn::JsonTaggedIn(const JsonIn& in)
    : m_in(in)
    , m_nameUtf8(singleMember(in).first)
    , m_name(QString::fromStdString(m_nameUtf8))
    , m_payloadPath(&in.path(), QUtf8StringView(m_nameUtf8))
    , m_payload(singleMember(in).second, m_payloadPath) {}

JsonObjectIn JsonTaggedIn::payload() const {
    return JsonObjectIn(m_payload);
}

void JsonTaggedIn::failUnknownCase(std::string_view typeName) const {
    orvane::failUnknownCase(m_in, typeName, m_name);
}

JsonObject taggedJson(const char* name, JsonObject payload) {
    JsonObject object;
    object.append(name, std::move(payload));
    return object;
}

QByteArray writeJsonDocument(const JsonValue& root) {
    return writeJson(root);
}

JsonValue readJsonDocument(const QByteArray& bytes) {
    auto result = parseJson(std::string_view(bytes.constData(), std::size_t(bytes.size())));
    if (auto* error = std::get_if<JsonSyntaxError>(&result))
        throw JsonError(QString(),
                        QStringLiteral("The data couldn't be read because it isn't in the correct format "
                                       "(%1 at offset %2).")
                            .arg(error->reason)
                            .arg(error->offset));
    return std::move(std::get<JsonValue>(result));
}

} // namespace orvane
