#include "app/SettingsFront.h"

#include <utility>

namespace companion {

using Sight = OwnWindows::Sight;

struct SettingsFront::Watch {
    Subject subject;
    Answer answer;
    std::chrono::milliseconds passed{};
    bool seenBefore = false;
};

void SettingsFront::watch(Subject subject, Answer answer) {
    look(std::make_shared<Watch>(Watch{std::move(subject), std::move(answer)}));
}

void SettingsFront::look(const std::shared_ptr<Watch> &watch) {
    const auto end = [&](std::string_view outcome) {
        if (watch->answer)
            watch->answer(outcome);
    };
    const OwnWindows::Window window = watch->subject.window();
    if (window == 0)
        return end(kClosed);
    const Sight sight = m_windows.look(window);
    const bool seenBefore = std::exchange(watch->seenBefore, sight == Sight::Seen);
    if (sight == Sight::Unknown)
        return end(kOpened);
    if (sight == Sight::Seen && seenBefore)
        return end(kSeen);
    if (watch->passed >= kGivesUp)
        return end(sight == Sight::Seen ? kSeen : (sight == Sight::Covered ? kCovered : kAbsent));
    if (watch->passed == kSecondTry && sight != Sight::Seen)
        watch->subject.bringToFront();
    watch->passed += kBetweenLooks;
    m_queue.post(kBetweenLooks, m_life.guard([this, watch] { look(watch); }));
}

} // namespace companion
