// One pointer event from the views to the pixels of a patch, without a window: what the program itself adds.
#include "core/Log.h"
#include "overlay/EffectViews.h"
#include "overlay/Magnifier.h"
#include "overlay/OverlayCanvas.h"
#include "settings/ConfigManager.h"
#include "settings/SettingsStore.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <vector>

namespace companion {
namespace {

constexpr int kSize = 150;

// Gives the painting memory as the X11 surface does, and throws the pixels away.
class PatchSurface final : public OverlaySurface {
public:
    explicit PatchSurface(Size size) : m_size(size), m_pixels(std::size_t(size.width * size.height)) {}

    Size size() const override { return m_size; }
    QRect area() const override { return {0, 0, int(m_size.width), int(m_size.height)}; }
    double scale() const override { return 1; }
    bool translucent() const override { return true; }
    void onChanged(std::function<void()> listener) override { m_changed = std::move(listener); }
    void setLevel(int) override {}
    void setTakesMouse(bool) override {}
    void raise() override {}
    void stayBelow(std::uintptr_t) override {}
    void present(const SurfaceFrame &frame, const std::function<void(const PixelPatch &)> &paint) override {
        for (const QRect &area : frame.patches) {
            std::fill_n(m_pixels.data(), std::ptrdiff_t{area.width()} * area.height(), 0);
            paint({area, m_pixels.data(), area.width()});
        }
        benchmark::ClobberMemory();
    }
    // The whole screen as one patch.
    void presentAll(const std::function<void(const PixelPatch &)> &paint) {
        present({{}, {QRect(0, 0, int(m_size.width), int(m_size.height))}, {}, 0}, paint);
    }

private:
    Size m_size;
    std::vector<Pixel> m_pixels;
    std::function<void()> m_changed;
};

class IdleQueue final : public MainQueue {
public:
    void post(std::chrono::milliseconds, Task) override {} // The benchmark says when to display.
};

struct Scene {
    explicit Scene(const benchmark::State &state) : height(double(state.range(0))), width(height * 16 / 9) {
        Log::setSink([](std::string_view) {});
        picture.fill(0x336699);
        config.setBackColor(Color{0, 0, 0, 1});
        config.setBackAlpha(0.5);
        config.setFrontColor(Color{1, 0, 0, 1});
        config.setFrontAlpha(0.8);
        config.setMouseSizeValue(kSize);
        config.setMouseZoomValue(50);
    }
    Point next() {
        x += x < width - 400 ? 9 : 400 - width;
        return {x, height / 2};
    }

    double height;
    double width;
    double x = 300;
    SettingsStore store;
    ConfigManager config{store};
    IdleQueue queue;
    PatchSurface surface{{width, height}};
    OverlayCanvas canvas{surface, queue};
    QImage picture{int(width), int(height), QImage::Format_RGB32};
};

struct SpotlightScene : Scene {
    using Scene::Scene;
    void move() {
        view->setSpotlightRect(effectRect(next(), kSize));
        view->setNeedsDisplay();
    }
    std::shared_ptr<SpotlightView> view =
        std::make_shared<SpotlightView>(PointRect{0, 0, width, height - 8}, config);
    std::shared_ptr<View> shown = view;
};

struct LaserScene : Scene {
    using Scene::Scene;
    void move() {
        view->setLaserRect(effectRect(next(), kSize));
        view->setNeedsDisplay();
    }
    std::shared_ptr<LaserView> view = std::make_shared<LaserView>(PointRect{0, 0, width, height - 8}, config);
    std::shared_ptr<View> shown = view;
};

struct LensScene : Scene {
    explicit LensScene(const benchmark::State &state) : Scene(state) {
        const auto image = std::make_shared<ImageView>(PointRect{0, 0, width, height});
        image->setImage(picture);
        holder->addSubview(image);
        view->setRenderView(holder);
        view->setLayer({.borderWidth = 2, .borderColor = {1, 1, 1, 1}, .cornerRadius = kSize / 2});
    }
    void move() {
        const PointRect rect = effectRect(next(), kSize);
        view->setFrame(rect);
        view->setRenderPoint({rect.x, rect.y});
    }
    std::shared_ptr<View> holder = std::make_shared<View>(PointRect{0, 4000, width, height});
    std::shared_ptr<ZoomView> view = std::make_shared<ZoomView>(PointRect{0, 0, kSize, kSize}, config);
    std::shared_ptr<View> shown = view;
};

// What is painted for an event: only what changed.
template <class S>
void changeOnly(benchmark::State &state) {
    S scene(state);
    scene.canvas.root()->addSubview(scene.shown);
    scene.canvas.display();
    for ([[maybe_unused]] auto _ : state) {
        scene.move();
        scene.canvas.display();
    }
}

// What would be painted if each event repainted the screen.
template <class S>
void wholeScreen(benchmark::State &state) {
    S scene(state);
    scene.canvas.root()->addSubview(scene.shown);
    scene.canvas.display();
    for ([[maybe_unused]] auto _ : state) {
        scene.move();
        scene.canvas.display();
        scene.surface.presentAll([&](const PixelPatch &patch) { scene.shown->paint(patch); });
    }
}

BENCHMARK(changeOnly<SpotlightScene>)->Name("paint/spotlight/change")->Arg(1080)->Arg(2160);
BENCHMARK(changeOnly<LaserScene>)->Name("paint/laser/change")->Arg(1080)->Arg(2160);
BENCHMARK(changeOnly<LensScene>)->Name("paint/lens/change")->Arg(1080)->Arg(2160);
BENCHMARK(wholeScreen<SpotlightScene>)->Name("paint/spotlight/whole")->Arg(1080)->Arg(2160);
BENCHMARK(wholeScreen<LaserScene>)->Name("paint/laser/whole")->Arg(1080)->Arg(2160);
BENCHMARK(wholeScreen<LensScene>)->Name("paint/lens/whole")->Arg(1080)->Arg(2160);

} // namespace
} // namespace companion
