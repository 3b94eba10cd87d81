// A StatusNotifier tray in the smallest form: the watcher that programs register their icons with. A line on
// standard input says that from now on there is a host, unless it is called with --host.
// Prints "ready", and "item SERVICE" for each registration.
#include <QCoreApplication>
#include <QDBusConnection>
#include <QSocketNotifier>

#include <cstdio>
#include <unistd.h>

class Watcher final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered MEMBER hasHost)
    Q_PROPERTY(int ProtocolVersion MEMBER version)
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems MEMBER items)

public:
    bool hasHost = false;
    int version = 0;
    QStringList items;

public Q_SLOTS:
    void RegisterStatusNotifierHost(const QString &) {}
    void RegisterStatusNotifierItem(const QString &item) {
        items.append(item);
        print("item " + item.toUtf8());
    }

Q_SIGNALS:
    void StatusNotifierHostRegistered();

public:
    static void print(const QByteArray &line) {
        std::puts(line.constData());
        std::fflush(stdout);
    }
};

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();
    Watcher watcher;
    watcher.hasHost = argc > 1;
    if (!bus.registerObject(QStringLiteral("/StatusNotifierWatcher"), &watcher,
                            QDBusConnection::ExportAllContents) ||
        !bus.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"))) {
        std::fputs("no session bus, or it has a watcher\n", stderr);
        return 1;
    }
    Watcher::print("ready");
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input, [&] {
        input.setEnabled(false);
        char byte = 0;
        if (read(STDIN_FILENO, &byte, 1) != 1)
            return;
        watcher.hasHost = true;
        Q_EMIT watcher.StatusNotifierHostRegistered();
    });
    return QCoreApplication::exec();
}

#include "StatusNotifierHost.moc"
