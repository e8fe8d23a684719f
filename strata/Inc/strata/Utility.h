/// \file
/// Small value types and helpers of the core library: immutable shared
/// strings, flag sets, GUIDs, a high-precision clock, module paths and file
/// name rules. All are thread-safe to use from several threads on distinct
/// objects; ImmutableString copies may be shared freely.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "strata/String.h"

namespace strata {
namespace utility {

/// A UTF-8 string that never changes after construction; copies share it.
/// Station names of the messaging service are ImmutableStrings.
///
/// Threading: copies may be made, read and dropped on any threads at once.
/// Failures: making one from a text throws std::bad_alloc when memory runs
/// out; nothing else fails.
class STRATA_API ImmutableString {
 public:
  /// The empty string, or a copy of the text.
  ///@{
  ImmutableString();
  ImmutableString(const char* inText);         // NOLINT: implicit by design
  ImmutableString(const std::string& inText);  // NOLINT: implicit by design
  ///@}

  /// The text, as std::string does.
  ///@{
  const std::string& str() const;
  const char* c_str() const { return str().c_str(); }
  bool empty() const { return str().empty(); }
  ///@}

  /// Compare the texts.
  ///@{
  friend bool operator==(const ImmutableString& inA, const ImmutableString& inB) {
    return inA.mText == inB.mText || inA.str() == inB.str();
  }
  friend bool operator!=(const ImmutableString& inA, const ImmutableString& inB) { return !(inA == inB); }
  friend bool operator<(const ImmutableString& inA, const ImmutableString& inB) { return inA.str() < inB.str(); }
  ///@}

 private:
  std::shared_ptr<const std::string> mText;
};

/// A set of bits of an unsigned integer type, as the timecode conversions
/// take their options.
///
/// A plain value: distinct objects may be used from different threads.
/// Failures: none; every operation is a bit operation that cannot fail.
template <class T>
class Flags {
 public:
  /// The given bits; none by default.
  Flags(T inBits = T()) : mBits(inBits) {}  // NOLINT: implicit by design
  T Get() const { return mBits; }  ///< all bits
  /// Whether every bit of inBits is set; false for no bits.
  bool IsSet(T inBits) const { return (mBits & inBits) == inBits && inBits != T(); }
  /// Whether any bit of inBits is set.
  bool IsAnySet(T inBits) const { return (mBits & inBits) != T(); }
  /// Set or clear the bits of inBits; the others stay.
  ///@{
  Flags& Set(T inBits) { mBits = static_cast<T>(mBits | inBits); return *this; }
  Flags& Clear(T inBits) { mBits = static_cast<T>(mBits & ~inBits); return *this; }
  Flags& operator|=(T inBits) { return Set(inBits); }
  ///@}
  /// Compare all bits.
  ///@{
  friend bool operator==(Flags inA, Flags inB) { return inA.mBits == inB.mBits; }
  friend bool operator!=(Flags inA, Flags inB) { return inA.mBits != inB.mBits; }
  ///@}

 private:
  T mBits;
};

/// A 128-bit globally unique identifier, as the library uses for temporary
/// names and probe files.
///
/// A plain value: distinct objects may be used from different threads, and
/// CreateUnique is thread-safe. Failures: none; CreateUnique always makes
/// one.
class STRATA_API Guid {
 public:
  Guid();  ///< all zero
  /// A new random (version 4) GUID from the system's generator.
  static Guid CreateUnique();
  /// "1B4E28BA-2FA1-11D2-883F-0016D3CCA427": upper-case, no braces, so the
  /// text can be used in a file name.
  UTF16String AsString() const;
  bool IsNull() const;  ///< whether all 16 bytes are zero
  const unsigned char* GetBytes() const { return mBytes; }  ///< the 16 bytes
  /// Compare all 16 bytes.
  ///@{
  friend STRATA_API bool operator==(const Guid& inA, const Guid& inB);
  friend bool operator!=(const Guid& inA, const Guid& inB) { return !(inA == inB); }
  ///@}

 private:
  unsigned char mBytes[16];
};

/// The system's high-resolution monotonic clock, for measuring short
/// spans.
///
/// Threading: every member is thread-safe. Failures: none; the system's
/// clock cannot fail on the platforms the library runs on.
class STRATA_API HighPrecisionTime {
 public:
  /// A monotonic time stamp in GetFrequency() units per second.
  static std::uint64_t GetCurrentTimeStamp();
  static std::uint64_t GetFrequency();  ///< time stamp units per second
  /// The difference of two time stamps in seconds.
  static double ToSeconds(std::uint64_t inTimeStampDelta);
};

/// The full path of the file a module was loaded from (no length limit);
/// a null module means the process's executable. Empty when unknown.
STRATA_API UTF16String GetModulePath(void* inModuleHandle);

/// File name rules of the platform. The separators are '\' and '/'; the
/// characters illegal in a file name are \ / : * ? " < > |.
///
/// Threading: pure functions, thread-safe. Failures: none; bad input gives
/// the stated empty or false answer (IsHidden answers false for a path it
/// cannot read).
class STRATA_API FileUtils {
 public:
  /// The path with one '\' added when it does not end in a separator. An
  /// empty path stays empty.
  static UTF16String AddTrailingSlash(const UTF16String& inPath);
  /// The path without its trailing separators.
  static UTF16String RemoveTrailingSlash(const UTF16String& inPath);
  static bool HasTrailingSlash(const UTF16String& inPath);  ///< ends in a separator
  /// Not empty and free of the illegal characters.
  static bool IsValidFileName(const UTF16String& inName);
  static UTF16String GetIllegalFilenameCharacters();  ///< all nine, unseparated
  /// True when the entry exists and carries the hidden attribute.
  static bool IsHidden(const UTF16String& inPath);
};

}  // namespace utility
}  // namespace strata
