// Feeds arbitrary bytes to the loopback API's request reader and then to the access decision every
// request meets before a route runs. Nothing may crash, hang or leak, and the properties the server
// leans on must hold for whatever the reader makes of the bytes: a request that has arrived whole stays
// whole as more bytes come, and no foreign Host and no unlisted Origin ever gets through.
#include "localapi/ApiAccess.h"
#include "localapi/HttpRequest.h"

#include <QtGlobal>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <variant>

using namespace orvane;

namespace {

constexpr quint16 apiPort = 19878;

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "http-request fuzzer: %s\n", what);
    std::abort();
}

// ASCII letters only: a Host or an Origin is compared the way a browser and DNS spell it, so a
// character that only folds to a loopback letter under Unicode rules names some other host.
bool equalIgnoringAsciiCase(QStringView a, std::string_view b) {
    if (a.size() != qsizetype(b.size()))
        return false;
    for (qsizetype i = 0; i < a.size(); ++i) {
        const char16_t c = a[i].unicode();
        const auto lower = [](char16_t x) {
            return x >= u'A' && x <= u'Z' ? char16_t(x + 32) : x;
        };
        if (lower(c) != lower(char16_t(static_cast<unsigned char>(b[std::size_t(i)]))))
            return false;
    }
    return true;
}

// The hosts a local program may name, written out rather than parsed.
bool namesOurLoopback(QStringView host, quint16 port) {
    const std::string suffix = ':' + std::to_string(port);
    for (const char* name : {"127.0.0.1", "localhost", "[::1]"}) {
        if (equalIgnoringAsciiCase(host, std::string(name) + suffix))
            return true;
        if (port == 80 && equalIgnoringAsciiCase(host, name))
            return true;
    }
    return false;
}

const QStringList& listedOrigins() {
    // Spelled as a person might type them into the preference: a trailing slash, odd case, spaces.
    static const QStringList origins{QStringLiteral("http://127.0.0.1:8000/"),
                                     QStringLiteral(" HTTPS://Tools.Example ")};
    return origins;
}

bool isListed(QStringView origin) {
    return equalIgnoringAsciiCase(origin, "http://127.0.0.1:8000") ||
           equalIgnoringAsciiCase(origin, "https://tools.example");
}

void checkAccess(const HttpRequest& request, quint16 port) {
    int preferenceReads = 0;
    const ApiAccess access = decideApiAccess(request, port, [&] {
        ++preferenceReads;
        return listedOrigins();
    });
    const bool hostGood = request.hosts.isEmpty() ||
                          (request.hosts.size() == 1 && namesOurLoopback(request.hosts.front(), port));
    const bool originGood =
        request.origins.isEmpty() || (request.origins.size() == 1 && isListed(request.origins.front()));

    if (request.origins.isEmpty() && preferenceReads != 0)
        fail("the preference was read for a request without an Origin");
    if (access.refusal) {
        if (hostGood && originGood)
            fail("a request from our own host and a listed origin (or none) was refused");
        if (access.refusal->status != 403)
            fail("a refusal that is not 403");
        if (access.cors.allowOrigin)
            fail("a refusal that still grants its origin to the page");
        if (!buildHttpResponse(access.refusal->status, access.refusal->body, access.cors)
                 .contains("\r\n\r\n{\"error\":"))
            fail("a refusal without its error body");
        return;
    }
    if (!hostGood)
        fail("a foreign Host got through");
    if (!originGood)
        fail("an unlisted Origin got through");
    if (request.origins.isEmpty()) {
        if (access.cors.allowOrigin != QStringLiteral("*") || access.cors.allowPrivateNetwork)
            fail("a program's request got other cross-origin headers than \"*\"");
    } else if (access.cors.allowOrigin != request.origins.front()) {
        fail("a listed origin was not named back to its page");
    }
    if (access.cors.allowPrivateNetwork &&
        (request.method != QStringLiteral("OPTIONS") || !request.asksPrivateNetworkAccess))
        fail("private network access granted to a request that is not a preflight asking for it");
}

void checkRequest(const HttpRequest& request) {
    if (request.method.isEmpty() || request.method != request.method.toUpper())
        fail("the method is empty or not upper-cased");
    // Routes match on segments: none may be empty or hide a separator.
    for (const QString& segment : request.segments)
        if (segment.isEmpty() || segment.contains(u'/'))
            fail("an empty segment or one with a slash");
    for (const QStringList* values : {&request.hosts, &request.origins})
        for (const QString& value : *values)
            if (value != value.trimmed())
                fail("a header value kept surrounding white space");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Every refusal is logged; a million of them on stderr would be all the fuzzer does.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));

    // The server reads until a request is whole; more bytes behind it (a pipelined second request, a
    // client that sends too much) must not make it incomplete again.
    if (httpRequestComplete(bytes) && !httpRequestComplete(bytes + "\r\n\r\nX"))
        fail("a complete request became incomplete as more bytes came");

    const auto parsed = parseHttpRequest(bytes);
    if (const auto* error = std::get_if<HttpRequestError>(&parsed)) {
        if (error->status != 400 || error->message.isEmpty())
            fail("a reading error that is not a 400 with a message");
        return 0;
    }
    const HttpRequest& request = std::get<HttpRequest>(parsed);
    checkRequest(request);
    checkAccess(request, apiPort);
    checkAccess(request, 80);
    return 0;
}
