// What the desktop gives over the session bus, from one that is played here.
#include "core/QtMainQueue.h"
#include "platform/dbus/KWinPictures.h"
#include "platform/dbus/Notification.h"
#include "platform/dbus/PictureFile.h"
#include "platform/dbus/PortalMouse.h"
#include "platform/dbus/PortalPictures.h"
#include "support/LogRecorder.h"
#include "support/rig/ChildProcess.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusUnixFileDescriptor>
#include <QDBusVirtualObject>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>

namespace companion::rig {
namespace {

void waitFor(const std::string &what, const std::function<bool()> &condition) {
    waitUntil(what, [&] {
        QCoreApplication::processEvents();
        return condition();
    });
}

// The portal and KWin in one.
class PlayedDesktop final : public QDBusVirtualObject {
public:
    PlayedDesktop() : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, "desktop")) {
        m_bus.registerVirtualObject("/", this, QDBusConnection::SubPath);
        m_bus.registerService("org.freedesktop.portal.Desktop");
        m_bus.registerService("org.kde.KWin");
        m_bus.registerService("org.freedesktop.Notifications");
    }
    ~PlayedDesktop() override { QDBusConnection::disconnectFromBus("desktop"); }

    unsigned response = 0; // To the portal's questions.
    bool answers = true;
    QVariantMap results;
    QString kwinsError;
    QVariantMap kwinsPicture;
    QByteArray pixels;
    std::vector<std::string> calls; // Members with their numbers.

    QString introspect(const QString &) const override { return {}; }
    bool handleMessage(const QDBusMessage &call, const QDBusConnection &bus) override;

    void answer() {
        const auto [sender, path] = m_asked;
        QDBusMessage signal =
            QDBusMessage::createTargetedSignal(sender, path, "org.freedesktop.portal.Request", "Response");
        m_bus.send(signal << response << results);
    }

private:
    QDBusConnection m_bus;
    std::pair<QString, QString> m_asked;
};

bool PlayedDesktop::handleMessage(const QDBusMessage &call, const QDBusConnection &bus) {
    std::string seen = call.member().toStdString();
    for (const QVariant &each : call.arguments())
        if (each.canConvert<double>() && each.typeId() != QMetaType::QString)
            seen += " " + std::to_string(each.toInt());
    calls.push_back(seen);
    if (call.member() == "CaptureScreen") {
        if (!kwinsError.isEmpty())
            return bus.send(call.createErrorReply(kwinsError, "no"));
        const int pipe = qvariant_cast<QDBusUnixFileDescriptor>(call.arguments().at(2)).fileDescriptor();
        EXPECT_EQ(::write(pipe, pixels.data(), size_t(pixels.size())), pixels.size());
        return bus.send(call.createReply(kwinsPicture));
    }
    if (call.member() == "Notify" && response != 0)
        return bus.send(call.createErrorReply("org.freedesktop.Notifications.Error", "no"));
    if (call.member().startsWith("Notify") || call.member() == "Close")
        return bus.send(call.createReply());
    const QVariantMap options = qdbus_cast<QVariantMap>(call.arguments().last());
    QString sender = call.service();
    m_asked = {sender, "/org/freedesktop/portal/desktop/request/" + sender.mid(1).replace('.', '_') + "/" +
                           options["handle_token"].toString()};
    if (options.contains("restore_token"))
        calls.back() += " with " + options["restore_token"].toString().toStdString();
    bus.send(call.createReply(QVariant::fromValue(QDBusObjectPath(m_asked.second))));
    if (answers)
        answer();
    return true;
}

class DesktopDoors : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        s_folder = new QTemporaryDir;
        s_bus = new ChildProcess({"dbus-daemon", "--session", "--nofork", "--nopidfile", "--print-address",
                                  "--address=unix:path=" + file("bus")},
                                 {{"PATH", "/usr/bin"}});
        waitFor("a session bus", [] { return !s_bus->out().empty(); });
        qputenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + file("bus")).c_str());
    }
    static void TearDownTestSuite() {
        delete s_bus;
        delete s_folder;
    }
    static std::string file(const std::string &name) {
        return s_folder->filePath(QString::fromStdString(name)).toStdString();
    }

    // A picture of two screens beside each other, two device pixels for a point.
    static QImage desktopsPicture() {
        QImage picture(80, 20, QImage::Format_RGB32);
        for (int y = 0; y < 20; ++y)
            for (int x = 0; x < 80; ++x)
                picture.setPixel(x, y, qRgb(x, y, 7));
        return picture;
    }
    void leavePicture(const QString &name = "screen.png") {
        const QString path = s_folder->filePath(name);
        desktopsPicture().save(path);
        desktop.results = {{"uri", QUrl::fromLocalFile(path).toString()}};
    }
    static inline const DesktopPictures::Place kSecondScreen{
        "two", {20, 0, 20, 10}, {0, 0, 40, 10}, {40, 20}};

    QImage taken(DesktopPictures &pictures) {
        std::optional<QImage> result;
        pictures.take(kSecondScreen, [&](const QImage &picture) { result = picture; });
        waitFor("an answer", [&] { return result.has_value(); });
        return *result;
    }
    // The probe's picture is read by now, or will be.
    void expectPartOnceAllowed(DesktopPictures &pictures) {
        waitFor("the file to be gone", [] { return !std::filesystem::exists(file("screen.png")); });
        QImage picture;
        waitFor("the yes", [&] {
            leavePicture();
            picture = taken(pictures);
            return !picture.isNull();
        });
        EXPECT_EQ(picture, desktopsPicture().copy(40, 0, 40, 20));
    }
    long count(const std::string &call) const {
        return std::count(desktop.calls.begin(), desktop.calls.end(), call);
    }

    static inline QTemporaryDir *s_folder = nullptr;
    static inline ChildProcess *s_bus = nullptr;
    PlayedDesktop desktop;
    LogRecorder log;
    QtMainQueue queue;
};

TEST_F(DesktopDoors, PortalAsksAtTheProbeOnlyGivesThisScreensPartAndLeavesNoFile) {
    const auto pictures = makePortalPictures(queue);
    desktop.answers = false;
    leavePicture();
    pictures->probe(kSecondScreen);
    EXPECT_TRUE(taken(*pictures).isNull());
    waitFor("the question", [&] { return count("Screenshot") == 1; });
    desktop.answer();
    desktop.answers = true;
    expectPartOnceAllowed(*pictures);
    EXPECT_FALSE(std::filesystem::exists(file("screen.png")));
}

TEST_F(DesktopDoors, PortalsNoIsTakenForGoodAndToldInOneLine) {
    const auto pictures = makePortalPictures(queue);
    desktop.response = 1;
    pictures->probe(kSecondScreen);
    waitFor("the line", [&] { return log.lines.size() == 2; });
    EXPECT_TRUE(taken(*pictures).isNull());
    EXPECT_EQ(count("Screenshot"), 1);
}

TEST_F(DesktopDoors, OnlyANewPictureOfTheUsersInOnePlaceIsTakenAway) {
    const std::string name = file("one.png"), other = file("other.png");
    const auto makeOther = [&] { desktopsPicture().save(QString::fromStdString(other)); };
    const std::pair<const char *, std::function<void()>> strange[] = {
        {"missing", [] {}},
        {"link", [&] { makeOther(), std::filesystem::create_symlink(other, name); }},
        {"in a second place", [&] { makeOther(), std::filesystem::create_hard_link(other, name); }},
        {"pipe", [&] { mkfifo(name.c_str(), 0600); }},
        {"folder", [&] { std::filesystem::create_directory(name); }},
        {"no picture", [&] { std::filesystem::copy_file("/proc/self/comm", name); }},
        {"old", [&] {
             makeOther(), std::filesystem::rename(other, name);
             std::filesystem::last_write_time(name, std::filesystem::file_time_type::clock::now() - 1h);
         }}};
    const QUrl url = QUrl::fromLocalFile(QString::fromStdString(name));
    for (const auto &[what, make] : strange) {
        make();
        const bool there = std::filesystem::exists(name);
        EXPECT_TRUE(takeAwayPicture(url, std::time(nullptr)).isNull()) << what;
        EXPECT_EQ(std::filesystem::exists(name), there) << what;
        std::filesystem::remove(name);
        std::filesystem::remove(other);
    }
    EXPECT_TRUE(takeAwayPicture(QUrl("http://host/one.png"), 0).isNull());
    EXPECT_TRUE(takeAwayPicture(QUrl(), 0).isNull());
}

TEST_F(DesktopDoors, KWinsPictureIsTakenAsItIsAndHalfAPictureIsNone) {
    const auto pictures = makeKWinPictures(queue, nullptr);
    const QVariantMap good{
        {"width", 3}, {"height", 2}, {"stride", 16}, {"format", int(QImage::Format_RGB32)}};
    desktop.pixels = QByteArray(32, 'x');
    desktop.kwinsPicture = good;
    const QImage picture = taken(*pictures);
    EXPECT_EQ(picture.size(), QSize(3, 2));
    EXPECT_EQ(picture.pixel(2, 1), qRgb('x', 'x', 'x'));
    const std::pair<const char *, QVariant> wrong[] = {{"width", 0},
                                                       {"width", -3},
                                                       {"width", 5},
                                                       {"width", 1 << 30},
                                                       {"height", -1},
                                                       {"height", 3},
                                                       {"stride", -16},
                                                       {"stride", 1 << 30},
                                                       {"format", 0},
                                                       {"format", 1000},
                                                       {"format", int(QImage::Format_RGB888)},
                                                       {"width", "wide"}};
    for (const auto &[key, value] : wrong) {
        desktop.kwinsPicture = good;
        desktop.kwinsPicture[key] = value;
        EXPECT_TRUE(taken(*pictures).isNull()) << key << " " << value.toString().toStdString();
    }
    desktop.kwinsPicture.clear();
    EXPECT_TRUE(taken(*pictures).isNull());
    desktop.kwinsError = "org.kde.KWin.ScreenShot2.Error.NoAuthorized";
    for (int i = 0; i < 2; ++i)
        EXPECT_TRUE(taken(*pictures).isNull());
    EXPECT_EQ(log.lines.size(), 1U);
}

TEST_F(DesktopDoors, AKWinThatRefusesAtTheStartLeavesPicturesToThePortal) {
    const auto pictures = makeKWinPictures(queue, makePortalPictures(queue));
    desktop.kwinsError = "org.kde.KWin.ScreenShot2.Error.NoAuthorized";
    leavePicture();
    pictures->probe(kSecondScreen);
    expectPartOnceAllowed(*pictures);
    desktop.calls.clear();
    leavePicture();
    EXPECT_FALSE(taken(*pictures).isNull());
    EXPECT_EQ(count("CaptureScreen"), 0);
}

TEST_F(DesktopDoors, ClicksNeedAPermissionGivenBeforeAndKeepItForTheNextTime) {
    const ClickPermission permission(s_folder->filePath("none/click-permission"));
    EXPECT_EQ(makePortalMouse(queue, permission), nullptr);
    EXPECT_TRUE(desktop.calls.empty());
    const QString pipe = s_folder->filePath("pipe");
    ASSERT_EQ(mkfifo(qPrintable(pipe), 0600), 0);
    EXPECT_FALSE(ClickPermission(pipe).keep("word"));

    desktop.results = {{"session_handle", "/session"}, {"devices", 2U}, {"restore_token", "first"}};
    std::optional<bool> given;
    const auto question = askForClicks(queue, permission, [&](bool yes, const char *) { given = yes; });
    waitFor("the answer", [&] { return given.has_value(); });
    EXPECT_TRUE(*given);
    EXPECT_EQ(permission.word(), "first");

    desktop.calls.clear();
    desktop.results["restore_token"] = "second";
    const auto mouse = makePortalMouse(queue, permission);
    ASSERT_NE(mouse, nullptr);
    waitFor("the next word", [&] { return permission.word() == "second"; });
    mouse->post(SyntheticMouseEvent::MouseMoved, {30, 20}, {100, 80});
    mouse->post(SyntheticMouseEvent::LeftMouseDown, {30, 20}, {100, 80});
    mouse->post(SyntheticMouseEvent::LeftMouseUp, {30, 20}, {100, 80});
    waitFor("a click", [&] { return desktop.calls.size() == 7; });
    EXPECT_EQ(desktop.calls,
              (std::vector<std::string>{"CreateSession", "SelectDevices with first", "Start",
                                        "NotifyPointerMotion 100000 100000", "NotifyPointerMotion -69 -59",
                                        "NotifyPointerButton 272 1", "NotifyPointerButton 272 0"}));

    desktop.results.remove("restore_token"); // From now on it would ask.
    const auto last = makePortalMouse(queue, permission);
    waitFor("the line", [&] { return log.lines.size() == 1; });
    EXPECT_FALSE(last->available());
    waitFor("no word", [&] { return permission.word().isEmpty(); });
    EXPECT_EQ(makePortalMouse(queue, permission), nullptr);
}

TEST_F(DesktopDoors, NotificationCountsAsShownOnlyWhereTheDesktopTakesIt) {
    int shown = 0;
    desktop.response = 1;
    notifyUser("Title", "Text", [&] { shown += 100; });
    waitFor("a refusal", [&] { return desktop.calls.size() == 1; });
    desktop.response = 0;
    notifyUser("Title", "Text", [&] { ++shown; });
    waitFor("an answer", [&] { return shown != 0; });
    EXPECT_EQ(shown, 1);
}

} // namespace
} // namespace companion::rig
