#include <gtest/gtest.h>

#include <cstdint>

#include "Ostra/Result.h"

namespace {

using Ostra::Win::SystemErrorToOstraResult;

TEST(SystemErrorMapping, MapsEachKnownErrorToItsCode) {
  const struct {
    unsigned long system;
    Ostra::Result expected;
  } rows[] = {
      {2, Ostra::eFileNotFound},      {3, Ostra::ePathNotFound},   {5, Ostra::eAccessDenied},
      {32, Ostra::eSharingViolation}, {39, Ostra::eDiskFull},      {112, Ostra::eDiskFull},
      {183, Ostra::eFileAlreadyExists},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.system);
    EXPECT_EQ(row.expected, SystemErrorToOstraResult(row.system));
  }
}

TEST(SystemErrorMapping, EverythingElseIsUnknownAndNeverSuccess) {
  // 0 and 1 included: callers translate only after a call reported failure.
  // 80 (file exists) is deliberately not mapped.
  for (unsigned long system : {0ul, 1ul, 4ul, 80ul, 184ul, 1235ul, 0xFFFFFFFFul}) {
    SCOPED_TRACE(system);
    EXPECT_EQ(Ostra::eUnknown, SystemErrorToOstraResult(system));
  }
  for (unsigned long system = 0; system < 20000; ++system)
    ASSERT_FALSE(strata::ResultSucceeded(SystemErrorToOstraResult(system))) << system;
}

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
