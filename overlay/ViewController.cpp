#include "overlay/ViewController.h"

#include "core/Log.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "platform/ports/OverlaySurface.h"
#include "platform/ports/Platform.h"
#include "platform/ports/ScreenCapture.h"
#include "platform/ports/SyntheticMouse.h"
#include "platform/ports/Watchdog.h"
#include "receiver/HidManager.h"
#include "settings/ConfigManager.h"

#include <algorithm>

using namespace std::chrono_literals;

// Set-up, the desktop's events and the settings window; the effects themselves are in
// ViewControllerEffects.cpp.
namespace companion {
namespace {

// Left and right mouse up, mouse moved, left and right dragged, key down, key up.
constexpr unsigned kMonitorMask = 3316;

constexpr auto kRecaptureDelay = 200ms;
constexpr auto kClickAfterSettingsDelay = 500ms;
constexpr double kTextSize = 36; // Points.

struct WatchedKey {
    int keyCode;
    const char *pressed;
};

// The presenter's slide keys. There are no lines for their release: those were only ever meant for key up,
// which is not logged.
constexpr WatchedKey kWatchedKeys[] = {
    {kVirtualKeyPageUp, "控制器按下了'page_up'"},
    {kVirtualKeyPageDown, "控制器按下了'page_down'"},
    {kVirtualKeyB, "控制器按下了'b'"},
    {kVirtualKeyF5, "控制器按下了'f5'"},
};

PointRect hintFrame(const PointRect &content) {
    return {content.width - 180, content.height - 80, 160, 52};
}

PointRect logFrame(const PointRect &content) {
    return {content.width - 250, content.height - 200, 220, 52};
}

std::shared_ptr<TextField> makeField(const PointRect &frame, const Color &background) {
    auto field = std::make_shared<TextField>(frame, kTextSize);
    field->setLayer({.backgroundColor = background, .cornerRadius = 10, .masksToBounds = true});
    return field;
}

} // namespace

ViewController::ViewController(const Needs &needs)
    : m_needs(needs),
      m_canvas(needs.platform.surface(), needs.queue),
      m_still(needs.queue, m_canvas, needs.platform.screenCapture(),
              [this](const QImage &picture, const auto &overlay) { pictureTaken(picture, overlay); }),
      m_calls(needs.queue) {
    m_canvas.onScreenChanged([this] { screenChanged(); });
    needs.platform.watchdog().onRecovered(m_lifetime.guard([this] { recovered(); }));
}

ViewController::~ViewController() = default;

void ViewController::viewDidLoad() {
    initView();
    initData();
    getPermission();
}

void ViewController::initView() {
    m_content = m_canvas.root()->frame(); // The canvas keeps it to the screen.
    m_area = m_needs.platform.surface().area();
    Log::format("坐标为 %f,%f,%f,%f", m_content.x, m_content.y, m_content.width, m_content.height);
    m_effectSwitchHintTextField = makeField(hintFrame(m_content), {1, 1, 1, 0.8});
    m_effectSwitchHintTextField->setHidden(true);
    m_canvas.root()->addSubview(m_effectSwitchHintTextField);
    m_logTextField = makeField(logFrame(m_content), {1, 0, 0, 0.8}); // Stays unattached: it is never seen.
}

void ViewController::initData() {
    addMouseKeyboardObserver();
    observe(NOTIFY_REFRESHPEN, &ViewController::refreshPen);
    observe(NOTIFY_CLOSESETTINGWINDOW, &ViewController::settingWindowClosed);
    observe(SYSTEM_SHOWSETTINGPAGE, &ViewController::showSettingView);
    observe(LOCAL_MOUSESIZEVALUEADD, &ViewController::mouseSizeAdd);
    observe(LOCAL_MOUSESIZEVALUESUB, &ViewController::mouseSizeSub);
    observe(LOCAL_MOUSETYPESWITCH, &ViewController::mouseTypeSwitch);
    observe(LOCAL_MOUSEEFFECTON, &ViewController::mouseEffectOn);
    m_dataMStr.clear();
    m_cacheData.clear();
    m_hidManager = &m_needs.hid;
    m_hidManager->initManager();
}

void ViewController::getPermission() {
    clickCentre();
    m_needs.platform.screenCapture().probe();
}

void ViewController::viewDidAppear() {
    Log::line("viewDidAppear");
    refreshPen();
    hideEffectViews();
}

void ViewController::observe(std::string_view name, Step step) {
    m_needs.center.addObserver(m_lifetime, name, [this, step](const Notification &) { (this->*step)(); });
}

void ViewController::screenChanged() {
    const PointRect content = m_canvas.root()->frame();
    const QRect area = m_needs.platform.surface().area();
    if (!m_effectSwitchHintTextField || (content == m_content && area == m_area))
        return;
    m_content = content;
    m_area = area;
    m_effectSwitchHintTextField->setFrame(hintFrame(content));
    m_logTextField->setFrame(logFrame(content));
    if (!m_mouseEffectIsOn)
        return;
    refreshPen(); // The effect's views have the old screen's size, or its picture.
    drawAtPointer();
}

void ViewController::addMouseKeyboardObserver() {
    m_needs.platform.inputMonitor().addGlobalMonitor(
        kMonitorMask, m_lifetime.guard([this](const InputEvent &event) { handle(event); }));
}

void ViewController::handle(const InputEvent &event) {
    switch (event.type) {
    case InputEventType::MouseMoved:
    case InputEventType::LeftMouseDragged:
    case InputEventType::RightMouseDragged:
        after(0ms, [this, event] {
            if (m_mouseEffectIsOn)
                drawMousePointWithEvent(event);
        });
        break;
    case InputEventType::KeyDown:
        watchedKeyDown(event.keyCode);
        break;
    case InputEventType::LeftMouseUp: // The place for an effect's answer to a click; none has one so far.
        after(0ms, [this] { static_cast<void>(m_needs.config.type()); });
        break;
    case InputEventType::RightMouseUp: // Watched, without an effect so far.
    case InputEventType::KeyUp:
        break;
    }
}

void ViewController::watchedKeyDown(int keyCode) {
    const auto key = std::find_if(std::begin(kWatchedKeys), std::end(kWatchedKeys),
                                  [&](const WatchedKey &k) { return k.keyCode == keyCode; });
    if (key == std::end(kWatchedKeys))
        return;
    Log::line(key->pressed);
    if (m_needs.config.type() == kEffectZoom)
        after(kRecaptureDelay, [this] { screenShotMethod(); });
    else if (!m_needs.platform.surface().translucent())
        after(kRecaptureDelay, [this] { renewStill(); });
}

// A still of the slide before must not stand around the disc.
void ViewController::renewStill() {
    const QRect all = m_canvas.pixels(m_canvas.root()->frame());
    m_canvas.setOutOfSight(all, true);
    after(StillCapture::kLeavingTime, [this, all] { m_canvas.setOutOfSight(all, false); });
}

void ViewController::drawAtPointer() {
    if (const auto at = m_needs.platform.inputMonitor().pointer())
        drawMousePointWithEvent({InputEventType::MouseMoved, *at});
}

void ViewController::clickCentre() {
    if (!m_needs.centreClick)
        return;
    const Size screen = m_needs.platform.surface().size();
    const QPointF centre(screen.width * 0.5, screen.height * 0.5);
    SyntheticMouse &mouse = m_needs.platform.syntheticMouse();
    mouse.post(SyntheticMouseEvent::MouseMoved, centre);
    Log::line("Click!");
    mouse.post(SyntheticMouseEvent::LeftMouseDown, centre);
    mouse.post(SyntheticMouseEvent::LeftMouseUp, centre);
}

void ViewController::showSettingView() {
    std::erase_if(m_presented, [](const auto &controller) { return !controller->isPresented(); });
    if (auto controller = m_needs.presentSettings())
        m_presented.push_back(std::move(controller));
}

void ViewController::settingWindowClosed() {
    refreshPen();
    after(kClickAfterSettingsDelay, [this] { clickCentre(); });
}

std::string ViewController::presentedDescription() const {
    std::string list = "(";
    for (const auto &controller : m_presented)
        list += (list.size() > 1 ? ", " : "") + controller->description();
    return list + ")";
}

} // namespace companion
