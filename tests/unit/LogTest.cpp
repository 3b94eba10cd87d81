#include "core/Log.h"

#include <gtest/gtest.h>

#include <regex>

namespace companion {
namespace {

TEST(LogTest, TextFromOutsideCannotForgeASecondLine) {
    EXPECT_EQ(singleLine("a\nb\r\x1b[31m\x7f 获得数据"), "a\\nb\\x0d\\x1b[31m\\x7f 获得数据");
}

TEST(LogTest, ALineGoesToStandardErrorWithATimeStamp) {
    ::testing::internal::CaptureStderr();
    Log::format("坐标为 %f,%s", 1.5, "x");
    const std::string written = ::testing::internal::GetCapturedStderr();
    EXPECT_TRUE(std::regex_match(written,
                                 std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} 坐标为 1\.500000,x\n)")))
        << written;
}

} // namespace
} // namespace companion
