// Ends the test process with a message when a scenario does not finish in
// time, so that a hang fails with the scenario's name instead of running
// into the test runner's time limit. One thread per Watchdog, armed and
// disarmed as often as needed; the destructor disarms.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

#if defined(_WIN32)
#  include <windows.h>
#endif

namespace OstraTest {

class Watchdog {
 public:
  // Armed at once for inWhat when inLimit is not zero.
  explicit Watchdog(const std::string& inWhat = std::string(),
                    std::chrono::seconds inLimit = std::chrono::seconds(0))
      : mThread([this] { Watch(); }) {
    if (inLimit.count() > 0) Arm(inWhat, inLimit);
  }
  ~Watchdog() {
    {
      std::lock_guard<std::mutex> lock(mMutex);
      mArmed = false;
      mEnding = true;
    }
    mChanged.notify_all();
    mThread.join();
  }
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  // From now on, inWhat must end (Disarm or another Arm) within inLimit.
  void Arm(const std::string& inWhat, std::chrono::seconds inLimit = std::chrono::seconds(60)) {
    {
      std::lock_guard<std::mutex> lock(mMutex);
      mWhat = inWhat;
      mLimit = inLimit;
      mDeadline = std::chrono::steady_clock::now() + inLimit;
      mArmed = true;
    }
    mChanged.notify_all();
  }
  void Disarm() {
    std::lock_guard<std::mutex> lock(mMutex);
    mArmed = false;
  }

 private:
  void Watch() {
    std::unique_lock<std::mutex> lock(mMutex);
    while (!mEnding) {
      if (!mArmed) {
        mChanged.wait(lock);
        continue;
      }
      const std::chrono::steady_clock::time_point deadline = mDeadline;
      if (mChanged.wait_until(lock, deadline) == std::cv_status::timeout && mArmed &&
          deadline == mDeadline) {
        std::fprintf(stderr, "\nwatchdog: %s did not finish within %lld s; ending the process\n",
                     mWhat.c_str(), static_cast<long long>(mLimit.count()));
        std::fflush(stderr);
        std::fflush(stdout);
#if defined(_WIN32)
        // Ends the process without the loader lock, which a hang inside
        // the system may hold: exiting would wait for it.
        ::TerminateProcess(::GetCurrentProcess(), 124);
#endif
        std::_Exit(124);
      }
    }
  }

  std::mutex mMutex;
  std::condition_variable mChanged;
  std::string mWhat;
  std::chrono::seconds mLimit{0};
  std::chrono::steady_clock::time_point mDeadline;
  bool mArmed = false;
  bool mEnding = false;
  std::thread mThread;  // last: starts once everything above is built
};

}  // namespace OstraTest
