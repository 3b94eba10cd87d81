#pragma once

#include "core/Lifetime.h"
#include "core/MainQueue.h"
#include "platform/ports/OwnWindows.h"

#include <chrono>
#include <functional>
#include <memory>
#include <string_view>

namespace companion {

// Sees to it that a window is really in front after somebody has asked for it, and says whether it is. Window
// managers may refuse a window the front, and a full-screen window may lie over it; so it is looked at until
// it is seen, and if that takes half a second it is brought to the front once more.
class SettingsFront {
public:
    static constexpr std::chrono::milliseconds kBetweenLooks{50};
    static constexpr std::chrono::milliseconds kSecondTry{500};
    static constexpr std::chrono::milliseconds kGivesUp{1000};

    // What came of it, called once with one of these words, which further starts understand.
    using Answer = std::function<void(std::string_view outcome)>;
    static constexpr std::string_view kSeen = "seen"; // At two looks, one after the other.
    static constexpr std::string_view kCovered = "covered";
    static constexpr std::string_view kAbsent = "absent"; // Open, but not on the screen.
    static constexpr std::string_view kClosed = "closed"; // It never opened, or was closed again.
    static constexpr std::string_view kOpened = "opened"; // The window system does not tell what is seen.

    struct Subject {
        std::function<OwnWindows::Window()> window; // 0 when there is none, or none any more.
        std::function<void()> bringToFront;
    };

    // Both must outlive this.
    SettingsFront(MainQueue &queue, const OwnWindows &windows) : m_queue(queue), m_windows(windows) {}

    // For a window that has just been shown, or failed to open.
    void watch(Subject subject, Answer answer);

private:
    struct Watch;

    void look(const std::shared_ptr<Watch> &watch);

    MainQueue &m_queue;
    const OwnWindows &m_windows;
    Lifetime m_life;
};

} // namespace companion
