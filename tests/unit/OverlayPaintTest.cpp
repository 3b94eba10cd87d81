#include "overlay/EffectViews.h"
#include "overlay/Magnifier.h"
#include "overlay/OverlayCanvas.h"
#include "overlay/Pixels.h"
#include "overlay/TextField.h"
#include "settings/ConfigManager.h"
#include "settings/SettingsStore.h"
#include "support/FakePlatform.h"
#include "support/LogRecorder.h"
#include "support/VirtualMainQueue.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace std::chrono_literals;

namespace companion {
namespace {

constexpr double kWidth = 640;
constexpr double kHeight = 360;

// Area of the pixel inside the disc by brute force, 0 to 1.
double exactCoverage(int x, int y, QPointF centre, double radius) {
    constexpr int kFine = 32;
    int inside = 0;
    for (int i = 0; i < kFine * kFine; ++i) {
        const double px = x + (i % kFine + 0.5) / kFine;
        const double py = y + (i / kFine + 0.5) / kFine;
        inside += std::hypot(px - centre.x(), py - centre.y()) < radius;
    }
    return double(inside) / (kFine * kFine);
}

class OverlayPaintTest : public ::testing::Test {
protected:
    explicit OverlayPaintTest(double scale = 1) {
        surface.change({kWidth, kHeight}, scale, true);
        canvas = std::make_unique<OverlayCanvas>(surface, queue);
        config.setBackAlpha(0.2);
        config.setBackColor(Color{0, 0.4, 1, 0.9});
    }

    std::shared_ptr<SpotlightView> addSpotlight() {
        auto view = std::make_shared<SpotlightView>(PointRect{0, 0, kWidth, kHeight - 8}, config);
        canvas->root()->addSubview(view);
        return view;
    }
    std::shared_ptr<LaserView> addLaser() {
        auto view = std::make_shared<LaserView>(PointRect{0, 0, kWidth, kHeight - 8}, config);
        canvas->root()->addSubview(view);
        return view;
    }
    // Over a picture without two pixels alike nearby.
    std::shared_ptr<ZoomView> addLens() {
        QImage picture(int(kWidth), int(kHeight), QImage::Format_RGB32);
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                picture.setPixel(x, y, qRgb(x % 256, y % 256, (x * 7 + y * 13) % 256));
        auto image = std::make_shared<ImageView>(PointRect{0, 0, kWidth, kHeight});
        image->setImage(picture);
        auto holder = std::make_shared<View>(PointRect{0, 4000, kWidth, kHeight - 8});
        holder->addSubview(image);
        auto lens = std::make_shared<ZoomView>(PointRect{}, config);
        lens->setLayer({.borderWidth = 2, .borderColor = {1, 1, 1, 1}});
        lens->setRenderView(holder);
        canvas->root()->addSubview(lens);
        return lens;
    }
    Pixel at(int x, int y) const { return surface.image.pixel(x, y); }
    void show() { queue.advance(0ms); }

    // The same tree painted from nothing.
    QImage freshPaint() {
        const QImage before = surface.image;
        const auto kept = std::exchange(surface.kept, {});
        surface.change(surface.size(), surface.scale(), surface.translucent());
        show();
        surface.kept = kept;
        return std::exchange(surface.image, before);
    }

    LogRecorder log;
    VirtualMainQueue queue;
    SettingsStore store;
    ConfigManager config{store};
    FakeSurface surface;
    std::unique_ptr<OverlayCanvas> canvas;
};

TEST_F(OverlayPaintTest, ADiscHasTheExactPlaceAndAreaForOddAndEvenSizes) {
    config.setFrontColor(Color{1, 1, 1, 1});
    config.setFrontAlpha(1);
    const auto laser = addLaser();
    for (const int size : {3, 51}) {
        laser->setLaserRect(effectRect({200, 160}, size));
        laser->setNeedsDisplay();
        show();
        const QPointF centre(200 - size / 2 + size / 2.0, kHeight - (160 - size / 2 + size / 2.0));
        double worst = 0;
        for (int y = 0; y < int(kHeight); ++y) {
            for (int x = 0; x < int(kWidth); ++x) {
                const double exact = std::hypot(x - centre.x(), y - centre.y()) < size
                                         ? exactCoverage(x, y, centre, size / 2.0)
                                         : 0;
                worst = std::max(worst, std::abs(alphaOf(at(x, y)) / 255.0 - exact));
            }
        }
        EXPECT_LT(worst, size > 10 ? 0.06 : 0.2) << size;
    }
}

TEST_F(OverlayPaintTest, ColoursAndAlphasThatMeanNothingDrawNothing) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(pixelOf(std::nullopt, 1), 0U);
    EXPECT_EQ(pixelOf(Color{1, 1, 1, 1}, nan), 0U);
    EXPECT_EQ(pixelOf(Color{1, 1, 1, 1}, -1), 0U);
    EXPECT_EQ(pixelOf(Color{2, nan, -1, 0.1}, 2), 0xffff0000U);
}

TEST_F(OverlayPaintTest, ALensThatGrowsAndShrinksLooksLikeOneMadeThatLarge) {
    const auto used = addLens();
    for (const int size : {50, 151, 60}) {
        const auto place = [&](ZoomView &lens) {
            lens.setFrame(effectRect({320, 180}, size));
            lens.setRenderPoint({320, 180});
            show();
        };
        used->setHidden(false);
        place(*used);
        const QImage shown = surface.image;
        used->setHidden(true);
        const auto fresh = addLens();
        place(*fresh);
        EXPECT_EQ(surface.image, shown) << size;
        fresh->removeFromSuperview();
    }
}

TEST_F(OverlayPaintTest, SizesBeyondTheScreenAreDrawnAsFarAsItGoes) {
    const auto spotlight = addSpotlight();
    for (const std::int64_t size :
         {std::int64_t{9999}, std::int64_t{100'000'000}, std::numeric_limits<std::int64_t>::max()}) {
        spotlight->setSpotlightRect(effectRect({320, 180}, size));
        spotlight->setNeedsDisplay();
        show();
        EXPECT_EQ(at(5, 20), 0U) << size;
    }
    spotlight->setSpotlightRect(effectRect({320, 180}, -5));
    spotlight->setNeedsDisplay();
    show();
    EXPECT_NE(at(320, 180), 0U) << "no disc at all";
}

// Old and new disc are all that is painted, at any scale; the pixels are those of a full paint.
class RandomPathTest : public OverlayPaintTest,
                       public ::testing::WithParamInterface<std::tuple<double, int>> {
protected:
    RandomPathTest() : OverlayPaintTest(std::get<0>(GetParam())) {}
};

TEST_P(RandomPathTest, PaintingOnlyWhatChangedLeavesThePixelsOfAFullPaint) {
    const auto [scale, size] = GetParam();
    const auto spotlight = addSpotlight();
    const auto laser = addLaser();
    show();
    std::mt19937 random(7);
    std::uniform_int_distribution<int> anywhere(-20, 700);
    std::uniform_int_distribution<int> near(-9, 9);
    Point cursor{300, 200};
    const double disc = (size + 2) * scale * (size + 2) * scale;
    for (int i = 0; i < 300; ++i) {
        cursor = i % 3 == 0 ? Point{anywhere(random) / scale, anywhere(random) / scale}
                            : Point{cursor.x + near(random) / scale, cursor.y + near(random) / scale};
        spotlight->setSpotlightRect(effectRect(cursor, size));
        spotlight->setNeedsDisplay();
        laser->setLaserRect(effectRect({cursor.y, cursor.x}, size));
        laser->setNeedsDisplay();
        if (i == 100)
            config.setBackAlpha(0.7);
        show();
        ASSERT_LE(surface.paintedPixels, 4 * disc) << "follows the discs, not the screen";
        if (i % 25 == 0) {
            ASSERT_EQ(surface.image, freshPaint()) << "after move " << i;
        }
    }
    ASSERT_EQ(surface.image, freshPaint());
}

// A disc that only moves is not painted again: it must not be taken for one that is cut, covered or of
// another colour.
TEST_P(RandomPathTest, ADiscCutCoveredOrRecolouredIsNotTakenForTheOneBefore) {
    const auto [scale, size] = GetParam();
    const auto hint = std::make_shared<TextField>(PointRect{kWidth / 2, 150, 100, 52}, 36);
    hint->setLayer({.backgroundColor = {1, 1, 1, 0.8}});
    canvas->root()->addSubview(hint);
    const auto spotlight = addSpotlight();
    const auto laser = addLaser();
    const auto lens = addLens();
    hint->setHidden(true);
    const auto expectFullPaintAt = [&](const Point &where) {
        const PointRect rect = effectRect(where, size);
        spotlight->setSpotlightRect(rect);
        laser->setLaserRect(rect);
        lens->setFrame(rect);
        lens->setRenderPoint({rect.x, rect.y});
        spotlight->setNeedsDisplay();
        laser->setNeedsDisplay();
        show();
        const QImage shown = surface.image;
        EXPECT_EQ(shown, freshPaint()) << "at " << where.x << ' ' << where.y;
    };
    const Point middle{kWidth / 2, 180};
    // Neighbours in the list are cut to the same size on opposite sides. The views end 8 points below the
    // top.
    const Point places[] = {middle,
                            {10, 180},
                            {kWidth - 10, 180},
                            {middle.x, 10},
                            {middle.x, kHeight - 18},
                            {10, 10},
                            {kWidth - 10, kHeight - 18},
                            middle};
    const std::shared_ptr<View> effects[] = {spotlight, laser, lens};
    for (const auto &only : effects) {
        for (const auto &each : effects)
            each->setHidden(each != only);
        for (const Point &place : places)
            for (const double shift : {0, 1, 2})
                expectFullPaintAt(
                    {place.x + (place.y == 180 ? 0 : shift), place.y + (place.y == 180 ? shift : 0)});
        for (const double alpha : {0.3, 0.7}) {
            config.setBackAlpha(alpha);
            config.setFrontAlpha(alpha);
            expectFullPaintAt({middle.x + 10 * alpha, middle.y});
            hint->setHidden(alpha > 0.5);
            expectFullPaintAt({middle.x - 10 * alpha, middle.y});
        }
        laser->setHidden(false); // Over the hole, alone, or below the lens.
        expectFullPaintAt({100, 180});
        expectFullPaintAt({101, 180});
    }
}

INSTANTIATE_TEST_SUITE_P(OddAndEven, RandomPathTest,
                         ::testing::Combine(::testing::Values(1.0, 1.5, 2.0),
                                            ::testing::Values(50, 51, 150)));

} // namespace
} // namespace companion
