#include <gtest/gtest.h>

#include <cstring>

#include "stratamedia/StrataMedia.h"

TEST(StrataMedia, LoadsAndReportsItsVersion) {
  EXPECT_STREQ("1.0", stratamedia::GetVersionString());
}
