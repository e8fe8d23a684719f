/// \file
/// \class Ostra::Module
/// One loaded executable module (a DLL or the program itself): loads it by
/// path or adopts a handle the caller has, finds exported functions, reports
/// its file path, and finds and maps its embedded resources, optionally in
/// the user-interface language (Ostra/Language.h).
///
/// Modules are handed out through boost::shared_ptr. One made by Load frees
/// the module when it is destroyed unless told otherwise; one made by Create
/// never does. Resource pointers belong to the module and stay valid while
/// it is loaded.
///
/// Threading: lookups may run on several threads at once; GetPath and
/// SetUnloadOnDestroy need one thread at a time.
///
/// Failures: Load and Create return Result codes (the translated loader
/// error); a resource that is not found comes back as a null pointer. An
/// empty path or procedure name breaks the input contract, which throws.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include <boost/shared_ptr.hpp>

#include "Ostra/OstraConfig.h"
#include "Ostra/Result.h"

/// The module handle as <windows.h> declares it, so that this header does not
/// pull in <windows.h>. The functions take HINSTANCE__* (what HINSTANCE is in
/// the default STRICT mode) so that they also compile for a host built with
/// NO_STRICT, whose HINSTANCE is void* and needs a cast.
struct HINSTANCE__;
#if !defined(NO_STRICT) || defined(STRICT)
typedef HINSTANCE__* HINSTANCE;
#endif

namespace Ostra {

class OSTRA_API Module {
 public:
  /// An exported function as GetProcAddress returns it; cast it to its real
  /// type before calling.
  typedef int (*ProcPointer)();

  /// Loads the module (LoadLibraryW) and hands it out so that destroying the
  /// last reference frees it. On failure outModule is untouched and the
  /// result is the translated loader error (a missing module is error 126,
  /// eUnknown). An empty path breaks the input contract.
  static Result Load(const UTF16String& inModulePath, boost::shared_ptr<Module>& outModule);
  /// Wraps a module the caller already has, without ever freeing it. The
  /// handle is not checked; null stands for the program's own executable.
  static Result Create(HINSTANCE__* inModuleHandle, boost::shared_ptr<Module>& outModule);

  virtual ~Module();

  // The resource operations return the resource's bytes, or null when it is
  // not found, and store its size in bytes in outSize only when they find it.
  // inName and inType are texts or integer ids made with MAKEINTRESOURCEW.

  /// The copy in the user-interface language (GetLanguageID), else the one
  /// the system chooses for language 0 (LANG_NEUTRAL); no retry when the
  /// interface language itself is 0.
  virtual void* FindLocalizedResource(const wchar_t* inName, const wchar_t* inType,
                                      int& outSize) const;
  /// The English (United States) copy only.
  virtual void* FindNonLocalizedResource(const wchar_t* inName, const wchar_t* inType,
                                         int& outSize) const;
  /// The copy the system chooses (FindResourceW).
  virtual void* LoadResource(const wchar_t* inName, const wchar_t* inType, int& outSize) const;
  /// LoadResource above with MAKEINTRESOURCEW(inID).
  virtual void* LoadResource(std::int16_t inID, const UTF16String& inType, int& outSize);
  /// The first integer-named resource of the type, localised if possible.
  /// outSize is 0 when there is none.
  virtual void* LoadFirstResourceOfType(const wchar_t* inType, int& outSize) const;
  /// Does nothing: mapped resources need no release.
  virtual void UnloadResource(const void* inResource) const;

  /// The exported function, or null. An empty name breaks the input contract.
  ProcPointer GetProcAddress(const std::string& inProcName) const;
  /// The full path of the module's file, looked up once and then cached.
  void GetPath(UTF16String& outPath);
  /// The handle loaded or adopted; null for Create(nullptr).
  HINSTANCE__* GetNativeModule() const;
  /// Whether destroying this object frees the module (FreeLibrary).
  void SetUnloadOnDestroy(bool inUnloadOnDestroy);

 protected:
  /// For Load and Create, and for subclasses.
  Module(HINSTANCE__* inModuleHandle, bool inUnloadOnDestroy);

 private:
  Module(const Module&) = delete;
  Module& operator=(const Module&) = delete;

  class PrivateImpl;
  std::unique_ptr<PrivateImpl> mImpl;
};

}  // namespace Ostra
