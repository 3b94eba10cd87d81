#include "support/ViewControllerFixture.h"

namespace companion {
namespace {

TEST_F(ViewControllerTest, SlideKeysTakeNoPictureButForTheMagnifier) {
    config.setType(kEffectLaser);
    load();
    platform.monitor.send(InputEventType::KeyDown, {}, kVirtualKeyB);
    queue.advance(1s);
    EXPECT_EQ(log.lines, std::vector<std::string>{"控制器按下了'b'"});
    EXPECT_EQ(platform.capture.asked, 0);
}

class CaptureWithHintTest : public ViewControllerTest {
protected:
    CaptureWithHintTest() {
        config.setType(kEffectZoom);
        load();
        center.post(LOCAL_MOUSESIZEVALUEADD);
    }
    void place(Point pointer) {
        platform.monitor.at = pointer;
        moveTo(pointer);
    }
    std::size_t layers() const { return platform.fakeSurface.occupied.size(); }
    // Through a capture that a slide key asks for, with the key held.
    void expectLayers(std::size_t before, std::size_t during, std::size_t after) {
        platform.monitor.send(InputEventType::KeyDown, {}, kVirtualKeyF5);
        hold(100ms);
        queue.advance(99ms);
        EXPECT_EQ(layers(), before);
        effectKey();
        queue.advance(1ms);
        EXPECT_EQ(layers(), during);
        queue.advance(99ms);
        EXPECT_EQ(layers(), during);
        queue.advance(1ms);
        EXPECT_EQ(layers(), after);
    }

    static constexpr Point kFarFromHint{200, 300};
    static constexpr Point kOnHint{kWidth - 100, kHeight - 50};
};

TEST_F(CaptureWithHintTest, TheHintBlinksOnlyForALensThatLooksAtIt) {
    platform.monitor.at = kFarFromHint;
    hold(300ms);
    expectLayers(2, 1, 2);
    place(kOnHint);
    expectLayers(2, 0, 2);
    platform.monitor.at.reset();
    expectLayers(2, 0, 2);
}

TEST_F(CaptureWithHintTest, ALensThatComesToWhereTheHintIsInThePictureGetsANewOneOnce) {
    platform.monitor.at = kFarFromHint;
    hold(300ms);
    EXPECT_EQ(platform.capture.asked, 1);
    hold(3000ms); // The hint is gone, but not from the picture.
    place(kFarFromHint);
    EXPECT_EQ(layers(), 1U);
    place(kOnHint);
    EXPECT_EQ(layers(), 0U);
    hold(200ms);
    EXPECT_EQ(layers(), 1U);
    place({kOnHint.x + 1, kOnHint.y});
    hold(300ms);
    EXPECT_EQ(platform.capture.asked, 2);
}

TEST_F(ViewControllerTest, ALaserDotThatOutlivesAModeStepStaysThroughACapture) {
    config.setType(kEffectLaser);
    load();
    hold(300ms);
    moveTo({200, 300});
    center.post(LOCAL_MOUSETYPESWITCH);
    platform.monitor.send(InputEventType::KeyDown, {}, kVirtualKeyB);
    hold(200ms);
    EXPECT_EQ(platform.capture.asked, 0);
    EXPECT_EQ(platform.fakeSurface.occupied.size(), 2U) << "dot and hint";
    hold(200ms);
    EXPECT_EQ(platform.capture.asked, 1);
    EXPECT_EQ(platform.fakeSurface.occupied.size(), 2U);
}

TEST_F(ViewControllerTest, EffectOffDuringACaptureLeavesTheLensHidden) {
    config.setType(kEffectZoom);
    load();
    hold(300ms);
    ASSERT_TRUE(shown(controller->zoomView()));
    platform.monitor.send(InputEventType::KeyDown, {}, kVirtualKeyB);
    queue.advance(200ms); // Off and hidden for the capture at the same moment.
    EXPECT_FALSE(controller->mouseEffectIsOn());
    queue.advance(1s);
    EXPECT_EQ(platform.capture.asked, 2);
    EXPECT_FALSE(shown(controller->zoomView()));
}

class LateCaptureTest : public ViewControllerTest {
protected:
    LateCaptureTest() {
        config.setType(kEffectZoom);
        load();
        hold(300ms);
        moveTo({200, 200});
        EXPECT_EQ(lens(), 0xff336699U);
    }
    void slideKey() { platform.monitor.send(InputEventType::KeyDown, {}, kVirtualKeyB); }
    Pixel lens() const { return platform.fakeSurface.image.pixel(200, 400); }
    static QImage picture(QRgb colour) {
        QImage image(int(kWidth), int(kHeight), QImage::Format_RGB32);
        image.fill(colour);
        return image;
    }
};

TEST_F(LateCaptureTest, ALatePictureIsLeftOutAndEverythingElseIsSeenAgainAfterThreeHundredMilliseconds) {
    platform.capture.late = true;
    slideKey();
    hold(400ms);
    EXPECT_TRUE(platform.fakeSurface.occupied.empty());
    hold(100ms);
    EXPECT_TRUE(shown(controller->zoomView()));
    EXPECT_EQ(lens(), 0U) << "only the ring, and no picture of before";
    platform.capture.waiting.at(0)(picture(0xffff0000));
    hold(100ms);
    EXPECT_EQ(lens(), 0U) << "the lens itself may be in that picture";
    EXPECT_EQ(log.count("the picture of the screen is late and left out: the magnifier stays empty"), 1U);
}

TEST_F(LateCaptureTest, OfOverlappingCapturesTheLatestCountsWhateverTheOrderOfTheAnswers) {
    platform.capture.late = true;
    slideKey();
    hold(100ms);
    slideKey();
    hold(300ms);
    ASSERT_EQ(platform.capture.waiting.size(), 2U);
    platform.capture.waiting[1](picture(0xff00ff00));
    platform.capture.waiting[0](picture(0xffff0000));
    hold(100ms);
    EXPECT_EQ(lens(), 0xff00ff00U);
}

TEST_F(LateCaptureTest, ARefusedPictureLeavesTheRing) {
    platform.capture.picture = {};
    slideKey();
    hold(400ms);
    EXPECT_TRUE(shown(controller->zoomView()));
    EXPECT_EQ(lens(), 0U);
}

TEST_F(LateCaptureTest, AnAnswerAfterTheEndFindsNobody) {
    platform.capture.late = true;
    slideKey();
    hold(300ms);
    controller.reset();
    platform.capture.waiting.at(0)({});
}

TEST_F(LateCaptureTest, PicturesAreGivenBackWhenTheEffectEnds) {
    platform.capture.picture = {}; // The fake's own copy.
    EXPECT_FALSE(controller->zoomScreenShotImageView()->image().isNull());
    queue.advance(1s);
    EXPECT_TRUE(controller->zoomScreenShotImageView()->image().isNull());
    platform.capture.picture = picture(0xff00ff00);
    slideKey(); // With the effect off there is nothing to see of it.
    queue.advance(1s);
    EXPECT_TRUE(controller->zoomScreenShotImageView()->image().isNull());
}

} // namespace
} // namespace companion
