#include "app/Application.h"

#include "app/ClickQuestion.h"
#include "app/PresentedSettings.h"
#include "app/WaylandSession.h"
#include "core/Log.h"
#include "core/ProcessEnd.h"
#include "core/StartupId.h"
#include "platform/dbus/KWinPictures.h"
#include "platform/dbus/Notification.h"
#include "platform/dbus/PortalMouse.h"
#include "platform/dbus/PortalPictures.h"
#include "platform/evdev/ReceiverKeys.h"
#include "platform/hidapi/HidApiPort.h"
#include "platform/instance/InstanceLock.h"
#include "platform/null/NullPlatform.h"
#include "platform/ports/OwnWindows.h"
#include "platform/ports/Platform.h"
#include "platform/qt/QtTray.h"
#include "platform/virtual_receiver/VirtualHidPort.h"
#include "platform/virtual_receiver/VirtualSlideKeys.h"
#include "platform/wayland/WaylandPlatform.h"
#include "platform/x11/X11Platform.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace companion {
namespace {

constexpr int kCannotRun = 1;
constexpr int kWrongUsage = 2;

constexpr auto kPatienceWithDisk = std::chrono::seconds(1); // For a save under way at the end.

// Keys of the settings file that only its user writes.
const QString kScreenKey = QStringLiteral("SCREEN");
const QString kCentreClickKey = QStringLiteral("CENTRECLICK");
// And one that only the program writes.
const QString kNoTrayToldKey = QStringLiteral("NOTRAYTOLD");

double scaleOfScreen(const std::string &name) {
    const auto screens = QGuiApplication::screens();
    const auto named = std::find_if(screens.begin(), screens.end(), [&](const QScreen *screen) {
        return screen->name().toStdString() == name;
    });
    const QScreen *screen = named == screens.end() ? QGuiApplication::primaryScreen() : *named;
    return screen != nullptr ? screen->devicePixelRatio() : 1;
}

} // namespace

// The demonstration switches modes, which saves: it must not touch the user's settings.
Application::Application(const CommandLine &line, DisplayServer display,
                         std::unique_ptr<InstanceLock> instance)
    : m_line(line),
      m_display(display),
      m_instance(std::move(instance)),
      m_store(line.demo ? SettingsStore() : SettingsStore(SettingsStore::defaultPath())),
      m_language(m_store),
      m_config([this] { return std::make_unique<ConfigManager>(m_store); }),
      m_virtualReceiver(m_queue),
      m_signals([this] { quit(); }, [this] { quitBesideMainThread(); }) {
    // Now, and not at the first save: a thread that cannot be had is told before the talk.
    m_store.saveAside();
    ProcessEnd::setFarewell([this] { m_store.finishSaving(kPatienceWithDisk); });
    if (line.demo)
        m_store.setValue(QStringLiteral("SYSTEM_LANGUAGEINDEX"), QStringLiteral("1")); // English.
}

Application::~Application() {
    ProcessEnd::setFarewell({});
}

std::unique_ptr<Application> Application::make(const CommandLine &line, DisplayServer display,
                                               std::unique_ptr<InstanceLock> instance, std::string &error,
                                               int &status) {
    std::unique_ptr<Application> application(new Application(line, display, std::move(instance)));
    if (!application->makeReceiver(error)) {
        status = kWrongUsage;
        return nullptr;
    }
    if (!application->makePlatform(error)) {
        status = kCannotRun;
        return nullptr;
    }
    return application;
}

bool Application::makeReceiver(std::string &error) {
    if (!m_line.virtualReceiver && !m_line.demo) {
        m_hid = std::make_unique<HidApiPort>();
    } else {
        m_hid = std::make_unique<VirtualHidPort>(m_virtualReceiver);
        if (!m_line.virtualReceiverPath.empty()) {
            m_feed = ReceiverFeed::open(m_line.virtualReceiverPath, m_virtualReceiver, m_queue, error);
            if (!m_feed)
                return false;
        }
    }
    m_link.emplace([this] {
        return std::make_unique<HidManager>(
            HidManager::Needs{m_queue, m_center, *m_hid, m_line.vendorId, m_line.productId});
    });
    return true;
}

// What a compositor does not give: no program sees the keys of another one, and some give no pictures.
void Application::makeDesktopParts() {
    if (m_line.virtualReceiver || m_line.demo)
        m_slideKeys = std::make_unique<VirtualSlideKeys>(m_virtualReceiver);
    else
        m_slideKeys = std::make_unique<ReceiverKeys>(m_queue, m_line.vendorId, m_line.productId);
    m_pictures = makeKWinPictures(m_queue, makePortalPictures(m_queue));
    m_mouse = makePortalMouse(m_queue, clickPermission());
}

bool Application::makePlatform(std::string &error) {
    if (isWaylandSession() || m_display == DisplayServer::Wayland)
        makeDesktopParts();
    if (m_display == DisplayServer::X11) {
        m_platform = makeX11Platform(
            {m_queue, scaleOfScreen, chosenScreen(), {}, m_slideKeys.get(), m_pictures.get(), m_mouse.get()},
            error);
    } else if (m_display == DisplayServer::Wayland) {
        m_platform = makeWaylandPlatform(
            {m_queue, chosenScreen(), m_slideKeys.get(), m_pictures.get(), m_mouse.get()}, error);
    } else {
        m_platform = makeNullPlatform();
    }
    if (!m_platform)
        return false;
    followScale();
    return true;
}

void Application::followScale() {
    const auto changed = [this] { m_platform->scaleMayHaveChanged(); };
    const auto follow = [this, changed](const QScreen *screen) {
        QObject::connect(screen, &QScreen::geometryChanged, &m_context, changed);
        QObject::connect(screen, &QScreen::logicalDotsPerInchChanged, &m_context, changed);
    };
    for (const QScreen *screen : QGuiApplication::screens())
        follow(screen);
    QObject::connect(qGuiApp, &QGuiApplication::screenAdded, &m_context, [changed, follow](QScreen *screen) {
        follow(screen);
        changed();
    });
    QObject::connect(qGuiApp, &QGuiApplication::primaryScreenChanged, &m_context, changed);
}

ScreenChoice Application::chosenScreen() const {
    const auto stored = m_store.value(kScreenKey);
    return screenChoice(m_line.screen ? *m_line.screen : stored.value_or(QString()).toStdString());
}

bool Application::clicksCentre() const {
    if (m_line.centreClick)
        return *m_line.centreClick;
    const QString stored = m_store.value(kCentreClickKey).value_or(QStringLiteral("on"));
    if (stored != QLatin1String("on") && stored != QLatin1String("off"))
        Log::line("settings: CENTRECLICK is neither 'on' nor 'off'; using 'on'");
    return stored != QLatin1String("off");
}

void Application::start(const std::string &startupId) {
    m_window.emplace(m_queue, m_center, m_platform->surface());
    ConfigManager &config = ConfigManager::sharedInstance();
    HidManager &link = HidManager::sharedInstance();
    const SettingWindowController::Needs settings{
        config, m_center, m_queue, [&link](std::int32_t minutes) { link.sendTimerWithTimeInt(minutes); }};
    m_front.emplace(m_queue, m_platform->ownWindows());
    m_controller.emplace(ViewController::Needs{
        m_queue, m_center, config, link, *m_platform,
        [](std::string_view key) {
            return LanguageSetting::getText(QString::fromUtf8(key.data(), qsizetype(key.size())));
        },
        [this, settings] { return presentSettings(settings); }, clicksCentre()});
    m_delegate.emplace(
        m_center,
        std::make_unique<QtTray>(m_platform->trayArea(), m_queue, [this] { introduceWithoutTray(); }),
        [this] { quit(); });

    m_window->windowDidLoad();
    m_controller->viewDidLoad();
    m_delegate->applicationDidFinishLaunching();
    m_controller->viewDidAppear();
    serveFurtherStarts();
    if (m_line.settings)
        m_queue.post(std::chrono::milliseconds::zero(), [this, startupId] { openSettings(startupId, {}); });
    else
        m_platform->ownWindows().startupEnded(startupId);

    if (m_line.demo) {
        m_demo.emplace(Demo::Needs{m_queue, m_virtualReceiver, m_platform->surface(),
                                   m_platform->syntheticMouse(), [this] { quit(); }});
        m_demo->start();
    }
    m_started = true;
}

// Where no icon can be seen, the first start shows the settings, and the desktop says how to get back to
// them; never again after that, as every start would be a nuisance. A desktop without notifications has the
// log line only.
void Application::introduceWithoutTray() {
    if (m_line.demo || m_store.value(kNoTrayToldKey))
        return;
    notifyUser(QStringLiteral("Presenter Companion"),
               QStringLiteral("This desktop shows no tray icon. To open the settings again, right-click "
                              "Presenter Companion among your applications and choose Settings, or run: "
                              "presenter-companion --settings"),
               [this] {
                   m_store.setValue(kNoTrayToldKey, QStringLiteral("1"));
                   openSettings({}, {});
               });
}

void Application::serveFurtherStarts() {
    if (!m_instance)
        return;
    if (m_instance->listener() == nullptr)
        return Log::line("further starts cannot reach this one: " + m_instance->listenerError());
    m_server.emplace(*m_instance->listener(), m_queue,
                     std::vector<InstanceServer::Command>{
                         {"settings",
                          [this](const std::string &startupId, const InstanceServer::Report &report) {
                              openSettings(checkedStartupId(startupId), report);
                          },
                          true},
                         {"quit", [this](const auto &, const auto &) { m_delegate->quitAppAction(); }}});
}

std::shared_ptr<PresentedSettings> Application::presentSettings(const SettingWindowController::Needs &needs) {
    std::string startupId = std::exchange(m_startupId, {});
    if (startupId.empty())
        startupId = takeStartupId(); // A tray may have left one with the click.
    auto opened = PresentedSettings::open(needs, m_platform->surface(), m_platform->ownWindows(), startupId);
    m_settings = opened;
    m_front->watch(subject(opened), std::exchange(m_answer, {}));
    return opened;
}

SettingsFront::Subject Application::subject(const std::weak_ptr<PresentedSettings> &settings) {
    return {[settings] {
                const auto open = settings.lock();
                return open ? open->nativeWindow() : 0;
            },
            [settings] {
                if (const auto open = settings.lock())
                    open->bringToFront({});
            }};
}

// For who asks from outside: unlike the menu, which opens a fresh window each time, it shows one that is
// open.
void Application::openSettings(const std::string &startupId, const SettingsFront::Answer &answer) {
    const auto open = m_settings.lock();
    if (open && open->isPresented()) {
        open->bringToFront(startupId);
        m_front->watch(subject(open), answer);
    } else {
        m_startupId = startupId;
        m_answer = answer;
        m_delegate->gotoSettingWindowAction();
    }
}

// At once, whatever loop or menu is running: changes are saved, or all but, and the display server takes the
// overlay off the screen and shows the cursor when our connection closes.
void Application::quit() {
    m_store.finishSaving(kPatienceWithDisk); // A next start, which the lock keeps waiting, reads the file.
    m_feed.reset(); // Its socket has a name in the file system, as has the one of the instance lock.
    m_instance.reset();
    ProcessEnd::with(EXIT_SUCCESS);
}

// The main thread is waiting for something, a silent receiver most likely. What it has made is not touched,
// but for what others look at. The kernel may need it back before it can end the process, so the lock is let
// go here.
void Application::quitBesideMainThread() {
    if (!m_started) // Then it is only busy starting.
        return;
    m_store.finishSaving(kPatienceWithDisk);
    if (m_feed)
        m_feed->removeName();
    if (m_instance)
        m_instance->release();
    ProcessEnd::with(EXIT_SUCCESS);
}

} // namespace companion
