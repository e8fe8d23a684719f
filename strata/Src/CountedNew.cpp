// Every form of the global operator new and delete, compiled into each
// library of the fault-injection build (OSTRA_FAULT_INJECTION), so that
// the library's own allocations go through the allocation-fault countdown
// (AllocationFaults.h) and the host's do not. Memory comes from malloc
// (and _aligned_malloc for over-aligned types), as the C++ runtime's own
// operator new does, so a block may be freed by either side.
#include <malloc.h>

#include <cstdlib>
#include <new>

#include "AllocationFaults.h"

namespace {

void* Allocate(std::size_t inSize, std::size_t inAlignment, bool inThrow) {
  if (inSize == 0) inSize = 1;
  if (strata::internal::AllocationShouldFail()) {
    if (inThrow) throw std::bad_alloc();
    return nullptr;
  }
  for (;;) {
    void* block = inAlignment ? _aligned_malloc(inSize, inAlignment) : std::malloc(inSize);
    if (block) return block;
    const std::new_handler handler = std::get_new_handler();
    if (!handler) {
      if (inThrow) throw std::bad_alloc();
      return nullptr;
    }
    handler();  // may throw std::bad_alloc, which the nothrow forms turn into null
  }
}

void* AllocateNoThrow(std::size_t inSize, std::size_t inAlignment) noexcept {
  try {
    return Allocate(inSize, inAlignment, false);
  } catch (...) {
    return nullptr;
  }
}

std::size_t AlignmentOf(std::align_val_t inAlignment) {
  return static_cast<std::size_t>(inAlignment);
}

}  // namespace

void* operator new(std::size_t inSize) { return Allocate(inSize, 0, true); }
void* operator new[](std::size_t inSize) { return Allocate(inSize, 0, true); }
void* operator new(std::size_t inSize, const std::nothrow_t&) noexcept {
  return AllocateNoThrow(inSize, 0);
}
void* operator new[](std::size_t inSize, const std::nothrow_t&) noexcept {
  return AllocateNoThrow(inSize, 0);
}
void* operator new(std::size_t inSize, std::align_val_t inAlignment) {
  return Allocate(inSize, AlignmentOf(inAlignment), true);
}
void* operator new[](std::size_t inSize, std::align_val_t inAlignment) {
  return Allocate(inSize, AlignmentOf(inAlignment), true);
}
void* operator new(std::size_t inSize, std::align_val_t inAlignment,
                   const std::nothrow_t&) noexcept {
  return AllocateNoThrow(inSize, AlignmentOf(inAlignment));
}
void* operator new[](std::size_t inSize, std::align_val_t inAlignment,
                     const std::nothrow_t&) noexcept {
  return AllocateNoThrow(inSize, AlignmentOf(inAlignment));
}

void operator delete(void* inBlock) noexcept { std::free(inBlock); }
void operator delete[](void* inBlock) noexcept { std::free(inBlock); }
void operator delete(void* inBlock, const std::nothrow_t&) noexcept { std::free(inBlock); }
void operator delete[](void* inBlock, const std::nothrow_t&) noexcept { std::free(inBlock); }
void operator delete(void* inBlock, std::size_t) noexcept { std::free(inBlock); }
void operator delete[](void* inBlock, std::size_t) noexcept { std::free(inBlock); }
void operator delete(void* inBlock, std::align_val_t) noexcept { _aligned_free(inBlock); }
void operator delete[](void* inBlock, std::align_val_t) noexcept { _aligned_free(inBlock); }
void operator delete(void* inBlock, std::align_val_t, const std::nothrow_t&) noexcept {
  _aligned_free(inBlock);
}
void operator delete[](void* inBlock, std::align_val_t, const std::nothrow_t&) noexcept {
  _aligned_free(inBlock);
}
void operator delete(void* inBlock, std::size_t, std::align_val_t) noexcept {
  _aligned_free(inBlock);
}
void operator delete[](void* inBlock, std::size_t, std::align_val_t) noexcept {
  _aligned_free(inBlock);
}
