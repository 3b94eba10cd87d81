#include "platform/null/NullPlatform.h"

#include "platform/ports/OverlaySurface.h"
#include "platform/ports/ScreenCapture.h"
#include "support/LogRecorder.h"

#include <gtest/gtest.h>

namespace companion {
namespace {

TEST(NullPlatformTest, SaysOnceWhatIsMissingAndAnswersEveryCapture) {
    LogRecorder log;
    const auto platform = makeNullPlatform();
    EXPECT_EQ(platform->surface().size(), Size{});
    int answers = 0;
    platform->screenCapture().captureDesktop([&](const QImage &image) { answers += image.isNull(); });
    EXPECT_EQ(answers, 1);
    EXPECT_EQ(log.lines.size(), 1u);
}

} // namespace
} // namespace companion
