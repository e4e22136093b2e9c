#include "cli/Terminal.hpp"

#include <gtest/gtest.h>

namespace zun::cli {

namespace {

TEST(ProgressText, SaysWhatItKnows) {
    EXPECT_EQ("converting, 5 messages", progress_text("converting", 5, 0, 0.5));
    EXPECT_EQ("converting 50 %, 5 messages", progress_text("converting", 5, 10, 0.5));
    EXPECT_EQ("converting 25 %, 500 messages, 250/s, 6 s left", progress_text("converting", 500, 2000, 2));
    EXPECT_EQ("converting, 3000 messages, 1500/s", progress_text("converting", 3000, 2000, 2))
        << "a false count";
    EXPECT_EQ("converting 0 %, 0 messages", progress_text("converting", 0, 2000, 2));
}

}  // namespace

}  // namespace zun::cli
