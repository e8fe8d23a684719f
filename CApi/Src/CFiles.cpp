// Files, the operations on files by path, and the asynchronous reader.
#include "Boundary.h"
#include "Ostra/AsyncFileReader.h"
#include "Ostra/File.h"

using namespace OstraC;
using Ostra::File;

struct ostra_file {
  static constexpr HandleKind kKind = HandleKind::kFile;
  explicit ostra_file(uint32_t inKind)
      : mShared(inKind == OSTRA_FILE_SHARED ? new Ostra::SharedFile : nullptr),
        mFile(mShared ? mShared : new File) {}
  Ostra::SharedFile* mShared;  // owned by mFile; null for a plain file
  std::unique_ptr<File> mFile;
};

struct ostra_async_reader {
  static constexpr HandleKind kKind = HandleKind::kAsyncReader;
  Ostra::AsyncFileReader mReader;
};

namespace {

// The bits each flag argument may hold.
constexpr uint32_t kAccessBits = OSTRA_ACCESS_READ | OSTRA_ACCESS_WRITE | OSTRA_ACCESS_EXECUTE;
constexpr uint32_t kShareBits = OSTRA_SHARE_READ | OSTRA_SHARE_WRITE | OSTRA_SHARE_DELETE;
constexpr uint32_t kDispositionBits = OSTRA_CREATE_NEW | OSTRA_CREATE_ALWAYS | OSTRA_OPEN_ALWAYS |
                                      OSTRA_OPEN_EXISTING | OSTRA_TRUNCATE_EXISTING;
constexpr uint32_t kAttributeBits = OSTRA_ATTRIBUTE_NORMAL | OSTRA_ATTRIBUTE_SEQUENTIAL_SCAN |
                                    OSTRA_ATTRIBUTE_NO_BUFFERING |
                                    OSTRA_ATTRIBUTE_BACKUP_SEMANTICS |
                                    OSTRA_ATTRIBUTE_ALLOW_CACHING;

Ostra::FileAccessFlags::Type Access(uint32_t inAccess) {
  return FlagsArg<Ostra::FileAccessFlags::Type>(inAccess, kAccessBits, "access has unknown bits");
}

struct Progress {
  ostra_copy_progress_callback mCallback;
  void* mContext;
};
bool ReportProgress(float inFraction, void* inProgress) {
  const Progress& progress = *static_cast<const Progress*>(inProgress);
  return progress.mCallback(inFraction, progress.mContext) != 0;
}

// The C++ reader's three contexts carry the handle, the caller's context
// and the caller's callback.
void CompleteRead(const Ostra::AsyncFileReader*, std::uint64_t inOffset, std::uint32_t inRequested,
                  std::uint32_t inRead, void* inBuffer, void* inHandle, void* inContext,
                  void* inCallback, int inResult) {
  reinterpret_cast<ostra_async_read_callback>(inCallback)(
      static_cast<ostra_async_reader*>(inHandle), inOffset, inRequested, inRead, inBuffer,
      inContext, inResult);
}

// A query of a file path by a static File function with a 64-bit answer.
typedef Ostra::Result (*PathQuery)(const UTF16String&, std::uint64_t&);
ostra_result FileTimeOrSize(const char* inFunction, PathQuery inQuery, const uint16_t* inPath,
                            uint64_t* outValue) {
  return Call(inFunction, [&] {
    uint64_t& value = OSTRA_C_REF(outValue);
    return inQuery(Text(inPath, "path is null"), value);
  });
}

}  // namespace

extern "C" {

// ------------------------------------------------------------------- files

OSTRA_C_API ostra_result ostra_file_new(uint32_t kind, ostra_file** out_file) {
  return Call(__func__, [&] {
    if (kind != OSTRA_FILE_PLAIN && kind != OSTRA_FILE_SHARED)
      Fail(OSTRA_E_INVALID_ARGUMENT, "kind is neither OSTRA_FILE_PLAIN nor OSTRA_FILE_SHARED");
    New(out_file, kind);
  });
}

OSTRA_C_API ostra_result ostra_file_destroy(ostra_file* file) {
  return Call(__func__, [&] { Destroy(file); });
}

OSTRA_C_API ostra_result ostra_file_create(ostra_file* file, const uint16_t* path,
                                           uint32_t access, uint32_t share_mode,
                                           uint32_t disposition, uint32_t attributes,
                                           int32_t allow_directory) {
  return Call(__func__, [&] {
    File& opened = *Use(file).mFile;
    return opened.Create(
        OSTRA_C_TEXT(path), Access(access),
        FlagsArg<Ostra::FileShareModeFlags::Type>(share_mode, kShareBits,
                                                  "share_mode has unknown bits"),
        FlagsArg<Ostra::FileCreateDispositionFlags::Type>(disposition, kDispositionBits,
                                                          "disposition has unknown bits"),
        FlagsArg<Ostra::FileAttributesFlags::Type>(attributes, kAttributeBits,
                                                   "attributes has unknown bits"),
        allow_directory != 0);
  });
}

OSTRA_C_API ostra_result ostra_file_open(ostra_file* file, const uint16_t* path, uint32_t access,
                                         int32_t exists_check) {
  return Call(__func__, [&] {
    File& opened = *Use(file).mFile;
    return File::Open(OSTRA_C_TEXT(path), Access(access), opened, exists_check != 0);
  });
}

OSTRA_C_API ostra_result ostra_file_read(ostra_file* file, void* buffer, uint32_t count,
                                         uint32_t* out_read) {
  return Call(__func__, [&] {
    File& opened = *Use(file).mFile;
    uint32_t& read = OSTRA_C_REF(out_read);
    if (!buffer && count) Fail(OSTRA_E_INVALID_ARGUMENT, "buffer is null");
    return opened.Read(buffer, count, read);
  });
}

OSTRA_C_API ostra_result ostra_file_read_at(ostra_file* file, void* buffer, int64_t offset,
                                            uint32_t count, uint32_t* out_read) {
  return Call(__func__, [&] {
    Ostra::SharedFile* shared = Use(file).mShared;
    if (!shared) Fail(OSTRA_E_INVALID_ARGUMENT, "the file was not made OSTRA_FILE_SHARED");
    uint32_t& read = OSTRA_C_REF(out_read);
    if (!buffer && count) Fail(OSTRA_E_INVALID_ARGUMENT, "buffer is null");
    return shared->ReadAt(buffer, offset, count, read);
  });
}

OSTRA_C_API ostra_result ostra_file_write(ostra_file* file, const void* buffer, uint32_t count,
                                          uint32_t* out_written) {
  return Call(__func__, [&] {
    File& opened = *Use(file).mFile;
    uint32_t& written = OSTRA_C_REF(out_written);
    if (!buffer && count) Fail(OSTRA_E_INVALID_ARGUMENT, "buffer is null");
    return opened.Write(buffer, count, written);
  });
}

OSTRA_C_API ostra_result ostra_file_set_pointer(ostra_file* file, int64_t distance,
                                                int32_t method) {
  return Call(__func__, [&] {
    return Use(file).mFile->SetFilePointer(
        distance, EnumArg<Ostra::FilePointerMoveMethod::Type>(method, 3, "method is undefined"));
  });
}

OSTRA_C_API ostra_result ostra_file_get_pointer(const ostra_file* file, int64_t* out_position) {
  return Call(__func__, [&] {
    const File& opened = *Use(file).mFile;
    return opened.GetFilePointer(OSTRA_C_REF(out_position));
  });
}

OSTRA_C_API ostra_result ostra_file_flush(ostra_file* file) {
  return Call(__func__, [&] { return Use(file).mFile->Flush(); });
}

OSTRA_C_API ostra_result ostra_file_set_end_of_file(ostra_file* file) {
  return Call(__func__, [&] { return Use(file).mFile->SetEndOfFile(); });
}

OSTRA_C_API ostra_result ostra_file_close(ostra_file* file) {
  return Call(__func__, [&] { Use(file).mFile->Close(); });
}

OSTRA_C_API ostra_result ostra_file_is_open(const ostra_file* file, int32_t* out_answer) {
  return Call(__func__, [&] {
    const File& opened = *Use(file).mFile;
    OSTRA_C_REF(out_answer) = opened.IsOpen();
  });
}

OSTRA_C_API ostra_result ostra_file_get_platform_handle(ostra_file* file, void** out_handle) {
  return Call(__func__, [&] {
    File& opened = *Use(file).mFile;
    OSTRA_C_REF(out_handle) = opened.GetPlatformFileHandle();
  });
}

OSTRA_C_API ostra_result ostra_file_set_buffer_size(ostra_file* file, uint32_t size) {
  return Call(__func__, [&] { Use(file).mFile->SetBufferSize(size); });
}

OSTRA_C_API ostra_result ostra_file_set_multi_buffer_count(ostra_file* file, int32_t count) {
  return Call(__func__, [&] { Use(file).mFile->SetMultiBufferCount(count); });
}

OSTRA_C_API ostra_result ostra_file_set_read_ahead(ostra_file* file, uint32_t blocks) {
  return Call(__func__, [&] { Use(file).mFile->SetReadAhead(blocks); });
}

OSTRA_C_API ostra_result ostra_file_get_creation_time(const ostra_file* file,
                                                      uint64_t* out_time) {
  return Call(__func__, [&] {
    const File& opened = *Use(file).mFile;
    return opened.GetCreationTime(OSTRA_C_REF(out_time));
  });
}

OSTRA_C_API ostra_result ostra_file_get_last_modification_time(const ostra_file* file,
                                                               uint64_t* out_time) {
  return Call(__func__, [&] {
    const File& opened = *Use(file).mFile;
    return opened.GetLastModificationTime(OSTRA_C_REF(out_time));
  });
}

OSTRA_C_API ostra_result ostra_file_size_on_disk(const ostra_file* file, uint64_t* out_size) {
  return Call(__func__, [&] {
    const File& opened = *Use(file).mFile;
    OSTRA_C_REF(out_size) = opened.SizeOnDisk();
  });
}

OSTRA_C_API ostra_result ostra_file_get_file_system_type(const ostra_file* file,
                                                         int32_t* out_type) {
  return Call(__func__, [&] {
    const File& opened = *Use(file).mFile;
    OSTRA_C_REF(out_type) = opened.GetFileSystemType();
  });
}

// ----------------------------------------------------------- files by path

OSTRA_C_API ostra_result ostra_file_copy(const uint16_t* from, const uint16_t* to) {
  return Call(__func__, [&] { return File::Copy(OSTRA_C_TEXT(from), OSTRA_C_TEXT(to)); });
}

OSTRA_C_API ostra_result ostra_file_copy_with_progress(const uint16_t* from, const uint16_t* to,
                                                       ostra_copy_progress_callback callback,
                                                       void* context) {
  return Call(__func__, [&] {
    Progress progress{OSTRA_C_REF(callback), context};
    return File::CopyWithProgress(OSTRA_C_TEXT(from), OSTRA_C_TEXT(to), &ReportProgress,
                                  &progress);
  });
}

OSTRA_C_API ostra_result ostra_file_move(const uint16_t* from, const uint16_t* to) {
  return Call(__func__, [&] { return File::Move(OSTRA_C_TEXT(from), OSTRA_C_TEXT(to)); });
}

OSTRA_C_API ostra_result ostra_file_delete(const uint16_t* path) {
  return Call(__func__, [&] { return File::Delete(OSTRA_C_TEXT(path)); });
}

OSTRA_C_API ostra_result ostra_file_swap_temp_file(const uint16_t* temp_path,
                                                   const uint16_t* target_path) {
  return Call(__func__, [&] {
    return File::SwapTempFile(OSTRA_C_TEXT(temp_path), OSTRA_C_TEXT(target_path));
  });
}

OSTRA_C_API ostra_result ostra_file_make_unique_temp_path(const uint16_t* path,
                                                          int32_t keep_extension, uint16_t* out,
                                                          size_t capacity, size_t* out_length) {
  return Call(__func__, [&] {
    return Out(File::MakeUniqueTempPath(OSTRA_C_TEXT(path), keep_extension != 0), out, capacity,
               out_length);
  });
}

OSTRA_C_API ostra_result ostra_file_get_creation_time_of_path(const uint16_t* path,
                                                              uint64_t* out_time) {
  return FileTimeOrSize(__func__, static_cast<PathQuery>(&File::GetCreationTime), path, out_time);
}

OSTRA_C_API ostra_result ostra_file_get_last_modification_time_of_path(const uint16_t* path,
                                                                       uint64_t* out_time) {
  return FileTimeOrSize(__func__, static_cast<PathQuery>(&File::GetLastModificationTime), path,
                        out_time);
}

OSTRA_C_API ostra_result ostra_file_get_last_modification_time_of_folder(const uint16_t* path,
                                                                         uint64_t* out_time) {
  return FileTimeOrSize(__func__, &File::GetLastModificationTimeForFolder, path, out_time);
}

OSTRA_C_API ostra_result ostra_file_size_on_disk_of_path(const uint16_t* path,
                                                         uint64_t* out_size) {
  return FileTimeOrSize(__func__, static_cast<PathQuery>(&File::SizeOnDisk), path, out_size);
}

// ------------------------------------------------------- asynchronous reader

OSTRA_C_API ostra_result ostra_async_reader_new(ostra_async_reader** out_reader) {
  return Call(__func__, [&] { New(out_reader); });
}

OSTRA_C_API ostra_result ostra_async_reader_destroy(ostra_async_reader* reader) {
  return Call(__func__, [&] { Destroy(reader); });
}

OSTRA_C_API ostra_result ostra_async_reader_open(ostra_async_reader* reader,
                                                 const uint16_t* path) {
  return Call(__func__, [&] {
    Ostra::AsyncFileReader& opened = Use(reader).mReader;
    return Ostra::AsyncFileReader::Open(OSTRA_C_TEXT(path), opened);
  });
}

OSTRA_C_API ostra_result ostra_async_reader_queue_read(ostra_async_reader* reader,
                                                       uint64_t offset, uint32_t size,
                                                       void* buffer,
                                                       ostra_async_read_callback callback,
                                                       void* context) {
  return Call(__func__, [&] {
    Ostra::AsyncFileReader& opened = Use(reader).mReader;
    if (!buffer && size) Fail(OSTRA_E_INVALID_ARGUMENT, "buffer is null");
    if (!callback)
      return opened.QueueReadRequest(offset, size, buffer, nullptr, nullptr, nullptr, nullptr);
    return opened.QueueReadRequest(offset, size, buffer, &CompleteRead, reader, context,
                                   reinterpret_cast<void*>(callback));
  });
}

OSTRA_C_API ostra_result ostra_async_reader_wait_for_pending_reads(ostra_async_reader* reader) {
  return Call(__func__, [&] { Use(reader).mReader.WaitForPendingReads(); });
}

OSTRA_C_API ostra_result ostra_async_reader_close(ostra_async_reader* reader) {
  return Call(__func__, [&] { Use(reader).mReader.Close(); });
}

OSTRA_C_API ostra_result ostra_async_reader_get_sector_size(const ostra_async_reader* reader,
                                                            uint32_t* out_size) {
  return Call(__func__, [&] {
    const Ostra::AsyncFileReader& opened = Use(reader).mReader;
    OSTRA_C_REF(out_size) = opened.GetDiskSectorSize();
  });
}

}  // extern "C"
