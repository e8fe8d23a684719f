#include <atomic>
#include <cstdint>
#include <sstream>

#include "Ostra/Language.h"
#include "Ostra/RegistryKey.h"
#include "strata/Threads.h"

namespace Ostra {

namespace {

// Taken before the registry-path lock when both are needed.
strata::threads::RecursiveMutex sLanguageMutex;
std::atomic<bool> sLanguageKnown{false};
std::atomic<unsigned short> sLanguageID{0};
const UTF16String sLanguageValueName(L"Language");

const unsigned short kDefaultLanguageID = 1033;  // English (United States)

struct LocaleCode {
  const wchar_t* mCode;
  unsigned short mLanguageID;
};

// Searched in this order in both directions.
const LocaleCode kLocaleCodes[] = {
    {L"en_US", 1033}, {L"de_DE", 1031}, {L"fr_FR", 1036}, {L"it_IT", 1040},
    {L"ja_JP", 1041}, {L"es_ES", 1034}, {L"nl_NL", 1043}, {L"sv_SE", 1053},
    {L"cs_CZ", 1029}, {L"ko_KR", 1042}, {L"pl_PL", 1045}, {L"pt_BR", 1046},
    {L"ru_RU", 1049}, {L"tr_TR", 1055}, {L"zh_CN", 2052}, {L"zh_TW", 1028},
};

// A known code, else the decimal number the text starts with (leading
// white space skipped, low 16 bits kept), else 0.
unsigned short LocaleCodeToLanguageID(const UTF16String& inCode) {
  for (const LocaleCode& entry : kLocaleCodes)
    if (inCode == entry.mCode) return entry.mLanguageID;
  std::wistringstream stream(inCode);
  std::uint32_t number = 0;
  if (!(stream >> number)) return 0;
  return static_cast<unsigned short>(number & 0xFFFFu);
}

void StoreLanguageID(unsigned short inLanguageID) {
  strata::threads::RecursiveMutex::ScopedLock lock(sLanguageMutex);
  sLanguageID.store(inLanguageID, std::memory_order_relaxed);
  sLanguageKnown.store(true, std::memory_order_release);
}

}  // namespace

unsigned short GetLanguageID() {
  if (sLanguageKnown.load(std::memory_order_acquire))
    return sLanguageID.load(std::memory_order_relaxed);
  strata::threads::RecursiveMutex::ScopedLock lock(sLanguageMutex);
  if (sLanguageKnown.load(std::memory_order_relaxed))
    return sLanguageID.load(std::memory_order_relaxed);

  unsigned short languageID = kDefaultLanguageID;
  RegistryKey key;
  if (strata::ResultSucceeded(
          key.Open(RegistryRootKeys::kUser, GetRegistryBaseKey(), RegistryKeyAccess::kRead))) {
    UTF16String code;
    key.GetStringValue(sLanguageValueName, code);  // a failed read leaves it empty
    if (!code.empty()) languageID = LocaleCodeToLanguageID(code);
  }
  sLanguageID.store(languageID, std::memory_order_relaxed);
  sLanguageKnown.store(true, std::memory_order_release);
  return languageID;
}

unsigned short GetPrimaryLanguageID() { return GetLanguageID() & 0x3FF; }

void SetLanguageID(unsigned short inLanguageID) { StoreLanguageID(inLanguageID); }

UTF16String GetLanguageString() {
  const unsigned short languageID = GetLanguageID();
  for (const LocaleCode& entry : kLocaleCodes)
    if (entry.mLanguageID == languageID) return entry.mCode;
  return L"en_US";
}

void SetLanguageString(const UTF16String& inLocaleCode) {
  StoreLanguageID(LocaleCodeToLanguageID(inLocaleCode));
}

}  // namespace Ostra
