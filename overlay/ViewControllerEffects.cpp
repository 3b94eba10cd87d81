#include "core/Log.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "overlay/ViewController.h"
#include "platform/ports/CursorVisibility.h"
#include "platform/ports/OverlaySurface.h"
#include "platform/ports/Platform.h"
#include "platform/ports/Watchdog.h"
#include "settings/ConfigManager.h"

#include <algorithm>
#include <exception>

using namespace std::chrono_literals;

// What the presenter's keys do, and what the overlay shows.
namespace companion {
namespace {

constexpr auto kEffectOffDelay = 300ms;
constexpr auto kHintTime = 3000ms;
constexpr auto kClickDelay = 100ms;
constexpr auto kFirstCaptureDelay = 100ms;

constexpr std::int64_t kSizeStep = 10;
constexpr std::int64_t kLargestSize = 250;
constexpr std::int64_t kSmallestSize = 50;
constexpr std::int64_t kSizeAfterModeSwitch = 150;

constexpr double kRingWidth = 2;       // Points.
constexpr double kHolderOrigin = 4000; // Points: above the visible part of the overlay.

// Keys of the mode names in the order of the effect types.
constexpr std::string_view kModeNameKeys[] = {"正常", "聚光", "数码激光", "放大镜"};

void hide(const std::shared_ptr<View> &view) {
    if (view)
        view->setHidden(true);
}

void takeOut(const std::shared_ptr<View> &view) {
    if (view)
        view->removeFromSuperview();
}

// Steps of a stored size from outside may stand at the end of the number range.
std::int64_t stepped(std::int64_t size, std::int64_t step) {
    std::int64_t sum = 0;
    return __builtin_add_overflow(size, step, &sum) ? size : sum;
}

} // namespace

void ViewController::refreshPen() {
    dropPicture();
    takeOut(m_zoomScreenShotImageView);
    takeOut(m_normalView);
    takeOut(m_spotlightView);
    takeOut(m_zoomView);
    takeOut(m_laserView);

    View &content = *m_canvas.root();
    const double width = content.frame().width;
    const double height = content.frame().height;
    // The plain view's frame is 20 points lower than the overlay, the others' 8: kept on purpose.
    switch (m_needs.config.type()) {
    case kEffectNormal:
        m_normalView = std::make_shared<NormalView>(PointRect{0, 0, width, height - 20});
        content.addSubview(m_normalView);
        break;
    case kEffectLaser:
        m_laserView = std::make_shared<LaserView>(PointRect{0, 0, width, height - 8}, m_needs.config);
        content.addSubview(m_laserView);
        m_laserView->setViewData();
        break;
    case kEffectSpotlight:
        m_spotlightView = std::make_shared<SpotlightView>(PointRect{0, 0, width, height - 8}, m_needs.config);
        content.addSubview(m_spotlightView);
        break;
    case kEffectZoom:
        buildMagnifier();
        break;
    default: // Not an effect: only an outside writer of the settings can bring it here.
        break;
    }
    static_cast<void>(becomeFirstResponder());
}

void ViewController::buildMagnifier() {
    View &content = *m_canvas.root();
    const double width = content.frame().width;
    const double height = content.frame().height;
    const std::int64_t size = m_needs.config.mouseSizeValue();
    const auto side = static_cast<double>(size);

    m_zoomView = std::make_shared<ZoomView>(PointRect{0, 0, side, side}, m_needs.config);
    m_zoomView->setLayer(
        {.borderWidth = kRingWidth, .borderColor = {1, 1, 1, 1}, .cornerRadius = effectHalf(size)});
    hide(m_zoomScreenShotImageView);
    content.addSubview(m_zoomView);

    // On a screen taller than the holder's usual place the holder goes above the screen.
    auto holder = std::make_shared<View>(PointRect{0, std::max(kHolderOrigin, height), width, height - 8});
    m_zoomScreenShotImageView = std::make_shared<ImageView>(PointRect{0, 0, width, height});
    holder->addSubview(m_zoomScreenShotImageView);
    m_zoomView->setRenderView(holder);
    content.addSubview(holder);
    m_holders.push_back(std::move(holder));
    keepFewHolders();
    after(kFirstCaptureDelay, [this] { screenShotMethod(); });
}

// The holder of the build before stays in the tree, empty and out of sight. Older ones go, so that a long
// talk does not pile them up.
void ViewController::keepFewHolders() {
    while (m_holders.size() > 2) {
        m_holders.front()->removeFromSuperview();
        m_holders.pop_front();
    }
}

void ViewController::mouseEffectOn() {
    if (!m_mouseEffectIsOn) {
        m_needs.platform.surface().raise();
        refreshPen();
        if (!m_needs.centreClick)
            drawAtPointer(); // Otherwise the click's own motion shows the effect.
        after(kClickDelay, [this] {
            clickCentre();
            if (m_needs.config.type() == kEffectZoom && m_zoomScreenShotImageView)
                m_zoomScreenShotImageView->setHidden(false);
        });
    }
    m_mouseEffectIsOn = true;
    m_needs.platform.inputMonitor().followMotion(true);
    m_needs.platform.watchdog().setOn(true);
    if (m_needs.config.type() != kEffectNormal)
        m_needs.center.post(SYSTEM_SETMOUSEIGNORES, true);
    m_holdIsComing = true;
    after(0ms, [this] { holdEffect(); });
}

void ViewController::holdEffect() {
    m_holdIsComing = false;
    std::erase_if(m_presented, [](const auto &controller) { return !controller->isPresented(); });
    if (!m_presented.empty())
        m_presented.front()->dismiss();
    Log::line(presentedDescription());
    m_calls.cancel("setMouseEffectOff");
    m_calls.request("setMouseEffectOff", kEffectOffDelay, [this] {
        // A poll that took long: the time was over before the poll saw the key, which is held all the same.
        // What it posted is still to come, and would cancel this.
        if (!m_holdIsComing)
            setMouseEffectOff();
    });
    m_needs.platform.cursor().setHiddenUntilMouseMoves();
}

void ViewController::setMouseEffectOff() {
    m_mouseEffectIsOn = false;
    m_needs.center.post(SYSTEM_SETMOUSEIGNORES, false);
    after(kClickDelay, [this] {
        clickCentre();
        if (m_mouseEffectIsOn) // Pressed again meanwhile: these are the new effect's views.
            return;
        hideEffectViews();
        m_needs.platform.inputMonitor().followMotion(false);
        m_needs.platform.watchdog().setOn(false);
    });
}

// The time is up already when a receiver was silent; the views, which the end hides a moment later, would
// flash up, and stay if the receiver's next answer does not come either.
void ViewController::recovered() {
    if (!m_mouseEffectIsOn)
        hideEffectViews();
}

void ViewController::dropPicture() {
    m_overlayInPicture.clear();
    if (m_zoomScreenShotImageView)
        m_zoomScreenShotImageView->setImage({});
}

void ViewController::hideEffectViews() {
    dropPicture(); // The next effect takes its own.
    hide(m_zoomScreenShotImageView);
    hide(m_normalView);
    hide(m_spotlightView);
    hide(m_laserView);
    hide(m_zoomView);
}

void ViewController::drawMousePointWithEvent(const InputEvent &event) {
    const PointRect rect = effectRect(event.location, m_needs.config.mouseSizeValue());
    switch (m_needs.config.type()) {
    case kEffectNormal:
        return drawNormalView(rect);
    case kEffectLaser:
        return drawLaserView(rect);
    case kEffectSpotlight:
        return drawSpotlightView(rect);
    case kEffectZoom:
        return drawZoomView(rect);
    default:
        return;
    }
}

// A new type takes effect at the next refreshPen(), so any of these may have no view yet.
void ViewController::drawNormalView(const PointRect &) {
    if (m_normalView)
        m_normalView->setNeedsDisplay();
}

void ViewController::drawSpotlightView(const PointRect &rect) {
    if (!m_spotlightView)
        return;
    m_spotlightView->setSpotlightRect(rect);
    m_spotlightView->setNeedsDisplay();
}

void ViewController::drawLaserView(const PointRect &rect) {
    if (!m_laserView)
        return;
    m_laserView->setLaserRect(rect);
    m_laserView->setNeedsDisplay();
}

void ViewController::drawZoomView(const PointRect &rect) {
    if (!m_zoomView)
        return;
    m_zoomView->setFrame(rect);
    m_zoomView->setRenderPoint({rect.x, rect.y});
    magnifyNothingOfOurs();
}

// Where the picture shows the overlay itself, a new one is due, with nothing of it.
void ViewController::magnifyNothingOfOurs() {
    const QRect below = m_canvas.pixels(m_zoomView->frame());
    if (std::any_of(m_overlayInPicture.begin(), m_overlayInPicture.end(),
                    [&](const QRect &each) { return each.intersects(below); }))
        takePicture(m_canvas.pixels(m_canvas.root()->frame()));
}

void ViewController::screenShotMethod() {
    takePicture(belowLens());
}

// What the lens can show of a picture lies below it. A lens that is not on the screen shows nothing.
QRect ViewController::belowLens() const {
    if (!m_zoomView || m_zoomView->superview() == nullptr)
        return {};
    const auto at = m_needs.platform.inputMonitor().pointer();
    return m_canvas.pixels(at ? effectRect(*at, m_needs.config.mouseSizeValue()) : m_canvas.root()->frame());
}

void ViewController::takePicture(const QRect &lookedAt) {
    dropPicture();
    hide(m_zoomView);
    m_still.take(lookedAt);
}

void ViewController::pictureTaken(const QImage &picture, const std::vector<QRect> &overlay) {
    // A picture is a screenful of memory: kept only while there may be something to see of it.
    if (m_zoomScreenShotImageView)
        m_zoomScreenShotImageView->setImage(m_mouseEffectIsOn ? picture : QImage());
    m_overlayInPicture = overlay;
    if (!m_zoomView)
        return;
    m_zoomView->setNeedsDisplay();
    if (!m_mouseEffectIsOn)
        return;
    m_zoomView->setHidden(false);
    magnifyNothingOfOurs();
}

void ViewController::mouseSizeAdd() {
    m_needs.config.setMouseSizeValue(
        std::min(stepped(m_needs.config.mouseSizeValue(), kSizeStep), kLargestSize));
    m_needs.config.saveUserDefault();
    showSizeHint();
}

void ViewController::mouseSizeSub() {
    m_needs.config.setMouseSizeValue(
        std::max(stepped(m_needs.config.mouseSizeValue(), -kSizeStep), kSmallestSize));
    m_needs.config.saveUserDefault();
    showSizeHint();
}

// Every switch resets the size on purpose. The views stay as they are until the next refreshPen().
void ViewController::mouseTypeSwitch() {
    m_needs.config.setMouseSizeValue(kSizeAfterModeSwitch);
    const std::uint64_t next = m_needs.config.type() + 1;
    m_needs.config.setType(next >= kEffectTypeCount ? kEffectNormal : next);
    m_needs.config.saveUserDefault();
    showHint(modeName(m_needs.config.type()));
}

QString ViewController::modeName(std::uint64_t type) const {
    try {
        return m_needs.getText(kModeNameKeys[type]).value_or(QString());
    } catch (const std::exception &error) {
        // A damaged language setting must not end a talk.
        Log::line(error.what());
        return {};
    }
}

void ViewController::showSizeHint() {
    showHint(QStringLiteral("◉:%1").arg(m_needs.config.mouseSizeValue()));
}

void ViewController::showHint(const QString &text) {
    m_effectSwitchHintTextField->setText(text);
    m_effectSwitchHintTextField->setHidden(false);
    m_calls.cancel("setEffectSwitchHintTextFieldHidden");
    m_calls.request("setEffectSwitchHintTextFieldHidden", kHintTime,
                    [this] { setEffectSwitchHintTextFieldHidden(); });
    m_needs.platform.surface().raise();
}

void ViewController::setEffectSwitchHintTextFieldHidden() {
    m_effectSwitchHintTextField->setHidden(true);
}

} // namespace companion
