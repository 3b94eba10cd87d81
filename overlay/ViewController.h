#pragma once

#include "core/DelayedCalls.h"
#include "core/Lifetime.h"
#include "overlay/EffectViews.h"
#include "overlay/Magnifier.h"
#include "overlay/OverlayCanvas.h"
#include "overlay/PresentedController.h"
#include "overlay/StillCapture.h"
#include "overlay/TextField.h"
#include "platform/ports/InputMonitor.h"
#include "receiver/DeviceManagerDelegate.h"

#include <QString>

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace companion {

class ConfigManager;
class DeviceManager;
class HidManager;
class MainQueue;
class NotificationCenter;
class Platform;
class SettingView;

// The heart of the pointer effects: shows the effect while the presenter's effect key is held, lets it follow
// the mouse, and turns the presenter's other keys into settings. Main thread only.
//
//   key held   ████████████████████
//   polls      |  |  |  |  |  |  |          every 100 ms, each with LOCAL_MOUSEEFFECTON
//   effect       ██████████████████████▏    off 300 ms after the last poll with the key
//   mouse        taken ................▏free
//   click          ^(+100)              ^(+100), and the views are hidden
//
// Fixed 100, 200 and 500 ms steps are queue tasks that nothing takes back; the 0.3 s and 3.0 s time-outs are
// cancellable and start anew with each request.
class ViewController : public DeviceManagerDelegate {
public:
    // All of it must outlive the controller.
    struct Needs {
        MainQueue &queue;
        NotificationCenter &center;
        ConfigManager &config;
        HidManager &hid;
        Platform &platform;

        // Text of a Chinese key in the language of the interface; null for an unknown key. May throw
        // std::exception where the stored language is none.
        std::function<std::optional<QString>(std::string_view)> getText;

        // Puts up a new settings window; null where there is none.
        std::function<std::shared_ptr<PresentedController>()> presentSettings;

        // Without the centre click nothing is clicked, and an effect starts where the mouse is.
        bool centreClick = true;
    };

    explicit ViewController(const Needs &needs);
    ~ViewController() override;

    // Run by the platform, in this order: once when the overlay is loaded, when it appears, when it
    // disappears.
    void viewDidLoad();
    void viewDidAppear();
    void viewDidDisappear() {}

    // Steps of viewDidLoad().
    void initView();
    void initData();
    void getPermission(); // Exercises synthetic input and capture once, so that consent is asked for now.
    void addMouseKeyboardObserver();

    // Applies the settings: builds the view of the effect in force.
    void refreshPen();

    // The presenter's keys.
    void mouseEffectOn();
    void setMouseEffectOff();
    void mouseSizeAdd();
    void mouseSizeSub();
    void mouseTypeSwitch();
    void setEffectSwitchHintTextFieldHidden();

    // The settings window.
    void showSettingView();
    void settingWindowClosed();

    // Hand a new effect rect (overlay points) to the view of the effect in force.
    void drawMousePointWithEvent(const InputEvent &event);
    void drawNormalView(const PointRect &rect);
    void drawSpotlightView(const PointRect &rect);
    void drawLaserView(const PointRect &rect);
    void drawZoomView(const PointRect &rect);

    // Takes a new still picture for the magnifier; while that is under way the lens is hidden, and what else
    // of the overlay lies below it. The rest does not blink: it is in the picture, of which a new one is
    // taken when the lens comes there.
    void screenShotMethod();

    // The overlay never has the keyboard: nobody has to give it up.
    bool becomeFirstResponder() const { return true; }

    // Keys that reach the overlay are consumed: no beep, no action.
    void keyDown(const InputEvent &) {}
    void keyUp(const InputEvent &) {}

    void setRepresentedObject(const std::shared_ptr<void> &) {} // The controller stands for itself.

    bool mouseEffectIsOn() const { return m_mouseEffectIsOn; }
    OverlayCanvas &canvas() { return m_canvas; }

    // Replaced views are dropped; a property keeps its last view after that view has left the screen.
    const std::shared_ptr<NormalView> &normalView() const { return m_normalView; }
    void setNormalView(std::shared_ptr<NormalView> view) { m_normalView = std::move(view); }
    const std::shared_ptr<LaserView> &laserView() const { return m_laserView; }
    void setLaserView(std::shared_ptr<LaserView> view) { m_laserView = std::move(view); }
    const std::shared_ptr<SpotlightView> &spotlightView() const { return m_spotlightView; }
    void setSpotlightView(std::shared_ptr<SpotlightView> view) { m_spotlightView = std::move(view); }
    const std::shared_ptr<ZoomView> &zoomView() const { return m_zoomView; }
    void setZoomView(std::shared_ptr<ZoomView> view) { m_zoomView = std::move(view); }
    const std::shared_ptr<ImageView> &zoomScreenShotImageView() const { return m_zoomScreenShotImageView; }
    void setZoomScreenShotImageView(std::shared_ptr<ImageView> view) {
        m_zoomScreenShotImageView = std::move(view);
    }
    const std::shared_ptr<TextField> &effectSwitchHintTextField() const {
        return m_effectSwitchHintTextField;
    }
    void setEffectSwitchHintTextField(std::shared_ptr<TextField> f) {
        m_effectSwitchHintTextField = std::move(f);
    }
    const std::shared_ptr<TextField> &logTextField() const { return m_logTextField; }
    void setLogTextField(std::shared_ptr<TextField> field) { m_logTextField = std::move(field); }
    HidManager *hidManager() const { return m_hidManager; }
    void setHidManager(HidManager *manager) { m_hidManager = manager; }

    // Kept for wiring that does not exist yet: nothing in the program assigns or uses these. The event
    // monitor stays for the platform's life, so its handle is not kept either.
    const std::shared_ptr<void> &mEventMonitor() const { return m_mEventMonitor; }
    void setMEventMonitor(std::shared_ptr<void> monitor) { m_mEventMonitor = std::move(monitor); }
    const std::shared_ptr<View> &mouseView() const { return m_mouseView; }
    void setMouseView(std::shared_ptr<View> view) { m_mouseView = std::move(view); }
    const std::shared_ptr<DeviceManager> &deviceManager() const { return m_deviceManager; }
    void setDeviceManager(std::shared_ptr<DeviceManager> manager) { m_deviceManager = std::move(manager); }
    const std::shared_ptr<SettingView> &settingView() const { return m_settingView; }
    void setSettingView(std::shared_ptr<SettingView> view) { m_settingView = std::move(view); }
    const std::string &dataMStr() const { return m_dataMStr; }
    void setDataMStr(std::string data) { m_dataMStr = std::move(data); }
    const std::vector<std::uint8_t> &cacheData() const { return m_cacheData; }
    void setCacheData(std::vector<std::uint8_t> data) { m_cacheData = std::move(data); }

private:
    using Step = void (ViewController::*)();

    void observe(std::string_view name, Step step);
    // Fixed delay; dropped if the controller is gone.
    template <class F>
    void after(std::chrono::milliseconds delay, F task) {
        m_needs.queue.post(delay, m_lifetime.guard(std::move(task)));
    }
    void screenChanged();
    void handle(const InputEvent &event);
    void watchedKeyDown(int keyCode);
    void clickCentre();
    void drawAtPointer();
    void renewStill();
    void holdEffect();
    void recovered();
    void buildMagnifier();
    void keepFewHolders();
    void dropPicture();
    void hideEffectViews();
    QRect belowLens() const;
    void magnifyNothingOfOurs();
    void takePicture(const QRect &lookedAt);
    void pictureTaken(const QImage &picture, const std::vector<QRect> &overlay);
    void showHint(const QString &text);
    void showSizeHint();
    QString modeName(std::uint64_t type) const;
    std::string presentedDescription() const;

    Needs m_needs;
    OverlayCanvas m_canvas;
    StillCapture m_still;
    DelayedCalls m_calls;
    PointRect m_content; // The content view's frame that the fields and views were made for,
    QRect m_area;        // and the place of their screen.

    std::vector<QRect> m_overlayInPicture; // The magnifier's, device pixels.

    bool m_mouseEffectIsOn = false;
    bool m_holdIsComing = false; // In the queue.
    std::shared_ptr<void> m_mEventMonitor;
    std::shared_ptr<View> m_mouseView;
    std::shared_ptr<NormalView> m_normalView;
    std::shared_ptr<LaserView> m_laserView;
    std::shared_ptr<SpotlightView> m_spotlightView;
    std::shared_ptr<ZoomView> m_zoomView;
    std::shared_ptr<ImageView> m_zoomScreenShotImageView;
    std::shared_ptr<DeviceManager> m_deviceManager;
    std::string m_dataMStr;
    std::vector<std::uint8_t> m_cacheData;
    HidManager *m_hidManager = nullptr;
    std::shared_ptr<SettingView> m_settingView;
    std::shared_ptr<TextField> m_effectSwitchHintTextField;
    std::shared_ptr<TextField> m_logTextField;

    std::deque<std::shared_ptr<View>> m_holders; // Of the magnifier's pictures, oldest first.
    std::vector<std::shared_ptr<PresentedController>> m_presented;
    Lifetime m_lifetime;
};

} // namespace companion
