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

#include <utility>

namespace companion {
namespace {

constexpr unsigned kPointer = 2;
constexpr unsigned kUntilRevoked = 2;
constexpr double kFurtherThanAnyScreen = 1e5; // Points.
constexpr qint64 kLongestWord = 4096;

class PortalMouse final : public SyntheticMouse {
public:
    using Done = std::function<void(bool given, const char *reason)>;

    PortalMouse(ClickPermission permission, Done done)
        : m_permission(std::move(permission)),
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
    void post(SyntheticMouseEvent event, QPointF where) override;

private:
    using Step = void (PortalMouse::*)(const QVariantMap &results);

    void ask(const char *method, const QVariantList &arguments, const QVariantMap &options, Step next);
    void created(const QVariantMap &results);
    void selected(const QVariantMap &results);
    void started(const QVariantMap &results);
    void end(const char *reason);
    void notify(const char *method, const QVariantList &what) const;
    void move(QPointF by) const { notify("NotifyPointerMotion", {by.x(), by.y()}); }

    const ClickPermission m_permission;
    Done m_done;
    QDBusObjectPath m_session;
    std::unique_ptr<PortalRequest> m_request;
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

void PortalMouse::notify(const char *method, const QVariantList &what) const {
    const QVariantList whose{QVariant::fromValue(m_session), QVariantMap()};
    QDBusConnection::sessionBus().asyncCall(
        portalCall(kRemoteDesktopPortal, QString::fromLatin1(method), whose + what));
}

void PortalMouse::post(SyntheticMouseEvent event, QPointF where) {
    if (!m_started || m_failed)
        return;
    if (event == SyntheticMouseEvent::MouseMoved) {
        move({-kFurtherThanAnyScreen, -kFurtherThanAnyScreen});
        return move(where);
    }
    notify("NotifyPointerButton", {BTN_LEFT, event == SyntheticMouseEvent::LeftMouseDown ? 1U : 0U});
}

} // namespace

QString ClickPermission::word() const {
    QFile file(m_file);
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.read(kLongestWord)).trimmed();
}

bool ClickPermission::keep(const QString &word) const {
    QDir().mkpath(QFileInfo(m_file).path());
    QSaveFile file(m_file);
    if (!file.open(QIODevice::WriteOnly) || !file.setPermissions(QFile::ReadOwner | QFile::WriteOwner))
        return false;
    file.write(word.toUtf8());
    return file.commit();
}

std::unique_ptr<SyntheticMouse> makePortalMouse(const ClickPermission &permission) {
    if (!QDBusConnection::sessionBus().isConnected() || permission.word().isEmpty())
        return nullptr;
    return std::make_unique<PortalMouse>(permission, [](bool given, const char *reason) {
        if (!given)
            Log::line(std::string(reason) + ": effects start and end without the click in the centre");
    });
}

std::unique_ptr<SyntheticMouse> askForClicks(const ClickPermission &permission,
                                             std::function<void(bool, const char *)> done) {
    return std::make_unique<PortalMouse>(permission, std::move(done));
}

} // namespace companion
