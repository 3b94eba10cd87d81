// A StatusNotifier tray in the smallest form: the watcher that programs register their icons with. A line on
// standard input says that from now on there is a host, unless it is called with --host.
// Prints "ready", and "item SERVICE" for each registration.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

namespace {

const QString kWatcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kWatcherPath = QStringLiteral("/StatusNotifierWatcher");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");

void print(const QString &line) {
    std::puts(line.toUtf8().constData());
    std::fflush(stdout);
}

class Watcher final : public QDBusVirtualObject {
public:
    explicit Watcher(const bool &hasHost) : m_hasHost(hasHost) {}

    // Programs look here whether there is a host at all.
    QString introspect(const QString &) const override {
        return QStringLiteral(
            "<interface name='org.kde.StatusNotifierWatcher'>"
            "<method name='RegisterStatusNotifierItem'><arg type='s' direction='in'/></method>"
            "<method name='RegisterStatusNotifierHost'><arg type='s' direction='in'/></method>"
            "<property name='IsStatusNotifierHostRegistered' type='b' access='read'/>"
            "<property name='ProtocolVersion' type='i' access='read'/>"
            "<property name='RegisteredStatusNotifierItems' type='as' access='read'/>"
            "</interface>");
    }

    bool handleMessage(const QDBusMessage &message, const QDBusConnection &bus) override {
        const QVariantList arguments = message.arguments();
        if (message.member() == QLatin1String("RegisterStatusNotifierItem") && arguments.size() == 1) {
            // Either a service name, or a path on the caller's own connection.
            m_item = arguments[0].toString().startsWith('/') ? message.service() : arguments[0].toString();
            bus.send(message.createReply());
            print(QStringLiteral("item ") + m_item);
            return true;
        }
        if (message.member() == QLatin1String("RegisterStatusNotifierHost"))
            return bus.send(message.createReply());
        if (message.interface() == kProperties && message.member() == QLatin1String("Get"))
            return bus.send(message.createReply(
                QVariant::fromValue(QDBusVariant(propertyNamed(arguments.value(1).toString())))));
        return false;
    }

private:
    QVariant propertyNamed(const QString &name) const {
        if (name == QLatin1String("IsStatusNotifierHostRegistered"))
            return m_hasHost;
        if (name == QLatin1String("ProtocolVersion"))
            return 0;
        return QStringList{m_item};
    }

    QString m_item;
    const bool &m_hasHost;
};

} // namespace

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();
    bool hasHost = argc > 1;
    Watcher watcher(hasHost);
    if (!bus.registerVirtualObject(kWatcherPath, &watcher) || !bus.registerService(kWatcher)) {
        std::fputs("no session bus, or it has a watcher\n", stderr);
        return 1;
    }
    print(QStringLiteral("ready"));
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input, [&] {
        input.setEnabled(false);
        char byte = 0;
        if (read(STDIN_FILENO, &byte, 1) != 1)
            return;
        hasHost = true;
        bus.send(QDBusMessage::createSignal(kWatcherPath, kWatcher,
                                            QStringLiteral("StatusNotifierHostRegistered")));
    });
    return QCoreApplication::exec();
}
