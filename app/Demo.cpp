#include "app/Demo.h"

#include "core/Log.h"
#include "platform/ports/OverlaySurface.h"
#include "platform/ports/SyntheticMouse.h"
#include "platform/virtual_receiver/VirtualReceiver.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <numbers>

using namespace std::chrono_literals;

namespace companion {
namespace {

constexpr std::uint8_t kNoKey = 0x00;
constexpr std::uint8_t kModeKey = 0x01;
constexpr std::uint8_t kEffectKey = 0x10;

// In the order in which the mode key reaches them from the plain pointer.
constexpr const char *kEffects[] = {"demo: spotlight", "demo: laser", "demo: magnifier"};

constexpr auto kStartDelay = 1200ms; // The link opens the receiver after 500 ms.
constexpr auto kModeShownFor = 800ms;
constexpr auto kEffectPause = 900ms; // For the effect to end.
constexpr auto kMouseStep = 16ms;
constexpr int kStepsPerCircle = 150;

} // namespace

Demo::Demo(const Needs &needs) : m_needs(needs) {}

void Demo::start() {
    after(kStartDelay, &Demo::showNext);
}

void Demo::showNext() {
    if (m_effect == std::size(kEffects))
        return end();
    m_needs.receiver.once(std::array{kModeKey});
    after(kModeShownFor, &Demo::holdKey);
}

void Demo::holdKey() {
    Log::line(kEffects[m_effect]);
    m_needs.receiver.setEvent(std::array{kEffectKey});
    m_step = 0;
    after(kMouseStep, &Demo::moveMouse);
}

void Demo::moveMouse() {
    const Size screen = m_needs.surface.size();
    const double radius = 0.25 * std::min(screen.width, screen.height);
    const double angle = 2 * std::numbers::pi * m_step / kStepsPerCircle;
    m_needs.mouse.post(SyntheticMouseEvent::MouseMoved, {screen.width / 2 + radius * std::cos(angle),
                                                         screen.height / 2 + radius * std::sin(angle)});
    if (++m_step < kStepsPerCircle)
        after(kMouseStep, &Demo::moveMouse);
    else
        releaseKey();
}

void Demo::releaseKey() {
    m_needs.receiver.setEvent(std::array{kNoKey});
    ++m_effect;
    after(kEffectPause, &Demo::showNext);
}

void Demo::end() {
    Log::line("demo: end");
    m_needs.finished();
}

void Demo::after(std::chrono::milliseconds delay, void (Demo::*step)()) {
    m_needs.queue.post(delay, m_lifetime.guard([this, step] { (this->*step)(); }));
}

} // namespace companion
