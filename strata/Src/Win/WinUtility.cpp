#include "strata/Utility.h"

#include <windows.h>
#include <bcrypt.h>
#include <malloc.h>

#include <vector>

#include "Platform.h"

namespace strata {
namespace utility {

// ------------------------------------------------------ HighPrecisionTime

std::uint64_t HighPrecisionTime::GetCurrentTimeStamp() {
  LARGE_INTEGER counter;
  QueryPerformanceCounter(&counter);  // cannot fail on Windows XP and later
  return static_cast<std::uint64_t>(counter.QuadPart);
}

std::uint64_t HighPrecisionTime::GetFrequency() {
  // Fixed at boot, so one query serves the whole run.
  static const std::uint64_t sFrequency = [] {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return static_cast<std::uint64_t>(frequency.QuadPart);
  }();
  return sFrequency;
}

double HighPrecisionTime::ToSeconds(std::uint64_t inTimeStampDelta) {
  return static_cast<double>(inTimeStampDelta) / static_cast<double>(GetFrequency());
}

// ------------------------------------------------------------ Module path

UTF16String GetModulePath(void* inModuleHandle) {
  // Long-path-aware processes may exceed MAX_PATH; the API only says the
  // buffer was too small, so grow it until the name fits.
  const DWORD kMaxLength = 0x10000;
  std::vector<wchar_t> buffer(MAX_PATH);
  for (;;) {
    const DWORD size = static_cast<DWORD>(buffer.size());
    const DWORD length =
        GetModuleFileNameW(static_cast<HMODULE>(inModuleHandle), buffer.data(), size);
    if (length == 0) return UTF16String();
    if (length < size) return UTF16String(buffer.data(), length);
    if (size >= kMaxLength) return UTF16String();
    buffer.resize(size * 2);
  }
}

// -------------------------------------------------------------- FileUtils

namespace {

// Long absolute paths need the extended-length prefix, under which the
// system no longer turns '/' into '\'.
UTF16String ToSystemPath(const UTF16String& inPath) {
  const std::size_t kLegacyMaxLength = MAX_PATH - 1;
  if (inPath.size() <= kLegacyMaxLength) return inPath;
  const bool isDrivePath = inPath.size() >= 3 && inPath[1] == L':' &&
                           (inPath[2] == L'\\' || inPath[2] == L'/') &&
                           ((inPath[0] >= L'A' && inPath[0] <= L'Z') ||
                            (inPath[0] >= L'a' && inPath[0] <= L'z'));
  if (!isDrivePath) return inPath;
  UTF16String result = L"\\\\?\\" + inPath;
  for (wchar_t& c : result) {
    if (c == L'/') c = L'\\';
  }
  return result;
}

}  // namespace

bool FileUtils::IsHidden(const UTF16String& inPath) {
  if (inPath.empty()) return false;
  const DWORD attributes = GetFileAttributesW(ToSystemPath(inPath).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_HIDDEN) != 0;
}

}  // namespace utility

namespace platform {

bool GetRandomBytes(unsigned char* outBytes, std::size_t inCount) {
  return BCryptGenRandom(nullptr, outBytes, static_cast<ULONG>(inCount),
                         BCRYPT_USE_SYSTEM_PREFERRED_RNG) >= 0;
}

void* AllocateAligned(std::size_t inSize, std::size_t inAlignment) {
  return _aligned_malloc(inSize, inAlignment);
}

void FreeAligned(void* inData) { _aligned_free(inData); }

}  // namespace platform
}  // namespace strata
