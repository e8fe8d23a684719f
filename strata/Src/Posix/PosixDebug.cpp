// Diagnostics of the POSIX build: standard error stands in for the
// debugger's output, and a tracer named in /proc is the attached debugger.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include "Platform.h"
#include "strata/Debug.h"

namespace strata {
namespace debug {

bool IsDebuggerAttached() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.compare(0, 10, "TracerPid:") == 0) return std::atoi(line.c_str() + 10) != 0;
  }
  return false;
}

}  // namespace debug

namespace platform {

void WriteDiagnosticText(const std::string& inText) {
  std::fwrite(inText.data(), 1, inText.size(), stderr);
  std::fflush(stderr);
}

void BreakIntoDebugger() { std::raise(SIGTRAP); }

std::string GetEnvironmentText(const char* inName) {
  const char* value = std::getenv(inName);
  return value ? std::string(value) : std::string();
}

}  // namespace platform
}  // namespace strata
