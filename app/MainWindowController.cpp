#include "app/MainWindowController.h"

#include "core/MainQueue.h"
#include "core/NotificationCenter.h"
#include "core/NotificationNames.h"
#include "platform/ports/OverlaySurface.h"

using namespace std::chrono_literals;

namespace companion {
namespace {

constexpr int kStartLevel = 1002;
constexpr int kFrontLevel = 1000; // Below the start level on purpose; 1002 is never restored.
constexpr int kBackLevel = -2147483643;

} // namespace

MainWindowController::MainWindowController(MainQueue &queue, NotificationCenter &center,
                                           OverlaySurface &surface)
    : m_queue(queue),
      m_center(center),
      m_surface(surface) {}

void MainWindowController::windowDidLoad() {
    m_surface.setLevel(kStartLevel);
    m_center.addObserver(m_lifetime, SYSTEM_SETWINDOWLEVEL,
                         [this](const Notification &n) { setWindowLevel(n); });
    m_center.addObserver(m_lifetime, SYSTEM_SETMOUSEIGNORES,
                         [this](const Notification &n) { setMouseIgnores(n); });
    m_surface.setTakesMouse(false);
}

void MainWindowController::setWindowLevel(const Notification &notification) {
    m_surface.setLevel(notification.integerValue() == 1 ? kFrontLevel : kBackLevel);
}

void MainWindowController::setMouseIgnores(const Notification &notification) {
    m_queue.post(
        0ms, m_lifetime.guard([this, takes = notification.boolValue()] { m_surface.setTakesMouse(takes); }));
}

} // namespace companion
