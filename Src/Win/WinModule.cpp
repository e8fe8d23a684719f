#include <windows.h>

#include <new>
#include <string>

#include "Ostra/Language.h"
#include "Ostra/Module.h"
#include "strata/Debug.h"
#include "strata/Impl.h"
#include "strata/Utility.h"

namespace Ostra {

namespace {

// Contract reports of this file name it so, with their documented lines.
const char kContractSource[] = "WinModule";

const WORD kNeutralLanguage = MAKELANGID(LANG_NEUTRAL, SUBLANG_NEUTRAL);
const WORD kEnglishUS = MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US);
static_assert(kNeutralLanguage == 0 && kEnglishUS == 1033, "language identifiers differ");

// What LoadFirstResourceOfType's enumeration saw.
struct FirstResource {
  bool mFound = false;
  WORD mID = 0;
};

BOOL CALLBACK RecordFirstResource(HMODULE, LPCWSTR, LPWSTR inName, LONG_PTR inParam) {
  FirstResource* first = reinterpret_cast<FirstResource*>(inParam);
  first->mFound = true;
  // Meant for integer names; a string name is taken by its pointer's low 16 bits.
  first->mID = static_cast<WORD>(reinterpret_cast<ULONG_PTR>(inName) & 0xFFFF);
  return FALSE;  // stop at the first
}

// The type as a string: an integer type becomes "#<number>", which the
// resource functions read back as that integer.
UTF16String TypeAsText(const wchar_t* inType) {
  if (IS_INTRESOURCE(inType))
    return L"#" + std::to_wstring(reinterpret_cast<ULONG_PTR>(inType) & 0xFFFF);
  return inType;
}

}  // namespace

class Module::PrivateImpl : public strata::Impl {
 public:
  PrivateImpl(HINSTANCE inModule, bool inUnloadOnDestroy)
      : mModule(inModule), mUnloadOnDestroy(inUnloadOnDestroy) {}

  // Maps a found resource; null when it cannot be loaded.
  void* Map(HRSRC inResource, int& outSize) const {
    HGLOBAL loaded = ::LoadResource(mModule, inResource);
    if (!loaded) return nullptr;
    outSize = static_cast<int>(::SizeofResource(mModule, inResource));
    return ::LockResource(loaded);
  }

  HINSTANCE mModule;
  bool mUnloadOnDestroy;
  UTF16String mPath;  // filled by the first GetPath
};

Module::Module(HINSTANCE inModuleHandle, bool inUnloadOnDestroy)
    : mImpl(new PrivateImpl(inModuleHandle, inUnloadOnDestroy)) {}

Module::~Module() {
  if (mImpl->mUnloadOnDestroy && mImpl->mModule) ::FreeLibrary(mImpl->mModule);
}

Result Module::Load(const UTF16String& inModulePath, boost::shared_ptr<Module>& outModule) {
  STRATA_INPUT_CONTRACT_AT(!inModulePath.empty(), "!inModulePath.empty()", kContractSource, 68);
  HMODULE module = ::LoadLibraryW(inModulePath.c_str());
  if (!module) return Win::SystemErrorToOstraResult(::GetLastError());
  try {
    // Made not to unload, so that a failure below frees the module once.
    boost::shared_ptr<Module> loaded(new Module(module, false));
    loaded->mImpl->mUnloadOnDestroy = true;
    outModule.swap(loaded);
  } catch (const std::bad_alloc&) {
    ::FreeLibrary(module);
    return eOutOfMemory;
  } catch (...) {
    // Anything else passes on, once the module is freed.
    ::FreeLibrary(module);
    throw;
  }
  return kSuccess;
}

// The handle stays the caller's: it is never freed unless asked for with
// SetUnloadOnDestroy(true).
Result Module::Create(HINSTANCE inModuleHandle, boost::shared_ptr<Module>& outModule) {
  try {
    outModule.reset(new Module(inModuleHandle, false));
  } catch (const std::bad_alloc&) {
    return eOutOfMemory;
  }
  return kSuccess;
}

// The retry asks for LANG_NEUTRAL, which Windows (and Wine) take as "use the
// loader's own search": a neutral copy first, then the thread's and the
// user's languages, then English, then any. So a resource with no copy in the
// interface language still comes back in some language when it exists at all.
void* Module::FindLocalizedResource(const wchar_t* inName, const wchar_t* inType,
                                    int& outSize) const {
  const WORD language = GetLanguageID();
  HRSRC found = ::FindResourceExW(mImpl->mModule, inType, inName, language);
  if (!found) {
    // No retry when the interface language is itself the neutral one.
    if (language == kNeutralLanguage) return nullptr;
    found = ::FindResourceExW(mImpl->mModule, inType, inName, kNeutralLanguage);
    if (!found) return nullptr;
  }
  return mImpl->Map(found, outSize);
}

// One lookup in English (United States). The loader itself may still answer
// with a language-neutral copy when there is no English one.
void* Module::FindNonLocalizedResource(const wchar_t* inName, const wchar_t* inType,
                                       int& outSize) const {
  HRSRC found = ::FindResourceExW(mImpl->mModule, inType, inName, kEnglishUS);
  return found ? mImpl->Map(found, outSize) : nullptr;
}

// The loader picks the language, by the same search as the neutral retry.
void* Module::LoadResource(const wchar_t* inName, const wchar_t* inType, int& outSize) const {
  HRSRC found = ::FindResourceW(mImpl->mModule, inName, inType);
  return found ? mImpl->Map(found, outSize) : nullptr;
}

// The 16-bit id as given (a negative one names 0x8000 and up); the type may
// be "#<number>" for an integer type.
void* Module::LoadResource(std::int16_t inID, const UTF16String& inType, int& outSize) {
  return LoadResource(MAKEINTRESOURCEW(static_cast<WORD>(inID)), inType.c_str(), outSize);
}

// The enumeration stops at the first name, which for integer names is the
// lowest id.
void* Module::LoadFirstResourceOfType(const wchar_t* inType, int& outSize) const {
  outSize = 0;
  FirstResource first;
  ::EnumResourceNamesW(mImpl->mModule, inType, RecordFirstResource,
                       reinterpret_cast<LONG_PTR>(&first));
  if (!first.mFound) return nullptr;
  // Both calls are virtual so that a subclass can change the choice.
  void* resource = FindLocalizedResource(MAKEINTRESOURCEW(first.mID), inType, outSize);
  if (!resource) {
    resource = const_cast<Module*>(this)->LoadResource(static_cast<std::int16_t>(first.mID),
                                                       TypeAsText(inType), outSize);
  }
  return resource;
}

// Mapped resources live as long as the module; there is nothing to release.
void Module::UnloadResource(const void*) const {}

// Asked once; an empty answer (an unknown module) is asked again next time.
void Module::GetPath(UTF16String& outPath) {
  if (mImpl->mPath.empty()) mImpl->mPath = strata::utility::GetModulePath(mImpl->mModule);
  outPath = mImpl->mPath;
}

HINSTANCE Module::GetNativeModule() const { return mImpl->mModule; }

void Module::SetUnloadOnDestroy(bool inUnloadOnDestroy) {
  mImpl->mUnloadOnDestroy = inUnloadOnDestroy;
}

Module::ProcPointer Module::GetProcAddress(const std::string& inProcName) const {
  STRATA_INPUT_CONTRACT_AT(!inProcName.empty(), "!inProcName.empty()", kContractSource, 168);
  // Through void (*)() so that the compiler accepts the change of type.
  return reinterpret_cast<ProcPointer>(
      reinterpret_cast<void (*)()>(::GetProcAddress(mImpl->mModule, inProcName.c_str())));
}

}  // namespace Ostra
