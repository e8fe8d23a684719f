// Linked into every GoogleTest program: each test runs under a watchdog, so
// that a hang anywhere ends the program with the name of the test that hung
// (instead of a runner's time-out that names only the program, whose brief
// output does not say which test was running). OSTRA_TEST_TIME_LIMIT sets
// the limit in seconds.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "Watchdog.h"

namespace {

std::chrono::seconds Limit() {
  const char* text = std::getenv("OSTRA_TEST_TIME_LIMIT");
  const long seconds = text ? std::strtol(text, nullptr, 10) : 0;
  // Well above the slowest test under a sanitizer on a loaded machine, and
  // below CTest's limit for a whole program.
  return std::chrono::seconds(seconds > 0 ? seconds : 150);
}

class TimeLimit : public ::testing::EmptyTestEventListener {
 public:
  void OnTestStart(const ::testing::TestInfo& inTest) override {
    mWatchdog.Arm(std::string(inTest.test_suite_name()) + "." + inTest.name(), mLimit);
  }
  void OnTestEnd(const ::testing::TestInfo&) override { mWatchdog.Disarm(); }

 private:
  const std::chrono::seconds mLimit = Limit();
  OstraTest::Watchdog mWatchdog;
};

// The listener list owns it. Output is unbuffered, so that a program ended
// by a time limit has shown everything up to the test that hung.
const bool gInstalled = [] {
  std::setvbuf(stdout, nullptr, _IONBF, 0);
  ::testing::UnitTest::GetInstance()->listeners().Append(new TimeLimit);
  return true;
}();

}  // namespace
