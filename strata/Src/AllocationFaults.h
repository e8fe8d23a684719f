// Allocation faults on demand, for the libraries' own tests: while armed,
// the allocations of strata and OstraFoundation themselves (their operator
// new in every form, and recycled memory) are counted, and the Nth of them
// fails as if memory had run out. The host's allocations are not counted:
// each library has its own operator new (CountedNew.cpp), which asks here
// first. Built only with the CMake option OSTRA_FAULT_INJECTION; not part
// of the installed headers.
#pragma once

#include <cstdint>

#include "strata/StrataConfig.h"

namespace strata {
namespace internal {

// Asked, on the allocating thread, when the countdown reaches its
// allocation: true lets it fail, false lets it succeed (a site the test
// knows it must not fail). It must not allocate through the libraries.
typedef bool (*AllocationFaultFilter)();

// Starts counting from 0; the inNth allocation from now fails (only that
// one; 0 fails none). inFilter may be null.
STRATA_API void ArmAllocationFault(std::uint64_t inNth, AllocationFaultFilter inFilter);
// Stops counting; returns the allocations counted since ArmAllocationFault.
STRATA_API std::uint64_t DisarmAllocationFault();

// Counts one allocation; true when it is the one to fail. Called by the
// libraries' allocation functions only.
STRATA_API bool AllocationShouldFail();

}  // namespace internal
}  // namespace strata
