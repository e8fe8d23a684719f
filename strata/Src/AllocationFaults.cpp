// The one countdown of allocation faults for the whole process: both
// libraries' operator new ask it (AllocationFaults.h).
#include "AllocationFaults.h"

#include <atomic>

namespace strata {
namespace internal {

namespace {

std::atomic<bool> sArmed{false};
std::atomic<std::uint64_t> sCounted{0};
std::atomic<std::uint64_t> sNth{0};
std::atomic<AllocationFaultFilter> sFilter{nullptr};

}  // namespace

void ArmAllocationFault(std::uint64_t inNth, AllocationFaultFilter inFilter) {
  sArmed = false;
  sCounted = 0;
  sNth = inNth;
  sFilter = inFilter;
  sArmed = true;
}

std::uint64_t DisarmAllocationFault() {
  sArmed = false;
  return sCounted.load();
}

bool AllocationShouldFail() {
  if (!sArmed.load(std::memory_order_relaxed)) return false;
  // Exactly one thread sees the count reach the armed number.
  if (sCounted.fetch_add(1) + 1 != sNth.load()) return false;
  const AllocationFaultFilter filter = sFilter.load();
  return !filter || filter();
}

}  // namespace internal
}  // namespace strata
