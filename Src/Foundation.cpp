#include "LibraryState.h"

namespace Ostra {
namespace Foundation {

namespace {

// Built when the DLL loads, before any host call can arrive.
strata::threads::RecursiveMutex sLibraryMutex;
strata::classref::InterfaceRef<IFileBufferFactory> sFileBufferFactory;

}  // namespace

strata::threads::RecursiveMutex& GetLibraryMutex() { return sLibraryMutex; }

strata::classref::InterfaceRef<IFileBufferFactory> GetFileBufferFactory() {
  strata::threads::RecursiveMutex::ScopedLock lock(sLibraryMutex);
  return sFileBufferFactory;
}

void SetFileBufferFactory(strata::classref::InterfaceRef<IFileBufferFactory> inFactory) {
  strata::threads::RecursiveMutex::ScopedLock lock(sLibraryMutex);
  // The library keeps the argument's reference; the previous factory's
  // reference goes back into the argument and is released when this call
  // returns, after the unlock, so no factory code runs under the mutex.
  sFileBufferFactory.Swap(inFactory);
}

}  // namespace Foundation
}  // namespace Ostra
