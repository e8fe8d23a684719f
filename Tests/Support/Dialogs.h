// Helpers many tests share: UTF-16 text readable in failure messages, and
// assertion dialogs that let the code under test carry on.
#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "strata/Debug.h"
#include "strata/String.h"

namespace OstraTest {

inline std::string Show(const strata::UTF16String& inText) {
  return strata::string::UTF16toStdString(inText);
}

// While alive, every assertion dialog is answered with "continue" and
// recorded (from any thread); the previous hook comes back at the end.
class ContinueDialogs {
 public:
  ContinueDialogs()
      : mPrevious(strata::debug::SetDialogHook([this](const strata::debug::DialogInfo& inInfo) {
          std::lock_guard<std::mutex> lock(mMutex);
          mSeen.push_back(inInfo);
          return strata::debug::DialogAction::kContinue;
        })) {}
  ~ContinueDialogs() { strata::debug::SetDialogHook(mPrevious); }
  ContinueDialogs(const ContinueDialogs&) = delete;
  ContinueDialogs& operator=(const ContinueDialogs&) = delete;

  std::vector<strata::debug::DialogInfo> Seen() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mSeen;
  }
  std::vector<std::string> Messages() const {
    std::vector<std::string> messages;
    for (const strata::debug::DialogInfo& info : Seen()) messages.push_back(info.message);
    return messages;
  }

 private:
  mutable std::mutex mMutex;
  std::vector<strata::debug::DialogInfo> mSeen;
  strata::debug::DialogHook mPrevious;
};

}  // namespace OstraTest
