// A day with a presenter that does everything it can, in virtual time.
#include "support/ViewControllerFixture.h"

#include <malloc.h>

#include <random>

namespace companion {
namespace {

// What the program holds while nothing happens.
struct Holding {
    std::size_t tasks;
    std::size_t observers;
    std::size_t views;
    std::size_t memory; // Bytes in use of the heap; 0 where a sanitizer manages it.
};

class DayOfPolls : public ViewControllerTest {
protected:
    DayOfPolls() {
        platform.fakeSurface.change({160, 120}, 1, true); // Small: what is painted is not the point here.
        load();
        Log::setSink([this](std::string_view) { ++logLines; });
        receiver.plug();
        queue.advance(1s);
    }

    int upTo(int most) { return std::uniform_int_distribution(0, most)(chance); }
    VirtualReceiver::Bytes randomBytes(int most) {
        VirtualReceiver::Bytes bytes(static_cast<std::size_t>(1 + upTo(most - 1)));
        for (auto &byte : bytes)
            byte = static_cast<std::uint8_t>(upTo(255));
        return bytes;
    }
    void walk(std::chrono::milliseconds time) {
        for (const auto end = queue.now() + time; queue.now() < end; queue.advance(50ms)) {
            moveTo({double(upTo(159)), double(upTo(119))});
            if (upTo(9) == 0)
                platform.monitor.send(InputEventType::KeyDown, {}, kVirtualKeyB); // The next slide.
        }
    }

    // The mouse is taken while an effect other than the plain pointer is on.
    bool mouseTaken() const {
        return !platform.fakeSurface.mouse.empty() && platform.fakeSurface.mouse.back();
    }
    void expectOffAfterRelease() {
        queue.advance(500ms);
        ASSERT_FALSE(mouseTaken()) << "at " << queue.now().count() << " ms";
        ASSERT_FALSE(platform.monitor.following);
        ASSERT_FALSE(platform.fakeWatchdog.on);
        forget();
    }
    // What the stand-ins have written down is theirs.
    void forget() {
        platform.fakeSurface.mouse.clear();
        platform.mouse.posted.clear();
        logLines = 0;
    }

    void hold() {
        config.setType(static_cast<std::uint64_t>(upTo(3))); // Random codes hardly ever press the mode key.
        const std::uint8_t keys[] = {0x10, 0x12, 0x14};
        auto report = randomBytes(63);
        report[0] = keys[upTo(2)];
        receiver.setEvent(report);
        walk(std::chrono::milliseconds(upTo(5'000)));
        static const VirtualReceiver::Bytes none{0};
        switch (upTo(3)) {
        case 0:
            receiver.setEvent(none);
            break;
        case 1:
            receiver.unplug();
            break;
        case 2:
            receiver.setMode(VirtualReceiver::Mode::Stall);
            break;
        default:
            receiver.setEvent(none);
            receiver.replug(std::chrono::milliseconds(upTo(700)));
        }
        expectOffAfterRelease();
    }
    void babble() {
        const auto codes = randomBytes(20);
        receiver.once(codes);
        walk(codes.size() * 100ms + 100ms);
        expectOffAfterRelease();
    }
    // Nobody presents, for some minutes; the receiver may be out, or fail.
    void pause() {
        if (const int state = upTo(5); state == 0)
            receiver.unplug();
        else if (state < 3)
            receiver.setMode(state == 1 ? VirtualReceiver::Mode::Stall : VirtualReceiver::Mode::Short);
        queue.advance(5s); // Until the hint has gone and a pull has been told.
        logLines = 0;
        queue.advance(std::chrono::seconds(upTo(300)));
        ASSERT_EQ(logLines, 0) << "lines about nothing";
    }
    void settle() {
        receiver.setEvent({});
        receiver.setMode(VirtualReceiver::Mode::Ok);
        receiver.plug();
        queue.advance(1'500ms);
    }
    Holding restAndLook() {
        queue.advance(10s);
        for (int guard = 0; config.type() != kEffectNormal && guard < 4; ++guard) { // Each keeps other views.
            center.post(LOCAL_MOUSETYPESWITCH);
            queue.advance(4s);
        }
        center.post(LOCAL_MOUSEEFFECTON);
        queue.advance(1s);
        forget();
        return {queue.pending(), center.observerCount(), controller->canvas().root()->subviews().size(),
                mallinfo2().uordblks};
    }

    std::mt19937 chance{20240229};
    int logLines = 0;
};

TEST_F(DayOfPolls, LeavesNothingBehindAndEndsEveryEffectWithinHalfASecond) {
    Holding most[2]{}; // In each half of the day.
    const auto reads = receiver.counts().reads;
    for (auto hour = 0h; hour < 24h; ++hour) {
        while (queue.now() < hour + 1h) {
            const int dice = upTo(9);
            ASSERT_NO_FATAL_FAILURE(dice < 5 ? hold() : dice < 8 ? babble() : pause());
            settle();
        }
        const Holding now = restAndLook();
        Holding &half = most[hour / 12h];
        half = {std::max(half.tasks, now.tasks), std::max(half.observers, now.observers),
                std::max(half.views, now.views), std::max(half.memory, now.memory)};
    }
    EXPECT_EQ(most[1].tasks, most[0].tasks);
    EXPECT_EQ(most[1].observers, most[0].observers);
    EXPECT_EQ(most[1].views, most[0].views);
    EXPECT_LE(most[1].memory, most[0].memory + 200'000); // By chance an effect, and its picture, is larger.
    EXPECT_LE(most[1].tasks, 2U) << "the next poll, and little else";
    EXPECT_LE(most[1].views, 5U) << "hint, lens, two holders, one effect";
    EXPECT_GT(receiver.counts().reads - reads, 500'000U) << "the day had polls";
}

} // namespace
} // namespace companion
