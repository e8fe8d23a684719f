#include <gtest/gtest.h>

#include <cstdint>

#include "Ostra/Result.h"

namespace {

TEST(ResultCodes, FailuresAreNegativeAndSuccessesAreNot) {
  const Ostra::Result failures[] = {
      Ostra::eUnknown,       Ostra::eDiskFull,         Ostra::eFileNotFound, Ostra::ePathNotFound,
      Ostra::eAccessDenied,  Ostra::eOutOfMemory,      Ostra::eCanceled,     Ostra::eOperationFailed,
      Ostra::eSharingViolation, Ostra::eFileAlreadyExists, Ostra::eFailure,
      static_cast<Ostra::Result>(0xFFFFFFFFu)};
  for (Ostra::Result failure : failures) {
    SCOPED_TRACE(failure);
    EXPECT_LT(failure, 0);
    EXPECT_FALSE(strata::ResultSucceeded(failure));
  }
  EXPECT_TRUE(strata::ResultSucceeded(Ostra::kSuccess));
  EXPECT_TRUE(strata::ResultSucceeded(Ostra::kKeyAlreadyExists));
  EXPECT_NE(Ostra::kSuccess, Ostra::kKeyAlreadyExists);
}

TEST(ResultCodes, FamilyCodesHaveTheirFixedValues) {
  EXPECT_EQ(0xA00F0001u, static_cast<std::uint32_t>(Ostra::eUnknown));
  EXPECT_EQ(0xA00F000Au, static_cast<std::uint32_t>(Ostra::eFileAlreadyExists));
  EXPECT_EQ(0x200F0001u, static_cast<std::uint32_t>(Ostra::kKeyAlreadyExists));
  EXPECT_EQ(0x80000000u, static_cast<std::uint32_t>(Ostra::eFailure));
}

}  // namespace
