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

}  // namespace
