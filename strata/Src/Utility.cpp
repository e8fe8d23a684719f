#include "strata/Utility.h"

#include <cstring>
#include <random>

#include "Platform.h"

namespace strata {
namespace utility {

// ------------------------------------------------------------ ImmutableString

namespace {

// Every empty string shares one allocation, so default construction is cheap.
const std::shared_ptr<const std::string>& GetSharedEmpty() {
  static const std::shared_ptr<const std::string> sEmpty = std::make_shared<const std::string>();
  return sEmpty;
}

std::shared_ptr<const std::string> MakeShared(const std::string& inText) {
  if (inText.empty()) return GetSharedEmpty();
  return std::make_shared<const std::string>(inText);
}

}  // namespace

ImmutableString::ImmutableString() : mText(GetSharedEmpty()) {}

ImmutableString::ImmutableString(const char* inText)
    : mText(inText && *inText ? std::make_shared<const std::string>(inText) : GetSharedEmpty()) {}

ImmutableString::ImmutableString(const std::string& inText) : mText(MakeShared(inText)) {}

const std::string& ImmutableString::str() const {
  // A moved-from object has no text; it reads as empty.
  return mText ? *mText : *GetSharedEmpty();
}

// ------------------------------------------------------------------- Guid

Guid::Guid() { std::memset(mBytes, 0, sizeof(mBytes)); }

bool Guid::IsNull() const {
  for (unsigned char byte : mBytes) {
    if (byte != 0) return false;
  }
  return true;
}

bool operator==(const Guid& inA, const Guid& inB) {
  return std::memcmp(inA.mBytes, inB.mBytes, sizeof(inA.mBytes)) == 0;
}

Guid Guid::CreateUnique() {
  Guid guid;
  if (!platform::GetRandomBytes(guid.mBytes, sizeof(guid.mBytes))) {
    // The system generator does not fail in practice; should it, the
    // runtime's generator still gives a usable identifier.
    std::random_device device;
    for (unsigned char& byte : guid.mBytes) byte = static_cast<unsigned char>(device());
  }
  // Version 4 lives in the top nibble of Data3, stored little-endian.
  guid.mBytes[7] = static_cast<unsigned char>((guid.mBytes[7] & 0x0F) | 0x40);
  // RFC variant: the top two bits of Data4[0] are 10.
  guid.mBytes[8] = static_cast<unsigned char>((guid.mBytes[8] & 0x3F) | 0x80);
  return guid;
}

UTF16String Guid::AsString() const {
  // The first three fields are stored little-endian, as in the Windows GUID
  // structure, and printed most significant byte first.
  static const int kOrder[16] = {3, 2, 1, 0, 5, 4, 7, 6, 8, 9, 10, 11, 12, 13, 14, 15};
  static const wchar_t kHex[] = L"0123456789ABCDEF";
  UTF16String result;
  result.reserve(36);
  for (int i = 0; i < 16; ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) result += L'-';
    const unsigned char byte = mBytes[kOrder[i]];
    result += kHex[byte >> 4];
    result += kHex[byte & 0x0F];
  }
  return result;
}

// -------------------------------------------------------------- FileUtils

namespace {

const wchar_t kIllegalFilenameCharacters[] = L"\\/:*?\"<>|";

bool IsSeparator(wchar_t inChar) { return inChar == L'\\' || inChar == L'/'; }

}  // namespace

UTF16String FileUtils::AddTrailingSlash(const UTF16String& inPath) {
  if (inPath.empty() || IsSeparator(inPath.back())) return inPath;
  return inPath + L'\\';
}

UTF16String FileUtils::RemoveTrailingSlash(const UTF16String& inPath) {
  std::size_t end = inPath.size();
  while (end > 0 && IsSeparator(inPath[end - 1])) --end;
  return inPath.substr(0, end);
}

bool FileUtils::HasTrailingSlash(const UTF16String& inPath) {
  return !inPath.empty() && IsSeparator(inPath.back());
}

bool FileUtils::IsValidFileName(const UTF16String& inName) {
  return !inName.empty() && inName.find_first_of(kIllegalFilenameCharacters) == UTF16String::npos;
}

UTF16String FileUtils::GetIllegalFilenameCharacters() { return kIllegalFilenameCharacters; }

}  // namespace utility

namespace platform {

UTF16String GetExecutableBaseName() {
  const UTF16String path = utility::GetModulePath(nullptr);
  const std::size_t slash = path.find_last_of(L"\\/");
  UTF16String name = slash == UTF16String::npos ? path : path.substr(slash + 1);
  const std::size_t dot = name.rfind(L'.');
  if (dot != UTF16String::npos && dot > 0) name.erase(dot);
  return name;
}

}  // namespace platform
}  // namespace strata
