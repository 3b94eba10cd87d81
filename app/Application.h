#pragma once

#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/Demo.h"
#include "app/MainWindowController.h"
#include "app/SettingsFront.h"
#include "app/SignalWatch.h"
#include "core/NotificationCenter.h"
#include "core/QtMainQueue.h"
#include "core/Shared.h"
#include "overlay/ViewController.h"
#include "platform/instance/InstanceServer.h"
#include "platform/ports/ScreenChoice.h"
#include "platform/virtual_receiver/ReceiverFeed.h"
#include "platform/virtual_receiver/VirtualReceiver.h"
#include "receiver/HidManager.h"
#include "settings/ConfigManager.h"
#include "settings/SettingsStore.h"
#include "settings_ui/SettingWindowController.h"
#include "settings_ui/languages/LanguageSetting.h"

#include <QObject>

#include <atomic>
#include <memory>
#include <optional>
#include <string>

namespace companion {

class HidPort;
class InstanceLock;
class DesktopMouse;
class DesktopPictures;
class Platform;
class SlideKeys;
class PresentedSettings;

// Builds the program's objects with their dependencies, in the order of start-up, and starts it. The only
// place that chooses backends. Needs a QApplication.
class Application {
public:
    // Null when the program cannot run as asked; `error` then says why and `status` is the exit status.
    // Without an instance lock no further start can reach this one.
    static std::unique_ptr<Application> make(const CommandLine &line, DisplayServer display,
                                             std::unique_ptr<InstanceLock> instance, std::string &error,
                                             int &status);

    // Loads the overlay, puts up the status menu and shows the overlay. The event loop does the rest.
    // `startupId` is the desktop's, of this process (see StartupId.h).
    void start(const std::string &startupId);

    ~Application();

private:
    Application(const CommandLine &line, DisplayServer display, std::unique_ptr<InstanceLock> instance);

    bool makeReceiver(std::string &error);
    bool makePlatform(std::string &error);
    void makeDesktopParts();
    void followScale();
    ScreenChoice chosenScreen() const;
    bool clicksCentre() const;
    std::shared_ptr<PresentedSettings> presentSettings(const SettingWindowController::Needs &needs);
    void openSettings(const std::string &startupId, const SettingsFront::Answer &answer);
    static SettingsFront::Subject subject(const std::weak_ptr<PresentedSettings> &settings);
    void introduceWithoutTray();
    void serveFurtherStarts();
    [[noreturn]] void quit();
    void quitBesideMainThread();

    CommandLine m_line;
    DisplayServer m_display;
    std::unique_ptr<InstanceLock> m_instance; // Goes last.
    QtMainQueue m_queue;
    NotificationCenter m_center;
    SettingsStore m_store;
    LanguageSetting::UseStore m_language;
    Shared<ConfigManager>::Scope m_config;
    VirtualReceiver m_virtualReceiver;
    std::unique_ptr<SlideKeys> m_slideKeys;
    std::unique_ptr<DesktopPictures> m_pictures;
    std::unique_ptr<DesktopMouse> m_mouse; // The desktop's, if the user allows it.
    std::unique_ptr<Platform> m_platform;
    QObject m_context; // The toolkit's news about screens end with it.
    std::unique_ptr<ReceiverFeed> m_feed;
    std::unique_ptr<HidPort> m_hid;
    std::optional<Shared<HidManager>::Scope> m_link;
    std::optional<MainWindowController> m_window;
    std::optional<ViewController> m_controller;
    std::optional<AppDelegate> m_delegate;
    std::optional<Demo> m_demo;
    std::weak_ptr<PresentedSettings> m_settings; // The one opened last.
    std::string m_startupId;                     // For the one that is opened next, and who hears of it.
    SettingsFront::Answer m_answer;
    std::optional<SettingsFront> m_front;
    std::optional<InstanceServer> m_server;
    std::atomic<bool> m_started = false;
    SignalWatch m_signals; // Its thread ends before what it uses.
};

} // namespace companion
