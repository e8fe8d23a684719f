#include <windows.h>

#include <cstdio>
#include <vector>

#include "Platform.h"
#include "strata/Debug.h"

namespace strata {
namespace debug {

bool IsDebuggerAttached() { return ::IsDebuggerPresent() != FALSE; }

}  // namespace debug

namespace platform {

void WriteDiagnosticText(const std::string& inText) {
  ::OutputDebugStringW(string::StdToUTF16String(inText).c_str());
  std::fwrite(inText.data(), 1, inText.size(), stderr);
  std::fflush(stderr);
}

void BreakIntoDebugger() { ::DebugBreak(); }

std::string GetEnvironmentText(const char* inName) {
  const UTF16String name = string::StdToUTF16String(inName);
  std::vector<wchar_t> buffer(256);
  for (;;) {
    const DWORD length = ::GetEnvironmentVariableW(name.c_str(), buffer.data(),
                                                   static_cast<DWORD>(buffer.size()));
    if (length == 0) return std::string();
    if (length < buffer.size()) return string::UTF16toStdString(UTF16String(buffer.data(), length));
    buffer.resize(length);
  }
}

}  // namespace platform
}  // namespace strata
