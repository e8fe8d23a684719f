// Results, the library's start and stop, error texts, lists of texts, and
// the block caches: the library's own and a host's given as C callbacks.
#include <atomic>
#include <cstring>

#include "Boundary.h"
#include "Ostra/BlockCache.h"
#include "Ostra/ErrorReports.h"
#include "Ostra/Foundation.h"
#include "Ostra/OstraVersion.h"
#include "Ostra/Result.h"
#include "strata/Executor.h"

using namespace OstraC;
using strata::classref::InterfaceRef;

struct ostra_block_cache {
  static constexpr HandleKind kKind = HandleKind::kBlockCache;
  explicit ostra_block_cache(InterfaceRef<Ostra::BlockCache> inCache)
      : mCache(std::move(inCache)) {}
  InterfaceRef<Ostra::BlockCache> mCache;
};

// A block handed to a host's cache. The host's references and the
// library's share one count; the last release deletes the handle, and the
// block's memory goes when the last file or handle lets it go.
struct ostra_block {
  static constexpr HandleKind kKind = HandleKind::kBlock;
  explicit ostra_block(Ostra::SharedBlock inBlock) : mBlock(std::move(inBlock)) {}
  Ostra::SharedBlock mBlock;
  std::atomic<std::uint32_t> mReferences{1};
};

namespace {

void ReleaseBlock(ostra_block& ioBlock) {
  if (ioBlock.mReferences.fetch_sub(1, std::memory_order_acq_rel) == 1) Destroy(&ioBlock);
}

class HostFactory;

// One file's view of a host's cache: forwards each call to the callbacks.
class HostBuffer : public Ostra::IFileBuffer {
 public:
  HostBuffer(InterfaceRef<HostFactory> inFactory, const ostra_file_buffer_callbacks& inCallbacks,
             void* inBuffer)
      : mFactory(std::move(inFactory)), mCallbacks(inCallbacks), mBuffer(inBuffer) {}
  ~HostBuffer() override {
    if (mCallbacks.release_buffer) mCallbacks.release_buffer(mBuffer);
  }

  void SetFile(const std::uint64_t& inLastModificationTime, const UTF16String& inPath,
               const std::uint64_t& inSize) override {
    if (mCallbacks.set_file)
      mCallbacks.set_file(mBuffer, inLastModificationTime,
                          reinterpret_cast<const uint16_t*>(inPath.c_str()), inSize);
  }

  void AddBlock(Ostra::SharedBlock inBlock, std::uint64_t inOffset) override {
    ostra_block* block = nullptr;
    try {
      New(&block, std::move(inBlock));
    } catch (const std::bad_alloc&) {
      return;  // the block is simply not cached
    }
    mCallbacks.add_block(mBuffer, block, inOffset);
    ReleaseBlock(*block);
  }

  Ostra::Result GetBlock(std::uint64_t inOffset, std::uint32_t inSize,
                         Ostra::SharedBlock& outBlock) override {
    ostra_block* block = nullptr;
    const ostra_result result = mCallbacks.get_block(mBuffer, inOffset, inSize, &block);
    if (result < 0) return result;
    // A host's mistake (no block, or one of another size) is a miss: a
    // wrong block would hand out wrong bytes.
    if (!IsHandle(block, HandleKind::kBlock)) return Ostra::eUnknown;
    Ostra::SharedBlock found = block->mBlock;
    ReleaseBlock(*block);
    if (!found || found->GetSize() != inSize) return Ostra::eUnknown;
    outBlock = std::move(found);
    return result;
  }

  void UnpinBlock(std::uint64_t inOffset, std::uint32_t inSize) override {
    if (mCallbacks.unpin_block) mCallbacks.unpin_block(mBuffer, inOffset, inSize);
  }
  void PinBlock(std::uint64_t inOffset, std::uint32_t inSize) override {
    if (mCallbacks.pin_block) mCallbacks.pin_block(mBuffer, inOffset, inSize);
  }

 private:
  InterfaceRef<HostFactory> mFactory;  // its context outlives every buffer
  ostra_file_buffer_callbacks mCallbacks;
  void* mBuffer;
};

class HostFactory : public Ostra::IFileBufferFactory {
 public:
  explicit HostFactory(const ostra_file_buffer_callbacks& inCallbacks) : mCallbacks(inCallbacks) {}
  ~HostFactory() override {
    if (mCallbacks.release_factory) mCallbacks.release_factory(mCallbacks.context);
  }

  InterfaceRef<Ostra::IFileBuffer> CreateFileBuffer() override {
    void* buffer = nullptr;
    if (mCallbacks.create_buffer(mCallbacks.context, &buffer) < 0 || !buffer) return {};
    try {
      return strata::classref::MakeInterface<HostBuffer>(InterfaceRef<HostFactory>(this),
                                                         mCallbacks, buffer);
    } catch (...) {
      if (mCallbacks.release_buffer) mCallbacks.release_buffer(buffer);
      throw;
    }
  }

 private:
  ostra_file_buffer_callbacks mCallbacks;
};

}  // namespace

extern "C" {

// ------------------------------------------------- results and the library

OSTRA_C_API const char* ostra_version_string(void) { return Ostra::GetVersionString(); }

OSTRA_C_API ostra_result ostra_result_text(ostra_result result, uint16_t* out, size_t capacity,
                                           size_t* out_length) {
  return Call(__func__, [&] { return Out(ResultText(result), out, capacity, out_length); });
}

// Not through Call: reading the last error must never replace it.
OSTRA_C_API ostra_result ostra_last_error_text(uint16_t* out, size_t capacity,
                                               size_t* out_length) {
  std::size_t length = 0;
  const uint16_t* text = LastErrorText(length);
  if (!out && capacity != 0) return OSTRA_E_INVALID_ARGUMENT;
  if (!out && !out_length) return OSTRA_SUCCESS;
  if (out_length) *out_length = length;
  if (capacity <= length) return OSTRA_E_BUFFER_TOO_SMALL;
  std::memcpy(out, text, length * sizeof(uint16_t));
  out[length] = 0;
  return OSTRA_SUCCESS;
}

OSTRA_C_API ostra_result ostra_initialize(void) {
  return Call(__func__, [] { Ostra::Foundation::Initialize(); });
}

OSTRA_C_API ostra_result ostra_terminate(void) {
  return Call(__func__, [] { Ostra::Foundation::Terminate(); });
}

OSTRA_C_API ostra_result ostra_run_main_thread_calls(uint64_t* out_count) {
  return Call(__func__, [&] { OSTRA_C_REF(out_count) = strata::threads::RunMainThreadCalls(); });
}

OSTRA_C_API ostra_result ostra_system_error_to_result(uint32_t system_error,
                                                      ostra_result* out_result) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_result) = Ostra::Win::SystemErrorToOstraResult(system_error);
  });
}

OSTRA_C_API ostra_result ostra_win32_error_message(uint32_t error_code, uint16_t* out,
                                                   size_t capacity, size_t* out_length) {
  return Call(__func__, [&] {
    return Out(Ostra::Win32ErrorCodeToMessage(error_code), out, capacity, out_length);
  });
}

OSTRA_C_API ostra_result ostra_win32_exception_code_text(uint32_t exception_code, uint16_t* out,
                                                         size_t capacity, size_t* out_length) {
  return Call(__func__, [&] {
    return Out(Ostra::Win32ExceptionCodeToString(exception_code), out, capacity, out_length);
  });
}

OSTRA_C_API ostra_result ostra_exception_record_report(const void* exception_record,
                                                       uint16_t* out, size_t capacity,
                                                       size_t* out_length) {
  return Call(__func__, [&] {
    const auto* record = static_cast<const _EXCEPTION_RECORD*>(exception_record);
    return Out(Ostra::ReportStructuredExceptionRecordInformation(OSTRA_C_REF(record)), out,
               capacity, out_length);
  });
}

// ------------------------------------------------------------ text lists

OSTRA_C_API ostra_result ostra_string_list_new(ostra_string_list** out_list) {
  return Call(__func__, [&] { New(out_list); });
}

OSTRA_C_API ostra_result ostra_string_list_destroy(ostra_string_list* list) {
  return Call(__func__, [&] { Destroy(list); });
}

OSTRA_C_API ostra_result ostra_string_list_count(const ostra_string_list* list,
                                                 uint64_t* out_count) {
  return Call(__func__, [&] { OSTRA_C_REF(out_count) = Use(list).mItems.size(); });
}

OSTRA_C_API ostra_result ostra_string_list_get(const ostra_string_list* list, uint64_t index,
                                               uint16_t* out, size_t capacity,
                                               size_t* out_length) {
  return Call(__func__, [&] {
    const std::vector<UTF16String>& items = Use(list).mItems;
    if (index >= items.size()) Fail(OSTRA_E_INVALID_ARGUMENT, "index is past the end");
    return Out(items[index], out, capacity, out_length);
  });
}

OSTRA_C_API ostra_result ostra_string_list_append(ostra_string_list* list,
                                                  const uint16_t* text) {
  return Call(__func__, [&] { Use(list).mItems.push_back(OSTRA_C_TEXT(text)); });
}

// ----------------------------------------------------------- block caches

OSTRA_C_API ostra_result ostra_block_cache_new(uint64_t byte_budget,
                                               ostra_block_cache** out_cache) {
  return Call(__func__, [&] { New(out_cache, Ostra::BlockCache::Create(byte_budget)); });
}

OSTRA_C_API ostra_result ostra_block_cache_destroy(ostra_block_cache* cache) {
  return Call(__func__, [&] { Destroy(cache); });
}

OSTRA_C_API ostra_result ostra_block_cache_set_byte_budget(ostra_block_cache* cache,
                                                           uint64_t byte_budget) {
  return Call(__func__, [&] { Use(cache).mCache->SetByteBudget(byte_budget); });
}

OSTRA_C_API ostra_result ostra_block_cache_get_byte_budget(const ostra_block_cache* cache,
                                                           uint64_t* out_byte_budget) {
  return Call(__func__,
              [&] { OSTRA_C_REF(out_byte_budget) = Use(cache).mCache->GetByteBudget(); });
}

OSTRA_C_API ostra_result ostra_block_cache_get_statistics(
    const ostra_block_cache* cache, ostra_block_cache_statistics* out_statistics) {
  return Call(__func__, [&] {
    ostra_block_cache_statistics& out = OSTRA_C_REF(out_statistics);
    if (out.struct_size < sizeof(ostra_block_cache_statistics))
      Fail(OSTRA_E_INVALID_ARGUMENT, "out_statistics->struct_size is too small");
    const Ostra::BlockCacheStatistics statistics = Use(cache).mCache->GetStatistics();
    out.reserved = 0;
    out.hits = statistics.hits;
    out.misses = statistics.misses;
    out.additions = statistics.additions;
    out.evictions = statistics.evictions;
    out.blocks = statistics.blocks;
    out.bytes = statistics.bytes;
    out.pinned_blocks = statistics.pinnedBlocks;
    out.pinned_bytes = statistics.pinnedBytes;
    out.byte_budget = statistics.byteBudget;
    out.hit_rate = statistics.HitRate();
  });
}

OSTRA_C_API ostra_result ostra_block_cache_reset_counters(ostra_block_cache* cache) {
  return Call(__func__, [&] { Use(cache).mCache->ResetCounters(); });
}

OSTRA_C_API ostra_result ostra_block_cache_clear(ostra_block_cache* cache) {
  return Call(__func__, [&] { Use(cache).mCache->Clear(); });
}

OSTRA_C_API ostra_result ostra_block_cache_install(ostra_block_cache* cache) {
  return Call(__func__, [&] { Ostra::Foundation::SetFileBufferFactory(Use(cache).mCache); });
}

OSTRA_C_API ostra_result ostra_block_retain(ostra_block* block) {
  return Call(__func__,
              [&] { Use(block).mReferences.fetch_add(1, std::memory_order_relaxed); });
}

OSTRA_C_API ostra_result ostra_block_release(ostra_block* block) {
  return Call(__func__, [&] { ReleaseBlock(Use(block)); });
}

OSTRA_C_API ostra_result ostra_block_data(const ostra_block* block, const void** out_data,
                                          uint64_t* out_size) {
  return Call(__func__, [&] {
    const Ostra::SharedBlock& memory = Use(block).mBlock;
    OSTRA_C_REF(out_data) = memory->GetData();
    OSTRA_C_REF(out_size) = memory->GetSize();
  });
}

OSTRA_C_API ostra_result ostra_file_buffer_factory_install(
    const ostra_file_buffer_callbacks* callbacks) {
  return Call(__func__, [&] {
    const ostra_file_buffer_callbacks& table = OSTRA_C_REF(callbacks);
    if (table.struct_size < sizeof(ostra_file_buffer_callbacks))
      Fail(OSTRA_E_INVALID_ARGUMENT, "callbacks->struct_size is too small");
    if (!table.create_buffer || !table.add_block || !table.get_block)
      Fail(OSTRA_E_INVALID_ARGUMENT, "create_buffer, add_block and get_block are required");
    Ostra::Foundation::SetFileBufferFactory(strata::classref::MakeInterface<HostFactory>(table));
  });
}

OSTRA_C_API ostra_result ostra_file_buffer_factory_uninstall(void) {
  return Call(__func__, [] { Ostra::Foundation::SetFileBufferFactory({}); });
}

}  // extern "C"
