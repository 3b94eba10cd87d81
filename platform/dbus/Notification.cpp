#include "platform/dbus/Notification.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QVariantMap>

#include <utility>

namespace companion {

void notifyUser(const QString &title, const QString &text, std::function<void()> shown) {
    const QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return;
    const QString service = QStringLiteral("org.freedesktop.Notifications");
    QDBusMessage message = QDBusMessage::createMethodCall(
        service, QStringLiteral("/org/freedesktop/Notifications"), service, QStringLiteral("Notify"));
    const QString self = QStringLiteral("presenter-companion"); // The icon and the desktop entry, too.
    constexpr int kAsLongAsUsual = -1;
    message << self << 0U << self << title << text << QStringList()
            << QVariantMap{{QStringLiteral("desktop-entry"), self}} << kAsLongAsUsual;
    message.setAutoStartService(false);
    auto *answer = new QDBusPendingCallWatcher(bus.asyncCall(message), QCoreApplication::instance());
    QObject::connect(answer, &QDBusPendingCallWatcher::finished, answer, [answer, shown = std::move(shown)] {
        answer->deleteLater();
        if (!answer->isError())
            shown();
    });
}

} // namespace companion
