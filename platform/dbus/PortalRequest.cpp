#include "platform/dbus/PortalRequest.h"

#include "platform/dbus/Portals.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

#include <utility>

namespace companion {
namespace {

const QString kPortal = QStringLiteral("org.freedesktop.portal.Desktop");
const QString kPortalPath = QStringLiteral("/org/freedesktop/portal/desktop");
const QString kRequest = QStringLiteral("org.freedesktop.portal.Request");
constexpr int kPatience = 500; // Milliseconds.

// Known before the call, so that no answer can come too early: the caller's name on the bus and a token.
QString pathOfRequest(const QString &token) {
    QString sender = QDBusConnection::sessionBus().baseService().mid(1);
    sender.replace(QLatin1Char('.'), QLatin1Char('_'));
    return kPortalPath + QStringLiteral("/request/") + sender + QLatin1Char('/') + token;
}

} // namespace

QDBusMessage portalCall(const char *interface, const QString &method, const QVariantList &arguments) {
    QDBusMessage call =
        QDBusMessage::createMethodCall(kPortal, kPortalPath, QString::fromLatin1(interface), method);
    call.setArguments(arguments);
    return call;
}

bool portalHas(const char *interface, unsigned version) {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return false;
    const QDBusMessage question = portalCall("org.freedesktop.DBus.Properties", QStringLiteral("Get"),
                                             {QString::fromLatin1(interface), QStringLiteral("version")});
    const QDBusPendingReply<QDBusVariant> reply = bus.call(question, QDBus::Block, kPatience);
    return reply.isValid() && reply.value().variant().toUInt() >= version;
}

PortalRequest::PortalRequest(const char *interface, const QString &method, const QVariantList &arguments,
                             QVariantMap options, Done done)
    : m_done(std::move(done)) {
    static int s_requests = 0;
    const QString token = QStringLiteral("companion%1").arg(++s_requests);
    listenAt(pathOfRequest(token));
    options.insert(QStringLiteral("handle_token"), token);
    const QDBusMessage call = portalCall(interface, method, arguments + QVariantList{options});
    auto *reply = new QDBusPendingCallWatcher(QDBusConnection::sessionBus().asyncCall(call), this);
    connect(reply, &QDBusPendingCallWatcher::finished, this, [this, reply] {
        reply->deleteLater();
        const QDBusPendingReply<QDBusObjectPath> path = *reply;
        if (path.isError()) // Later, for the one who asked may let us go for it.
            QMetaObject::invokeMethod(
                this, [this] { finish(false, {}); }, Qt::QueuedConnection);
        else if (path.value().path() != m_path) // Portals before version 0.9 choose their own.
            listenAt(path.value().path());
    });
}

void PortalRequest::listenAt(const QString &path) {
    m_path = path;
    QDBusConnection::sessionBus().connect(kPortal, path, kRequest, QStringLiteral("Response"), this,
                                          SLOT(answered(unsigned, QVariantMap)));
}

void PortalRequest::answered(unsigned response, const QVariantMap &results) {
    finish(response == 0, results);
}

void PortalRequest::finish(bool granted, const QVariantMap &results) {
    if (const Done done = std::exchange(m_done, {}))
        done(granted, granted ? results : QVariantMap());
}

PortalRequest::~PortalRequest() {
    if (m_done)
        QDBusConnection::sessionBus().send(
            QDBusMessage::createMethodCall(kPortal, m_path, kRequest, QStringLiteral("Close")));
}

} // namespace companion
