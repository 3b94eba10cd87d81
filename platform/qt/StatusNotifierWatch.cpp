#include "platform/qt/StatusNotifierWatch.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace companion {
namespace {

constexpr auto kService = "org.kde.StatusNotifierWatcher"; // Its interface has the same name.
constexpr auto kPath = "/StatusNotifierWatcher";

QDBusMessage question() {
    QDBusMessage message = QDBusMessage::createMethodCall(
        kService, kPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    message.setArguments({kService, QStringLiteral("IsStatusNotifierHostRegistered")});
    message.setAutoStartService(false); // Asking must not bring a tray about.
    return message;
}

bool isYes(const QDBusMessage &reply) {
    return reply.type() == QDBusMessage::ReplyMessage &&
           reply.arguments().value(0).value<QDBusVariant>().variant().toBool();
}

} // namespace

StatusNotifierWatch::StatusNotifierWatch(std::function<void()> found)
    : m_found(std::move(found)),
      m_bus(QDBusConnection::sessionBus()) {
    if (!m_bus.isConnected())
        return;
    m_askAgain.setSingleShot(true);
    QObject::connect(&m_askAgain, &QTimer::timeout, &m_askAgain, [this] { ask(); });
    m_bus.connect(QString(), kPath, kService, QStringLiteral("StatusNotifierHostRegistered"), &m_askAgain,
                  SLOT(start()));
    m_watcher.setConnection(m_bus);
    m_watcher.setWatchMode(QDBusServiceWatcher::WatchForRegistration);
    m_watcher.addWatchedService(kService);
    QObject::connect(&m_watcher, &QDBusServiceWatcher::serviceRegistered, &m_askAgain, [this] { ask(); });
    ask();
}

void StatusNotifierWatch::ask() {
    auto *answer = new QDBusPendingCallWatcher(m_bus.asyncCall(question()), &m_askAgain);
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, &m_askAgain, [this, answer] {
        answer->deleteLater();
        if (isYes(answer->reply()))
            m_found();
    });
}

bool StatusNotifierWatch::hostRuns(std::chrono::milliseconds patience) {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    return bus.isConnected() && isYes(bus.call(question(), QDBus::Block, static_cast<int>(patience.count())));
}

} // namespace companion
