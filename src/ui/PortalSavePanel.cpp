#include "PortalSavePanel.h"

#include "support/Log.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QGuiApplication>
#include <QWindow>

namespace orvane::portal {

// The portal's filter list, a(sa(us)): each filter a label and its rules, a rule 0 for a glob or 1 for a
// MIME type.
struct FilterRule {
    uint kind = 0;
    QString pattern;
};
struct Filter {
    QString label;
    QList<FilterRule> rules;
};

QDBusArgument& operator<<(QDBusArgument& out, const FilterRule& rule) {
    out.beginStructure();
    out << rule.kind << rule.pattern;
    out.endStructure();
    return out;
}
const QDBusArgument& operator>>(const QDBusArgument& in, FilterRule& rule) {
    in.beginStructure();
    in >> rule.kind >> rule.pattern;
    in.endStructure();
    return in;
}
QDBusArgument& operator<<(QDBusArgument& out, const Filter& filter) {
    out.beginStructure();
    out << filter.label << filter.rules;
    out.endStructure();
    return out;
}
const QDBusArgument& operator>>(const QDBusArgument& in, Filter& filter) {
    in.beginStructure();
    in >> filter.label >> filter.rules;
    in.endStructure();
    return in;
}

} // namespace orvane::portal

Q_DECLARE_METATYPE(orvane::portal::FilterRule)
Q_DECLARE_METATYPE(orvane::portal::Filter)

namespace orvane {

namespace {

void registerPortalTypes() {
    static const bool registered = [] {
        qDBusRegisterMetaType<portal::FilterRule>();
        qDBusRegisterMetaType<QList<portal::FilterRule>>();
        qDBusRegisterMetaType<portal::Filter>();
        qDBusRegisterMetaType<QList<portal::Filter>>();
        return true;
    }();
    (void)registered;
}

// "x11:<id>" lets the panel stack over our window; other sessions need a handle we don't have, and an
// empty one is allowed.
QString parentWindowId(const QWindow* window) {
    if (!window || QGuiApplication::platformName() != QLatin1String("xcb"))
        return {};
    return QStringLiteral("x11:") + QString::number(window->winId(), 16);
}

// The portal names the request object after our bus name and the token, so we can listen before asking
// and never miss a quick answer.
QString requestPath(const QDBusConnection& connection, const QString& token) {
    QString sender = connection.baseService();
    if (sender.startsWith(u':'))
        sender.remove(0, 1);
    sender.replace(u'.', u'_');
    return QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(sender, token);
}

} // namespace

PortalSavePanel::PortalSavePanel(QObject* parent)
    : QObject(parent)
    , m_connection(QDBusConnection::sessionBus()) {}

void PortalSavePanel::ask(const Request& request, std::function<void(Answer)> done) {
    if (m_done)
        finish({Answer::Kind::cancelled, {}});
    m_done = std::move(done);
    if (!m_connection.isConnected()) {
        finish({Answer::Kind::unavailable, {}});
        return;
    }
    registerPortalTypes();

    const QString token = QStringLiteral("orvane%1").arg(++m_serial);
    m_handle = requestPath(m_connection, token);
    m_connection.connect(QString(), m_handle, QStringLiteral("org.freedesktop.portal.Request"),
                         QStringLiteral("Response"), this, SLOT(onResponse(uint, QVariantMap)));

    QVariantMap options{{QStringLiteral("handle_token"), token},
                        {QStringLiteral("modal"), true},
                        {QStringLiteral("current_name"), request.suggestedName}};
    if (!request.folder.isEmpty())
        options.insert(QStringLiteral("current_folder"), request.folder.toUtf8().append('\0'));
    if (!request.filterPattern.isEmpty()) {
        const portal::Filter filter{request.filterLabel, {{0, request.filterPattern}}};
        options.insert(QStringLiteral("filters"), QVariant::fromValue(QList<portal::Filter>{filter}));
        options.insert(QStringLiteral("current_filter"), QVariant::fromValue(filter));
    }
    QDBusMessage call =
        QDBusMessage::createMethodCall(QString::fromLatin1(service), QString::fromLatin1(objectPath),
                                       QString::fromLatin1(interface), QStringLiteral("SaveFile"));
    call << parentWindowId(request.parent) << request.title << options;

    // Parented to us: it goes with the panel if the answer never comes.
    auto* watcher = new QDBusPendingCallWatcher(m_connection.asyncCall(call), this);
    const quint64 serial = m_serial;
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, serial](QDBusPendingCallWatcher* w) {
        w->deleteLater();
        if (serial != m_serial || !m_done)
            return; // a later request took over
        const QDBusPendingReply<QDBusObjectPath> reply = *w;
        if (reply.isError()) {
            log::info("App", QStringLiteral("no save panel from the desktop (%1); using our own")
                                 .arg(reply.error().name()));
            finish({Answer::Kind::unavailable, {}});
            return;
        }
        // Portals before version 0.9 pick the request path themselves: follow the one they give.
        const QString handle = reply.value().path();
        if (handle != m_handle) {
            stopListening();
            m_handle = handle;
            m_connection.connect(QString(), m_handle, QStringLiteral("org.freedesktop.portal.Request"),
                                 QStringLiteral("Response"), this, SLOT(onResponse(uint, QVariantMap)));
        }
    });
}

void PortalSavePanel::onResponse(uint response, const QVariantMap& results) {
    if (!m_done)
        return;
    // 0: chosen; 1: the user cancelled; 2: the panel went some other way, which reads as a cancel too.
    const QStringList uris = results.value(QStringLiteral("uris")).toStringList();
    const QUrl chosen = uris.isEmpty() ? QUrl() : QUrl(uris.front());
    if (response == 0 && chosen.isLocalFile())
        finish({Answer::Kind::chosen, chosen.toLocalFile()});
    else
        finish({Answer::Kind::cancelled, {}});
}

void PortalSavePanel::stopListening() {
    if (m_handle.isEmpty())
        return;
    m_connection.disconnect(QString(), m_handle, QStringLiteral("org.freedesktop.portal.Request"),
                            QStringLiteral("Response"), this, SLOT(onResponse(uint, QVariantMap)));
    m_handle.clear();
}

void PortalSavePanel::finish(Answer answer) {
    stopListening();
    // Taken out first: the callback may ask again.
    auto done = std::exchange(m_done, {});
    if (done)
        done(std::move(answer));
}

} // namespace orvane
