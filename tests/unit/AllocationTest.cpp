// What one pointer event costs while an effect is on, counted and not timed: allocations, pixels,
// presentations.
#include "core/LineWriter.h"
#include "core/QtMainQueue.h"
#include "support/ViewControllerFixture.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <new>

namespace {

std::size_t allocations = 0;

} // namespace

// Not inlined: compilers that see through them take new and free for a mismatched pair.
[[gnu::noinline]] void *operator new(std::size_t size) {
    ++allocations;
    if (void *memory = std::malloc(size != 0 ? size : 1))
        return memory;
    throw std::bad_alloc();
}

[[gnu::noinline]] void operator delete(void *memory) noexcept {
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void *memory, std::size_t) noexcept {
    std::free(memory);
}

namespace companion {
namespace {

constexpr int kSize = 150;

// The real queue for what a pointer event brings about; time itself stands still.
class SplitQueue final : public MainQueue {
public:
    void post(std::chrono::milliseconds delay, Task task) override {
        if (delay > 0ms)
            later.post(delay, std::move(task));
        else
            now.post(delay, std::move(task));
    }
    QtMainQueue now;
    VirtualMainQueue later;
};

class PointerEventCost : public ViewControllerRig<SplitQueue>,
                         public ::testing::WithParamInterface<EffectType> {
protected:
    PointerEventCost() : ViewControllerRig({1920, 1080}) {
        config.setType(GetParam());
        config.setMouseSizeValue(kSize);
        before = Log::setSink([this](std::string_view text) { // As the program's own, but into the void.
            line.assign(text);
            writer.write(line);
        });
        controller->viewDidLoad();
        controller->viewDidAppear();
        controller->mouseEffectOn();
        pass(250ms); // The click and the capture are over; the effect is on, and no time passes any more.
    }
    ~PointerEventCost() override {
        controller.reset();
        Log::setSink(before);
        close(nowhere);
    }

    void pass(std::chrono::milliseconds time) {
        for (auto passed = 0ms; passed < time; passed += 10ms) {
            queue.later.advance(10ms);
            const MainQueue::Turn turn(queue.now);
        }
    }

    // As a backend hands on a lot of events.
    void moveTo(Point where) {
        const MainQueue::Turn turn(queue.now);
        platform.monitor.send(InputEventType::MouseMoved, where);
    }

    void walk(int events) {
        for (int i = 0; i < events; ++i)
            moveTo(i % 10 == 0 ? Point{300.0 + i, 800.0 - i} : Point{1000.0 + 9 * (i % 30), 500});
    }

    int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    LineWriter writer{nowhere, 1000, [](std::uint64_t) { return std::string(); }};
    std::string line;
    Log::Sink before;
};

TEST_P(PointerEventCost, IsOnePresentationAndNoAllocationOnceWarm) {
    walk(100);
    const int presented = platform.fakeSurface.presented;
    const std::size_t allocated = allocations;
    walk(200);
    EXPECT_EQ(allocations - allocated, 0U);
    EXPECT_EQ(platform.fakeSurface.presented - presented, 200);
    {
        const MainQueue::Turn turn(queue.now);
        for (int i = 0; i < 20; ++i)
            platform.monitor.send(InputEventType::MouseMoved, {500.0 + i, 500});
    }
    EXPECT_EQ(platform.fakeSurface.presented - presented, 201) << "one for what comes together";
}

TEST_P(PointerEventCost, IsTheLensPixelsAndNoneAtAllOfADiscThatOnlyMoves) {
    moveTo({500, 500});
    EXPECT_EQ(platform.fakeSurface.paintedPixels, kSize * kSize);
    for (const Point where : {Point{509, 500}, Point{1500, 300}}) {
        moveTo(where);
        EXPECT_EQ(platform.fakeSurface.paintedPixels, GetParam() == kEffectZoom ? kSize * kSize : 0)
            << where.x;
    }
    moveTo({10, 500}); // Cut by the screen's edge.
    EXPECT_EQ(platform.fakeSurface.paintedPixels, (kSize / 2 + 10) * kSize);
}

INSTANTIATE_TEST_SUITE_P(Effects, PointerEventCost,
                         ::testing::Values(kEffectSpotlight, kEffectLaser, kEffectZoom),
                         [](const auto &each) {
                             return each.param == kEffectSpotlight ? "Spotlight"
                                    : each.param == kEffectLaser   ? "Laser"
                                                                   : "Lens";
                         });

} // namespace
} // namespace companion
