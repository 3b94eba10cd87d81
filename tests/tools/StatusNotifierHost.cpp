// A StatusNotifier tray in the smallest form: the watcher that programs register their icons with, and a host
// that reads an icon's menu and clicks in it, by commands on standard input:
//   menu          prints "entry ID LABEL", with " (disabled)" behind the ones that are, then "end"
//   click ID      as the user would
//   host          from now on there is a host, if --no-host was given
// Prints "ready", "item SERVICE" for each registration, and "failed …" when an icon does not answer.
#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QSocketNotifier>

#include <array>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace {

const QString kWatcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kWatcherPath = QStringLiteral("/StatusNotifierWatcher");
const QString kItem = QStringLiteral("org.kde.StatusNotifierItem");
const QString kMenu = QStringLiteral("com.canonical.dbusmenu");
const QString kProperties = QStringLiteral("org.freedesktop.DBus.Properties");

void print(const QString &line) {
    std::puts(line.toUtf8().constData());
    std::fflush(stdout);
}

class Watcher final : public QDBusVirtualObject {
public:
    Watcher(QString &item, const bool &hasHost) : m_item(item), m_hasHost(hasHost) {}

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

    QString &m_item;
    const bool &m_hasHost;
};

class Host {
public:
    explicit Host(QDBusConnection bus) : m_bus(std::move(bus)) {}

    QString item;
    bool present = true;

    void run(const QString &command) {
        if (command == QLatin1String("menu"))
            printMenu();
        else if (command == QLatin1String("host")) {
            present = true;
            m_bus.send(QDBusMessage::createSignal(kWatcherPath, kWatcher,
                                                  QStringLiteral("StatusNotifierHostRegistered")));
        } else if (command.startsWith(QLatin1String("click ")))
            call(menuPath(), kMenu, QStringLiteral("Event"),
                 {command.mid(6).toInt(), QStringLiteral("clicked"),
                  QVariant::fromValue(QDBusVariant(QString())), QVariant::fromValue(0U)});
    }

private:
    QVariantList call(const QString &path, const QString &interface, const QString &method,
                      const QVariantList &arguments) {
        QDBusMessage message = QDBusMessage::createMethodCall(item, path, interface, method);
        message.setArguments(arguments);
        const QDBusMessage reply = m_bus.call(message, QDBus::Block, 3'000);
        if (reply.type() == QDBusMessage::ErrorMessage)
            print(QStringLiteral("failed ") + method + ": " + reply.errorMessage());
        return reply.arguments();
    }

    QString menuPath() {
        const QVariantList values = call(QStringLiteral("/StatusNotifierItem"), kProperties,
                                         QStringLiteral("Get"), {kItem, QStringLiteral("Menu")});
        return values.value(0).value<QDBusVariant>().variant().value<QDBusObjectPath>().path();
    }

    // A layout is (id, properties, children), and each child is a layout in a variant.
    void printMenu() {
        const QVariantList values =
            call(menuPath(), kMenu, QStringLiteral("GetLayout"), {0, -1, QStringList()});
        const auto layout = values.value(1).value<QDBusArgument>();
        int id = 0;
        QVariantMap properties;
        QVariantList children;
        layout.beginStructure();
        layout >> id >> properties >> children;
        layout.endStructure();
        for (const QVariant &child : children) {
            const auto entry = child.value<QDBusArgument>();
            entry.beginStructure();
            entry >> id >> properties;
            const bool enabled = properties.value(QStringLiteral("enabled"), true).toBool();
            print(QStringLiteral("entry %1 %2%3")
                      .arg(id)
                      .arg(properties.value(QStringLiteral("label")).toString(),
                           enabled ? QString() : QStringLiteral(" (disabled)")));
        }
        print(QStringLiteral("end"));
    }

    QDBusConnection m_bus;
};

} // namespace

int main(int argc, char **argv) {
    QCoreApplication application(argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();
    Host host(bus);
    host.present = argc < 2;
    Watcher watcher(host.item, host.present);
    if (!bus.registerVirtualObject(kWatcherPath, &watcher) || !bus.registerService(kWatcher)) {
        std::fputs("no session bus, or it has a watcher\n", stderr);
        return 1;
    }
    print(QStringLiteral("ready"));
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    std::string received;
    QObject::connect(&input, &QSocketNotifier::activated, &input, [&] {
        std::array<char, 256> bytes;
        const ssize_t length = read(STDIN_FILENO, bytes.data(), bytes.size());
        if (length <= 0)
            return input.setEnabled(false);
        received.append(bytes.data(), static_cast<std::size_t>(length));
        for (std::size_t end = 0; (end = received.find('\n')) != std::string::npos;
             received.erase(0, end + 1))
            host.run(QString::fromStdString(received.substr(0, end)));
    });
    return QCoreApplication::exec();
}
