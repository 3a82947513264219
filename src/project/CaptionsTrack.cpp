#include "CaptionsTrack.h"

#include "Json.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

namespace orvane {

namespace {

// A line ends at any of these; a CR LF pair leaves an empty piece between the two, which is dropped
// like every other empty line.
bool isLineBreak(QChar c) {
    switch (c.unicode()) {
    case u'\n':
    case u'\r':
    case u'\v':
    case u'\f':
    case 0x0085:
    case 0x2028:
    case 0x2029:
        return true;
    default:
        return false;
    }
}

std::vector<QStringView> nonEmptyLines(QStringView text) {
    std::vector<QStringView> lines;
    qsizetype start = 0;
    for (qsizetype i = 0; i <= text.size(); ++i) {
        if (i == text.size() || isLineBreak(text[i])) {
            if (i > start)
                lines.push_back(text.sliced(start, i - start));
            start = i + 1;
        }
    }
    return lines;
}

// Header tags such as "[ar:Name]" start with a letter; time tags start with a numeral of any script.
bool startsWithNumeral(QStringView tag) {
    if (tag.isEmpty())
        return false;
    char32_t first = tag[0].unicode();
    if (tag[0].isHighSurrogate() && tag.size() > 1 && tag[1].isLowSurrogate())
        first = QChar::surrogateToUcs4(tag[0], tag[1]);
    return QChar::isNumber(first);
}

bool isAsciiDigit(char c) {
    return c >= '0' && c <= '9';
}

// A plain decimal number, the whole of `piece`: an optional sign, digits with an optional fraction and
// an optional exponent. No blanks, no "inf" or "nan", no hexadecimal, no other script's digits.
std::optional<double> parseDecimal(QStringView piece) {
    std::string s;
    s.reserve(std::size_t(piece.size()));
    for (const QChar c : piece) {
        if (c.unicode() > 0x7F)
            return std::nullopt;
        s.push_back(char(c.unicode()));
    }
    const std::size_t n = s.size();
    std::size_t i = 0;
    auto skipDigits = [&] {
        const std::size_t from = i;
        while (i < n && isAsciiDigit(s[i]))
            ++i;
        return i - from;
    };
    if (i < n && (s[i] == '+' || s[i] == '-'))
        ++i;
    std::size_t mantissaDigits = skipDigits();
    if (i < n && s[i] == '.') {
        ++i;
        mantissaDigits += skipDigits();
    }
    if (mantissaDigits == 0)
        return std::nullopt;
    if (i < n && (s[i] == 'e' || s[i] == 'E')) {
        ++i;
        if (i < n && (s[i] == '+' || s[i] == '-'))
            ++i;
        if (skipDigits() == 0)
            return std::nullopt;
    }
    if (i != n)
        return std::nullopt;
    // from_chars reads a minus sign but not a plus sign.
    const char* first = s.data() + (s[0] == '+' ? 1 : 0);
    const char* last = s.data() + n;
    double value = 0;
    const auto [end, error] = std::from_chars(first, last, value, std::chars_format::general);
    if (error != std::errc() || end != last || !std::isfinite(value))
        return std::nullopt;
    return value;
}

bool isBlank(QChar c) {
    return c == u' ' || c == u'\t';
}

QStringView trimmedOfBlanks(QStringView text) {
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isBlank(text[begin]))
        ++begin;
    while (end > begin && isBlank(text[end - 1]))
        --end;
    return text.sliced(begin, end - begin);
}

struct TimedLine {
    double time;
    QString text;
};

std::optional<TimedLine> readTimedLine(QStringView line) {
    const qsizetype open = line.indexOf(u'[');
    if (open < 0)
        return std::nullopt;
    const qsizetype close = line.indexOf(u']', open + 1);
    if (close < 0)
        return std::nullopt;
    const QStringView tag = line.sliced(open + 1, close - open - 1);
    if (!startsWithNumeral(tag))
        return std::nullopt;
    const auto time = CaptionsTrack::parseLRCTimestamp(tag);
    if (!time)
        return std::nullopt;
    return TimedLine{*time, trimmedOfBlanks(line.sliced(close + 1)).toString()};
}

// printf's "%0<width>.<precision>f" in the C locale whatever the process locale is, which a Qt
// application sets from the environment.
QString fixedZeroPadded(double value, int width, int precision) {
    char buffer[512];
    const auto [end, error] =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, precision);
    if (error != std::errc())
        return QString(width, u'0');
    QString digits = QString::fromLatin1(buffer, end - buffer);
    const bool negative = digits.startsWith(u'-');
    if (negative)
        digits.remove(0, 1);
    const qsizetype padding = width - digits.size() - (negative ? 1 : 0);
    if (padding > 0)
        digits.prepend(QString(padding, u'0'));
    if (negative)
        digits.prepend(u'-');
    return digits;
}

constexpr double lastCaptionSeconds = 3.0;
constexpr double shortestCaptionSeconds = 0.25;

} // namespace

std::vector<Caption> CaptionsTrack::active(ProjectTime t) const {
    std::vector<Caption> showing;
    for (const Caption& caption : captions)
        if (caption.time <= t && caption.endTime() > t)
            showing.push_back(caption);
    return showing;
}

std::optional<double> CaptionsTrack::parseLRCTimestamp(QStringView tag) {
    const QList<QStringView> pieces = tag.split(u':', Qt::SkipEmptyParts);
    if (pieces.size() < 2)
        return std::nullopt;
    const qsizetype used = std::min<qsizetype>(pieces.size(), 3);
    double seconds = 0;
    for (qsizetype i = 0; i < used; ++i) {
        const auto value = parseDecimal(pieces[i]);
        if (!value)
            return std::nullopt;
        seconds = seconds * 60 + *value;
    }
    return seconds;
}

CaptionsTrack CaptionsTrack::fromLRC(QStringView text) {
    std::vector<TimedLine> lines;
    for (const QStringView line : nonEmptyLines(text))
        if (auto timed = readTimedLine(line))
            lines.push_back(std::move(*timed));
    std::stable_sort(lines.begin(), lines.end(),
                     [](const TimedLine& a, const TimedLine& b) { return a.time < b.time; });

    CaptionsTrack track;
    track.captions.reserve(lines.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const double until = i + 1 < lines.size() ? lines[i + 1].time - lines[i].time : lastCaptionSeconds;
        // Lines sharing a time would otherwise never show; they overlap the next one instead.
        const double duration = std::max(until, shortestCaptionSeconds);
        track.captions.push_back(
            Caption::create(ProjectTime(lines[i].time), ProjectTime(duration), std::move(lines[i].text)));
    }
    return track;
}

QString CaptionsTrack::toLRC() const {
    QString out;
    for (std::size_t i = 0; i < captions.size(); ++i) {
        double t = captions[i].time.seconds;
        if (!std::isfinite(t) || t < 0)
            t = 0;
        const double minutes = std::floor(std::floor(t) / 60);
        const double seconds = t - 60 * minutes;
        if (i > 0)
            out += u'\n';
        out += u'[';
        out += fixedZeroPadded(minutes, 2, 0);
        out += u':';
        out += fixedZeroPadded(seconds, 5, 2);
        out += u']';
        out += captions[i].text;
    }
    return out;
}

void fromJson(const JsonIn& in, CaptionsTrack& out) {
    const JsonObjectIn o(in);
    out.captions = o.required<std::vector<Caption>>("captions");
    out.style = o.required<CaptionsStyle>("style");
}

JsonValue toJson(const CaptionsTrack& value) {
    JsonObjectOut o;
    o.set("captions", value.captions).set("style", value.style);
    return o.take();
}

} // namespace orvane
