// Prints what a screen reader is told of a running program: accessible_tree NAME [--events]
// One line a node, "role "name" (description) = value (minimum to maximum) [states]"; of what is not on the
// screen only the topmost. With --events it goes on with what the program reports, until it is ended.
#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>

#include <cstdio>
#include <cstdlib>

namespace {

// A node: the connection of its program, and its path there.
struct Node {
    QString service;
    QDBusObjectPath path;
};
struct Relation {
    uint type = 0;
    QList<Node> targets;
};

const QDBusArgument &operator>>(const QDBusArgument &argument, Node &node) {
    argument.beginStructure();
    argument >> node.service >> node.path;
    argument.endStructure();
    return argument;
}
const QDBusArgument &operator>>(const QDBusArgument &argument, Relation &relation) {
    argument.beginStructure();
    argument >> relation.type >> relation.targets;
    argument.endStructure();
    return argument;
}

const QString kAccessible = QStringLiteral("org.a11y.atspi.Accessible");
const QString kValue = QStringLiteral("org.a11y.atspi.Value");
const QString kRegistry = QStringLiteral("org.a11y.atspi.Registry");
const QString kObjectEvent = QStringLiteral("org.a11y.atspi.Event.Object");

// Bits of AT-SPI's state sets.
constexpr int kChecked = 4, kEnabled = 8, kFocused = 12, kShowing = 25;
constexpr uint kLabelledBy = 2; // A relation.

QDBusArgument in(const QVariant &value) {
    return value.value<QDBusArgument>();
}

class Reader final : public QObject {
    Q_OBJECT

public:
    explicit Reader(const QString &busAddress)
        : m_bus(QDBusConnection::connectToBus(busAddress, QStringLiteral("accessibility"))) {}

    bool isConnected() const { return m_bus.isConnected(); }

    // The program's top node; its path is empty if there is none.
    Node program(const QString &name) const {
        for (const Node &node :
             childrenOf({kRegistry, QDBusObjectPath(QStringLiteral("/org/a11y/atspi/accessible/root"))}))
            if (property(node, kAccessible, "Name").toString() == name)
                return node;
        return {};
    }

    void print(const Node &node, int depth = 0) const {
        const bool hidden = depth > 0 && !has(node, kShowing);
        std::printf("%s%s\n", QByteArray(2 * depth, ' ').constData(), line(node, hidden).constData());
        if (!hidden)
            for (const Node &child : childrenOf(node))
                print(child, depth + 1);
    }

    // Programs say nothing until somebody is known to listen.
    void listen(const QString &service) {
        m_bus.connect(service, QString(), kObjectEvent, QString(), this, SLOT(report(QDBusMessage)));
        QDBusMessage message =
            QDBusMessage::createMethodCall(kRegistry, QStringLiteral("/org/a11y/atspi/registry"), kRegistry,
                                           QStringLiteral("RegisterEvent"));
        message << QStringLiteral("object:");
        m_bus.call(message);
    }

private Q_SLOTS:
    void report(const QDBusMessage &event) const {
        const QList<QVariant> arguments = event.arguments();
        const Node node{event.service(), QDBusObjectPath(event.path())};
        std::printf("%s:%s %d %s\n", qUtf8Printable(event.member()),
                    qUtf8Printable(arguments.value(0).toString()), arguments.value(1).toInt(),
                    line(node, false).constData());
        std::fflush(stdout);
    }

private:
    QVariant call(const Node &node, const QString &interface, const char *method,
                  const QList<QVariant> &arguments = {}) const {
        QDBusMessage message =
            QDBusMessage::createMethodCall(node.service, node.path.path(), interface, QLatin1String(method));
        message.setArguments(arguments);
        const QDBusMessage answer = m_bus.call(message);
        return answer.type() == QDBusMessage::ReplyMessage ? answer.arguments().value(0) : QVariant();
    }
    QVariant property(const Node &node, const QString &interface, const char *name) const {
        const QVariant answer = call(node, QStringLiteral("org.freedesktop.DBus.Properties"), "Get",
                                     {interface, QLatin1String(name)});
        return answer.value<QDBusVariant>().variant();
    }
    QList<Node> childrenOf(const Node &node) const {
        return qdbus_cast<QList<Node>>(in(call(node, kAccessible, "GetChildren")));
    }
    QString labelOf(const Node &node) const {
        for (const auto &[type, targets] :
             qdbus_cast<QList<Relation>>(in(call(node, kAccessible, "GetRelationSet"))))
            if (type == kLabelledBy && !targets.isEmpty())
                return property(targets.front(), kAccessible, "Name").toString();
        return {};
    }
    bool has(const Node &node, int state) const {
        const auto words = qdbus_cast<QList<uint>>(in(call(node, kAccessible, "GetState")));
        return (words.value(state / 32) >> (state % 32) & 1U) != 0;
    }

    QByteArray line(const Node &node, bool hidden) const {
        const QString name = property(node, kAccessible, "Name").toString();
        QString text =
            QStringLiteral("%1 \"%2\"").arg(call(node, kAccessible, "GetRoleName").toString(), name);
        if (const QString label = labelOf(node); !label.isEmpty() && label != name)
            text += QStringLiteral(" of \"%1\"").arg(label); // Which readers say instead of the name.
        if (const QString more = property(node, kAccessible, "Description").toString(); !more.isEmpty())
            text += QStringLiteral(" (%1)").arg(more);
        if (call(node, kAccessible, "GetInterfaces").toStringList().contains(kValue)) {
            const auto number = [&](const char *which) { return property(node, kValue, which).toDouble(); };
            text += QStringLiteral(" = %1 (%2 to %3)")
                        .arg(number("CurrentValue"))
                        .arg(number("MinimumValue"))
                        .arg(number("MaximumValue"));
        }
        if (has(node, kChecked))
            text += QStringLiteral(" [checked]");
        if (has(node, kFocused))
            text += QStringLiteral(" [focused]");
        if (hidden)
            text += QStringLiteral(" [hidden]");
        else if (!has(node, kEnabled))
            text += QStringLiteral(" [disabled]");
        return text.toUtf8();
    }

    QDBusConnection m_bus;
};

int fail(const char *what) {
    std::fprintf(stderr, "%s\n", what);
    return EXIT_FAILURE;
}

} // namespace

int main(int argc, char **argv) {
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 2)
        return fail("usage: accessible_tree NAME [--events]");
    const QDBusMessage address = QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(QStringLiteral("org.a11y.Bus"), QStringLiteral("/org/a11y/bus"),
                                       QStringLiteral("org.a11y.Bus"), QStringLiteral("GetAddress")));
    Reader reader(address.arguments().value(0).toString());
    if (address.type() != QDBusMessage::ReplyMessage || !reader.isConnected())
        return fail("no accessibility bus");
    const Node program = reader.program(arguments.at(1));
    if (program.path.path().isEmpty())
        return fail("no program of this name talks to screen readers");

    const bool events = arguments.contains(QStringLiteral("--events"));
    if (events)
        reader.listen(program.service);
    reader.print(program);
    if (!events)
        return EXIT_SUCCESS;
    std::puts("listening");
    std::fflush(stdout);
    return QCoreApplication::exec();
}

#include "AccessibleTree.moc"
