// Collects the trace lines of one category while it lives, from any
// thread, as "<category>:<level> <text>"; restores the previous sink and
// turns the category off again when it goes. One at a time per process.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "strata/Debug.h"

namespace OstraTest {

class TraceCapture {
 public:
  TraceCapture(const char* inCategory, int inLevel) : mCategory(inCategory) {
    strata::debug::SetTraceLevel(mCategory, inLevel);
    mPrevious = strata::debug::SetTraceSink(
        [this](const char* inLineCategory, int inLineLevel, const std::string& inText) {
          std::lock_guard<std::mutex> lock(mMutex);
          mLines.push_back(std::string(inLineCategory) + ":" + std::to_string(inLineLevel) + " " +
                           inText);
        });
  }
  ~TraceCapture() {
    strata::debug::SetTraceSink(mPrevious);
    strata::debug::SetTraceLevel(mCategory, 0);
  }
  std::vector<std::string> Lines() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mLines;
  }

 private:
  std::string mCategory;
  strata::debug::TraceSink mPrevious;
  std::mutex mMutex;
  std::vector<std::string> mLines;
};

}  // namespace OstraTest
