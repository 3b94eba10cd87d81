#include "platform/dbus/PortalMouse.h"

#include "core/Lifetime.h"
#include "core/Log.h"
#include "core/RunBeside.h"
#include "platform/dbus/PortalRequest.h"
#include "platform/dbus/Portals.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <linux/input-event-codes.h>

#include <chrono>
#include <deque>
#include <utility>

namespace companion {
namespace {

constexpr unsigned kPointer = 2;
constexpr unsigned kUntilRevoked = 2;
constexpr double kFurtherThanAnyScreen = 1e5; // Points.
constexpr std::chrono::milliseconds kBetweenEvents{30};
constexpr qint64 kLongestWord = 4096;

class PortalMouse final : public DesktopMouse {
public:
    using Done = std::function<void(bool given, const char *reason)>;

    PortalMouse(MainQueue &queue, ClickPermission permission, Done done)
        : m_queue(queue),
          m_permission(std::move(permission)),
          m_done(std::move(done)) {
        ask("CreateSession", {}, {{QStringLiteral("session_handle_token"), QStringLiteral("companion")}},
            &PortalMouse::created);
    }
    ~PortalMouse() override {
        if (m_started)
            QDBusConnection::sessionBus().asyncCall(QDBusMessage::createMethodCall(
                QStringLiteral("org.freedesktop.portal.Desktop"), m_session.path(),
                QStringLiteral("org.freedesktop.portal.Session"), QStringLiteral("Close")));
    }

    bool available() const override { return !m_failed; }
    void post(SyntheticMouseEvent event, QPointF where, QSizeF desktop) override;

private:
    using Step = void (PortalMouse::*)(const QVariantMap &results);

    void ask(const char *method, const QVariantList &arguments, const QVariantMap &options, Step next);
    void created(const QVariantMap &results);
    void selected(const QVariantMap &results);
    void started(const QVariantMap &results);
    void end(const char *reason);
    struct Event {
        const char *method;
        QVariantList what;
    };
    void add(const Event &event);
    void move(QPointF by) { add({"NotifyPointerMotion", {by.x(), by.y()}}); }
    void sendNext();

    MainQueue &m_queue;
    const ClickPermission m_permission;
    Done m_done;
    QDBusObjectPath m_session;
    std::unique_ptr<PortalRequest> m_request;
    std::deque<Event> m_toSend; // The first one has been.
    bool m_started = false;
    bool m_failed = false;
    Lifetime m_lifetime;
};

void PortalMouse::ask(const char *method, const QVariantList &arguments, const QVariantMap &options,
                      Step next) {
    m_request =
        std::make_unique<PortalRequest>(kRemoteDesktopPortal, QString::fromLatin1(method), arguments, options,
                                        [this, next](bool granted, const QVariantMap &results) {
                                            if (granted)
                                                return (this->*next)(results);
                                            end("the desktop does not let this program click");
                                        });
}

void PortalMouse::created(const QVariantMap &results) {
    m_session = QDBusObjectPath(results.value(QStringLiteral("session_handle")).toString());
    if (m_session.path().isEmpty())
        return end("the desktop's portal gives no session");
    QVariantMap options{{QStringLiteral("types"), kPointer}, {QStringLiteral("persist_mode"), kUntilRevoked}};
    if (const QString word = m_permission.word(); !word.isEmpty())
        options.insert(QStringLiteral("restore_token"), word);
    ask("SelectDevices", {QVariant::fromValue(m_session)}, options, &PortalMouse::selected);
}

void PortalMouse::selected(const QVariantMap &) {
    ask("Start", {QVariant::fromValue(m_session), QString()}, {}, &PortalMouse::started);
}

void PortalMouse::started(const QVariantMap &results) {
    m_started = true;
    const QString word = results.value(QStringLiteral("restore_token")).toString();
    if ((results.value(QStringLiteral("devices")).toUInt() & kPointer) == 0)
        return end("the desktop was not allowed to give this program the mouse");
    if (word.isEmpty())
        end("the desktop would ask at each start: it remembers no such permission");
    runBeside<bool>([permission = m_permission, word] { return permission.keep(word); },
                    m_lifetime.guard([this](bool kept) {
                        if (const Done done = std::exchange(m_done, {}))
                            done(kept, "the permission cannot be kept in the settings' folder");
                    }));
}

void PortalMouse::end(const char *reason) {
    m_failed = true;
    if (const Done done = std::exchange(m_done, {}))
        done(false, reason);
}

void PortalMouse::add(const Event &event) {
    m_toSend.push_back(event);
    if (m_toSend.size() == 1)
        sendNext();
}

// One by one: desktops were seen to press before they have moved.
void PortalMouse::sendNext() {
    const QVariantList whose{QVariant::fromValue(m_session), QVariantMap()};
    const Event &event = m_toSend.front();
    QDBusConnection::sessionBus().asyncCall(
        portalCall(kRemoteDesktopPortal, QString::fromLatin1(event.method), whose + event.what));
    m_queue.post(kBetweenEvents, m_lifetime.guard([this] {
        m_toSend.pop_front();
        if (!m_toSend.empty())
            sendNext();
    }));
}

// There are only steps: from the corner at the bottom right, as others open something when the mouse is
// pushed into them.
void PortalMouse::post(SyntheticMouseEvent event, QPointF where, QSizeF desktop) {
    if (!m_started || m_failed)
        return;
    if (event == SyntheticMouseEvent::MouseMoved) {
        move({kFurtherThanAnyScreen, kFurtherThanAnyScreen});
        return move(where - QPointF(desktop.width() - 1, desktop.height() - 1));
    }
    add({"NotifyPointerButton", {BTN_LEFT, event == SyntheticMouseEvent::LeftMouseDown ? 1U : 0U}});
}

} // namespace

QString ClickPermission::word() const {
    QFile file(m_file);
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.read(kLongestWord)).trimmed();
}

bool ClickPermission::keep(const QString &word) const {
    const QFileInfo there(m_file);
    if (there.exists() && !there.isFile()) // Not to be written into, nor replaced.
        return false;
    QDir().mkpath(QFileInfo(m_file).path());
    QSaveFile file(m_file);
    if (!file.open(QIODevice::WriteOnly) || !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner))
        return false;
    file.write(word.toUtf8());
    return file.commit();
}

std::unique_ptr<DesktopMouse> makePortalMouse(MainQueue &queue, const ClickPermission &permission) {
    if (!QDBusConnection::sessionBus().isConnected() || permission.word().isEmpty())
        return nullptr;
    return std::make_unique<PortalMouse>(queue, permission, [](bool given, const char *reason) {
        if (!given)
            Log::line(std::string(reason) + ": effects start and end without the click in the centre");
    });
}

std::unique_ptr<DesktopMouse> askForClicks(MainQueue &queue, const ClickPermission &permission,
                                           std::function<void(bool, const char *)> done) {
    return std::make_unique<PortalMouse>(queue, permission, std::move(done));
}

} // namespace companion
