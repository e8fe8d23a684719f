/// \file
/// \class Ostra::RegistryKey
/// Keys of the Windows registry: open or create a key under one of two roots,
/// read and write typed values, delete values and whole sub-trees, list
/// sub-keys. Copies share one open handle, which closes when the last of them
/// goes; Open or Create on any of them re-targets that shared handle for all.
///
/// A process-wide list of read-only values makes writes to them report
/// kSuccess while writing nothing; deleting them is still allowed.
///
/// Threading: a key and its copies are used from one thread at a time; the
/// read-only list may be used from any thread. Nothing here throws on a
/// registry failure: every problem comes back as a Result.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Ostra/OstraConfig.h"
#include "Ostra/Result.h"

namespace Ostra {

namespace RegistryRootKeys {
/// The root a key is opened under.
enum Type : std::int32_t {
  kUser = 0,        ///< HKEY_CURRENT_USER; also used for any value but 1
  kApplication = 1  ///< HKEY_LOCAL_MACHINE
};
}  // namespace RegistryRootKeys

namespace RegistryKeyAccess {
/// Only the two low bits count: both give read and write, bit 0 read, bit 1
/// write; a non-zero value with neither bit (4, say) asks for no access.
enum Type : std::int32_t { kAll = 0, kRead = 1, kWrite = 2, kReadWrite = 3 };
}  // namespace RegistryKeyAccess

class OSTRA_API RegistryKey {
 public:
  /// A closed key: root kUser, empty path, full access for later opens.
  RegistryKey();
  /// Shares inOther's handle, path and root, but always full access for the
  /// keys opened under it later (not inOther's access).
  RegistryKey(const RegistryKey& inOther);
  /// Exchanges with inOther through Swap: this object keeps its own root and
  /// access.
  RegistryKey& operator=(RegistryKey inOther);
  ~RegistryKey();

  /// Exchanges the shared handle and the path only; root and access stay.
  void Swap(RegistryKey& ioOther);

  /// Each stores path, root and access first, so they change even when the
  /// call fails; a failed open keeps the handle the key had. A missing key
  /// gives eFileNotFound, any other failure eOperationFailed.
  Result Open(RegistryRootKeys::Type inRoot, const UTF16String& inPath,
              RegistryKeyAccess::Type inAccess);
  /// Opens inPath under inParent's handle with inParent's access and root.
  Result Open(RegistryKey& inParent, const UTF16String& inPath);
  /// Opens the key if it exists (kKeyAlreadyExists, a success), else creates
  /// it with full access (kSuccess); eOperationFailed when neither works.
  Result Create(RegistryRootKeys::Type inRoot, const UTF16String& inPath);
  /// As above under inParent: first tries inParent's access, then creates
  /// with full access.
  Result Create(RegistryKey& inParent, const UTF16String& inPath);

  // Value readers. An empty name is the key's default value. Every problem
  // (missing value, wrong type, short buffer, bad string) is
  // eOperationFailed; outputs are untouched on failure unless said.

  /// REG_BINARY of any size; an empty value gives an empty vector.
  Result GetBinaryValue(const UTF16String& inName, std::vector<char>& outData) const;
  /// *ioSize is the capacity of outData on entry (cut to 32 bits) and the
  /// byte count on success; unchanged on failure, a short buffer included.
  Result GetBinaryValue(const UTF16String& inName, void* outData, std::size_t* ioSize) const;
  /// REG_DWORD, non-zero meaning true. outValue is false on any failure.
  Result GetBooleanValue(const UTF16String& inName, bool& outValue) const;
  /// REG_SZ or REG_EXPAND_SZ (returned unexpanded), up to the first NUL. A
  /// stored string with an odd byte count or no terminating NUL fails.
  Result GetStringValue(const UTF16String& inName, UTF16String& outValue) const;
  /// As above, converted to UTF-8.
  Result GetStringValue(const UTF16String& inName, std::string& outValue) const;
  /// REG_DWORD.
  Result GetUInt32Value(const UTF16String& inName, std::uint32_t& outValue) const;
  /// REG_QWORD. The value is read straight into outValue, so a 4-byte
  /// REG_DWORD overwrites its low half before the type check fails.
  Result GetUInt64Value(const UTF16String& inName, std::uint64_t& outValue) const;

  /// Value writers. A read-only value (SetRegistryKeyToReadOnly) reports
  /// kSuccess and nothing is written; any failure is eOperationFailed.
  ///@{
  Result SetBinaryValue(const UTF16String& inName, const std::vector<char>& inData);
  /// At most kMaxBinaryValueSize bytes.
  Result SetBinaryValue(const UTF16String& inName, const void* inData, std::size_t inSize);
  /// REG_DWORD 1 or 0.
  Result SetBooleanValue(const UTF16String& inName, bool inValue);
  /// REG_SZ of the characters before the first NUL, plus the terminator.
  Result SetStringValue(const UTF16String& inName, const UTF16String& inValue);
  /// inValue is UTF-8.
  Result SetStringValue(const UTF16String& inName, const std::string& inValue);
  Result SetUInt32Value(const UTF16String& inName, std::uint32_t inValue);
  Result SetUInt64Value(const UTF16String& inName, std::uint64_t inValue);
  ///@}

  /// Any failure, a missing value included, is eOperationFailed. Ignores the
  /// read-only list.
  Result DeleteValue(const UTF16String& inName);
  /// Deletes the sub-key and everything below it: kSuccess, eFileNotFound
  /// when it is missing, eOperationFailed otherwise. Ignores the read-only
  /// list.
  Result DeleteSubKey(const UTF16String& inName);
  /// Appends one open key per sub-key to ioKeys (not cleared first); each
  /// reports its leaf name as its path.
  void EnumerateSubKeys(std::vector<RegistryKey>& ioKeys);

  /// The path given to the last Open or Create, relative to what the key was
  /// opened under; a leaf name for enumerated keys.
  UTF16String GetParentKeyPath() const;
  /// The same whole path as GetParentKeyPath, not its last component.
  UTF16String GetParentKeyPathLastPart() const;

  /// Declares value inName of this key read-only for the rest of the process.
  /// A value is identified by root tag ("User" or "Application"), the stored
  /// path and the name, run together: two objects on one registry key but
  /// with different stored paths name different values.
  void SetRegistryKeyToReadOnly(const UTF16String& inName);
  /// Whether SetRegistryKeyToReadOnly declared value inName of this key.
  bool IsRegistryKeyReadOnly(const UTF16String& inName) const;

  /// Does nothing: every change reaches the registry when it is made.
  void SyncAppPrefs();

  static constexpr std::size_t kMaxBinaryValueSize = 4096;  ///< bytes

 private:
  class PrivateImpl;
  std::unique_ptr<PrivateImpl> mImpl;
};

/// Changes reach the registry at once; there is nothing to defer. Always true.
OSTRA_API bool ShouldFlushEveryChangeImmediately();

/// A scope in which a caller would like changes held back. Accepted for
/// callers written against a deferring store; it changes nothing.
///
/// It holds no state that another thread could see, so any thread may make
/// one, and nothing in it fails or throws.
class OSTRA_API ScDelayFlushingChangesToOS {
 public:
  ScDelayFlushingChangesToOS();
  ~ScDelayFlushingChangesToOS();
  ScDelayFlushingChangesToOS(const ScDelayFlushingChangesToOS&) = delete;
  ScDelayFlushingChangesToOS& operator=(const ScDelayFlushingChangesToOS&) = delete;

 private:
  bool mDelaying;
};

}  // namespace Ostra
