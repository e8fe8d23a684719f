#include "LibraryState.h"

#include <cstdint>

#include "Ostra/AsyncFileReader.h"
#include "Ostra/IdleTimer.h"
#include "strata/Debug.h"
#include "strata/Executor.h"
#include "strata/Messaging.h"

namespace Ostra {
namespace Foundation {

namespace {

// Built when the DLL loads, before any host call can arrive.
strata::threads::RecursiveMutex sLibraryMutex;
strata::classref::InterfaceRef<IFileBufferFactory> sFileBufferFactory;

// The lifecycle, guarded by the library mutex.
std::uint32_t sInitializeCount = 0;
strata::threads::AsyncEventLoopAdaptorRef sMainThreadRegistration;

const char kStartupTime[] = "StartupTime";

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

void Initialize() {
  strata::threads::RecursiveMutex::ScopedLock lock(sLibraryMutex);
  if (sInitializeCount == 0) {
    strata::debug::GlobalTimeMeasurement::IntermediateMeasurementWithLogging(
        kStartupTime, "Start Initializing OstraFoundation");
    StartupAsyncFileOperations();
    sMainThreadRegistration = strata::threads::RegisterCurrentThreadAsMainThread();
    const strata::utility::ImmutableString* const stations[] = {
        &kStation_Idle,      &kStation_Repeat,      &kStation_AppSuspend,
        &kStation_AppResume, &kStation_AboutDialog, &kStation_StatusBar};
    for (const strata::utility::ImmutableString* station : stations)
      strata::messaging::RegisterStation(*station);
    strata::debug::GlobalTimeMeasurement::IntermediateMeasurementWithLogging(
        kStartupTime, "Finish Initializing OstraFoundation");
  }
  ++sInitializeCount;
}

void Terminate() {
  strata::threads::RecursiveMutex::ScopedLock lock(sLibraryMutex);
  // Deliberately unguarded: an unmatched Terminate wraps the count and
  // shuts nothing down.
  if (sInitializeCount-- != 1) return;
  if (sMainThreadRegistration) sMainThreadRegistration->Unregister();
  sMainThreadRegistration.reset();
  ShutdownAsyncFileOperations();
  strata::debug::ShutdownTraceManager();
}

}  // namespace Foundation
}  // namespace Ostra
