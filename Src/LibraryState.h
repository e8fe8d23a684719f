// Process-wide state shared by the library's families: the library mutex
// (recursive, so a factory may call back into the library on the same
// thread) and the installed block-cache factory.
#pragma once

#include "Ostra/Foundation.h"
#include "strata/Threads.h"

namespace Ostra {
namespace Foundation {

strata::threads::RecursiveMutex& GetLibraryMutex();

// A new reference to the installed factory (empty when none), taken under
// the library mutex.
strata::classref::InterfaceRef<IFileBufferFactory> GetFileBufferFactory();

}  // namespace Foundation
}  // namespace Ostra
