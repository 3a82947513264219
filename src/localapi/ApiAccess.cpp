#include "ApiAccess.h"

#include "support/Log.h"

namespace orvane {

namespace {

// Host names and origins are ASCII; Unicode's case folding would let "localhoſt" (long s) or a Kelvin
// sign stand in for a letter they only resemble.
bool equalIgnoringAsciiCase(QStringView a, QStringView b) {
    if (a.size() != b.size())
        return false;
    const auto lower = [](char16_t c) {
        return c >= u'A' && c <= u'Z' ? char16_t(c + 32) : c;
    };
    for (qsizetype i = 0; i < a.size(); ++i)
        if (lower(a[i].unicode()) != lower(b[i].unicode()))
            return false;
    return true;
}

} // namespace

bool isLoopbackHost(QStringView host, quint16 port) {
    // "[::1]:P" carries colons of its own; the port follows the closing bracket.
    const qsizetype colon = host.startsWith(u'[') ? host.indexOf(u"]:") + 1 : host.lastIndexOf(u':');
    const bool hasPort = colon > 0;
    const QStringView name = hasPort ? host.left(colon) : host;
    // The port must be written as we would write it: no sign, no leading zeros, no spaces.
    if (hasPort ? host.mid(colon + 1) != QString::number(port) : port != 80)
        return false;
    for (const char16_t* loopback : {u"127.0.0.1", u"localhost", u"[::1]"})
        if (equalIgnoringAsciiCase(name, QStringView(loopback)))
            return true;
    return false;
}

bool isAllowedOrigin(QStringView origin, const QStringList& allowed) {
    for (const QString& entry : allowed) {
        QStringView wanted = QStringView(entry).trimmed();
        if (wanted.endsWith(u'/'))
            wanted.chop(1);
        if (!wanted.isEmpty() && equalIgnoringAsciiCase(origin, wanted))
            return true;
    }
    return false;
}

ApiAccess decideApiAccess(const HttpRequest& request, quint16 port,
                          const std::function<QStringList()>& allowedOrigins) {
    ApiAccess access;
    // Two Host headers, or two Origins, leave it open which one a browser or a proxy went by: refused.
    const bool hostGood =
        request.hosts.isEmpty() || (request.hosts.size() == 1 && isLoopbackHost(request.hosts.front(), port));
    if (!hostGood) {
        access.cors.allowOrigin.reset();
        access.refusal = ApiResponse::error(403, QStringLiteral("Forbidden host"));
        log::info(
            "LocalAPIServer",
            QStringLiteral("refused a request for host %1").arg(request.hosts.join(QStringLiteral(", "))));
        return access;
    }
    if (request.origins.isEmpty())
        return access;
    if (request.origins.size() == 1 && isAllowedOrigin(request.origins.front(), allowedOrigins())) {
        access.cors.allowOrigin = request.origins.front();
        access.cors.allowPrivateNetwork =
            request.method == QLatin1StringView("OPTIONS") && request.asksPrivateNetworkAccess;
        return access;
    }
    access.cors.allowOrigin.reset();
    access.refusal = ApiResponse::error(403, QStringLiteral("Requests from web pages are not allowed"));
    log::info("LocalAPIServer",
              QStringLiteral("refused a request from the web page at %1; list that origin in "
                             "%2 to let it in")
                  .arg(request.origins.join(QStringLiteral(", ")), QLatin1StringView(allowedOriginsKey)));
    return access;
}

} // namespace orvane
