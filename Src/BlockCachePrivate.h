// What the library's File tells the library's own block cache beyond
// IFileBuffer::SetFile, which carries only path, last-write time and size:
// enough to tell apart two versions of a file that agree on those three (a
// same-size rewrite whose write time was kept or set back), and how far the
// File reads ahead, which sizes the ring of a File that streams. Exported
// only for the library's tests; not part of the public interface.
//
// How the File reaches its buffer: IFileBuffer's slots are fixed (host
// caches are built against them), and a host's buffer comes from another
// module, maybe another compiler, so neither a new slot nor a dynamic_cast
// on it is safe. The cache instead keeps the addresses of the buffers it
// made while they live, and the File asks whether its buffer is one of
// them: a buffer the File holds a reference to is alive, so its address
// cannot belong to a host's object meanwhile. A host's buffer is never
// called beyond its documented slots.
#pragma once

#include <cstdint>

#include "Ostra/Foundation.h"
#include "Ostra/OstraConfig.h"

namespace Ostra {

// FILETIME counts 100 ns from 1601; this is 1970, where the C library's
// clocks start.
constexpr std::uint64_t kFileTimeAt1970 = 116444736000000000ull;

// Zero in a field means the file system did not say.
struct FileIdentity {
  std::uint64_t volume = 0;      // the volume's serial number
  std::uint64_t idHigh = 0;      // the file's id on the volume (128 bits; NTFS fills
  std::uint64_t idLow = 0;       // only the low 64)
  std::uint64_t changeTime = 0;  // FILETIME of the last change of data or attributes
};

// The library's own buffers take the identity of the file they serve; the
// File hands it over just before SetFile, which then keys the version by it.
class LibraryFileBuffer {
 public:
  virtual void SetFileIdentity(const FileIdentity& inIdentity) noexcept = 0;
  // The File's read-ahead in blocks (File::SetReadAhead), whenever it is
  // set on an open File and once after SetFile.
  virtual void SetReadAhead(std::uint32_t inBlocks) noexcept = 0;

 protected:
  ~LibraryFileBuffer() = default;
};

// inBuffer when it is a buffer of the library's BlockCache, else null (a
// host's buffer, or none).
OSTRA_API LibraryFileBuffer* AsLibraryFileBuffer(IFileBuffer* inBuffer) noexcept;

}  // namespace Ostra
