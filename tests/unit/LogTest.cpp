#include "core/Log.h"

#include <gtest/gtest.h>

namespace companion {
namespace {

TEST(LogTest, TextFromOutsideCannotForgeASecondLine) {
    EXPECT_EQ(singleLine("a\nb\r\x1b[31m\x7f 获得数据"), "a\\nb\\x0d\\x1b[31m\\x7f 获得数据");
}

} // namespace
} // namespace companion
