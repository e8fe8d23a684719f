// What File's shared code needs of the Posix build: a descriptor and its
// owner, and the copy out of a block.
#pragma once

#include <cstdint>
#include <cstring>

namespace Ostra {

typedef int NativeFile;

// Owns one descriptor; -1 is "none". Used by one thread at a time.
class OwnedFile {
 public:
  OwnedFile() = default;
  explicit OwnedFile(int inDescriptor) : mDescriptor(inDescriptor) {}
  ~OwnedFile() { Close(); }
  OwnedFile(OwnedFile&& ioOther) noexcept : mDescriptor(ioOther.Release()) {}
  OwnedFile& operator=(OwnedFile&& ioOther) noexcept {
    if (this != &ioOther) Reset(ioOther.Release());
    return *this;
  }
  OwnedFile(const OwnedFile&) = delete;
  OwnedFile& operator=(const OwnedFile&) = delete;

  bool IsValid() const { return mDescriptor >= 0; }
  int Get() const { return mDescriptor; }
  // Adopts inDescriptor, closing the one held before. Posix/PosixFile.cpp.
  void Reset(int inDescriptor = -1);
  int Release() {
    const int descriptor = mDescriptor;
    mDescriptor = -1;
    return descriptor;
  }
  void Close() { Reset(); }

 private:
  int mDescriptor = -1;
};

inline void CopyBytes(void* outTo, const unsigned char* inFrom, std::uint32_t inCount) {
  std::memcpy(outTo, inFrom, inCount);
}

}  // namespace Ostra
