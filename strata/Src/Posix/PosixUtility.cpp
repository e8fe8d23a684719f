// Utilities of the POSIX build: the kernel's random bytes, the monotonic
// clock in nanoseconds, module paths from the dynamic linker, and hidden
// files by the leading-dot rule.
#include <dlfcn.h>
#include <link.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "Platform.h"
#include "strata/Utility.h"

namespace strata {
namespace utility {

std::uint64_t HighPrecisionTime::GetCurrentTimeStamp() {
  timespec now;
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1000000000u + static_cast<std::uint64_t>(now.tv_nsec);
}

std::uint64_t HighPrecisionTime::GetFrequency() { return 1000000000u; }

double HighPrecisionTime::ToSeconds(std::uint64_t inTimeStampDelta) {
  return static_cast<double>(inTimeStampDelta) / 1e9;
}

UTF16String GetModulePath(void* inModuleHandle) {
  if (!inModuleHandle) {
    std::vector<char> buffer(4096);
    for (;;) {
      const ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
      if (length < 0) return UTF16String();
      if (static_cast<std::size_t>(length) < buffer.size())
        return string::StdToUTF16String(std::string(buffer.data(), static_cast<std::size_t>(length)));
      buffer.resize(buffer.size() * 2);
    }
  }
  link_map* map = nullptr;
  if (::dlinfo(inModuleHandle, RTLD_DI_LINKMAP, &map) != 0 || !map || !map->l_name)
    return UTF16String();
  return string::StdToUTF16String(map->l_name);
}

bool FileUtils::IsHidden(const UTF16String& inPath) {
  if (inPath.empty()) return false;
  const std::string path = string::UTF16toStdString(inPath);
  struct stat status;
  if (::lstat(path.c_str(), &status) != 0) return false;
  const std::string::size_type slash = path.find_last_of('/');
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  return name.size() > 1 && name[0] == '.' && name != "..";
}

}  // namespace utility

namespace platform {

bool GetRandomBytes(unsigned char* outBytes, std::size_t inCount) {
  return ::getrandom(outBytes, inCount, 0) == static_cast<ssize_t>(inCount);
}

void* AllocateAligned(std::size_t inSize, std::size_t inAlignment) {
  void* data = nullptr;
  return ::posix_memalign(&data, inAlignment, inSize) == 0 ? data : nullptr;
}

void FreeAligned(void* inData) { std::free(inData); }

}  // namespace platform
}  // namespace strata
