#include <atomic>

#include "Ostra/Language.h"
#include "strata/Config.h"
#include "strata/Threads.h"

namespace Ostra {

namespace {

// One lock for the four paths. The language lock may be held while it is
// taken (GetLanguageID reads the base key), never the other way round.
strata::threads::RecursiveMutex sPathMutex;

struct CachedPath {
  std::atomic<bool> mBuilt{false};
  UTF16String mText;
};

CachedPath sBaseKey;
CachedPath sCurrentVersionKey;
CachedPath sHelpKey;
CachedPath sSettingsKey;

const wchar_t kCompanyKey[] = L"Software\\Corvane\\";

// Builds the path once; later calls read it without the lock. The client
// name and version are taken as they are when the path is first built.
template <class Builder>
const UTF16String& GetCachedPath(CachedPath& ioPath, Builder inBuild) {
  if (ioPath.mBuilt.load(std::memory_order_acquire)) return ioPath.mText;
  strata::threads::RecursiveMutex::ScopedLock lock(sPathMutex);
  if (!ioPath.mBuilt.load(std::memory_order_relaxed)) {
    ioPath.mText = inBuild();
    ioPath.mBuilt.store(true, std::memory_order_release);
  }
  return ioPath.mText;
}

}  // namespace

const UTF16String& GetRegistryBaseKey() {
  return GetCachedPath(sBaseKey, [] {
    return kCompanyKey + strata::config::GetClientName() + L"\\" +
           strata::config::GetClientInternalVersion() + L"\\";
  });
}

const UTF16String& GetRegistryCurrentVersionKey() {
  return GetCachedPath(sCurrentVersionKey, [] {
    return kCompanyKey + strata::config::GetClientName() + L"\\CurrentVersion";
  });
}

const UTF16String& GetRegistryHelpKey() {
  return GetCachedPath(sHelpKey, [] { return GetRegistryBaseKey() + L"Help\\"; });
}

const UTF16String& GetRegistrySettingsKey() {
  return GetCachedPath(sSettingsKey, [] { return GetRegistryBaseKey() + L"Settings\\"; });
}

}  // namespace Ostra
