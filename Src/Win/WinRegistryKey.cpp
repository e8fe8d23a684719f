#include <windows.h>

#include <atomic>
#include <cstring>
#include <cwchar>
#include <utility>
#include <vector>

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include "Ostra/RegistryKey.h"
#include "RegistryKeyPrivate.h"
#include "strata/Impl.h"
#include "strata/Threads.h"

namespace Ostra {

static_assert(KEY_ALL_ACCESS == 0xF003F && KEY_READ == 0x20019 && KEY_WRITE == 0x20006,
              "registry access masks differ from the documented values");
static_assert((KEY_READ | KEY_WRITE) == 0x2001F, "read-write access differs");

namespace Win {
namespace {

typedef LONG(WINAPI* DeleteKeyExProc)(HKEY, LPCWSTR, REGSAM, DWORD);

// The name of sub-key inIndex, in a buffer that grows while the system
// answers that it is too small: Windows ends key names at 255 characters,
// Wine does not. Returns the Windows error of the last call.
LONG EnumerateSubKeyName(HKEY inKey, DWORD inIndex, UTF16String& outName) {
  const std::size_t kLongestRegistryPath = 32768;
  std::vector<wchar_t> name(256);
  for (;;) {
    DWORD length = static_cast<DWORD>(name.size());
    const LONG error =
        ::RegEnumKeyExW(inKey, inIndex, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
    if (error == ERROR_MORE_DATA && name.size() < kLongestRegistryPath) {
      name.resize(name.size() * 2);
      continue;
    }
    if (error == ERROR_SUCCESS) outName.assign(name.data(), length);
    return error;
  }
}

// RegDeleteKeyExW is looked up once per process, found or not. Two threads
// racing here only repeat the same lookup.
std::atomic<bool> sDeleteKeyExLookedUp{false};
std::atomic<DeleteKeyExProc> sDeleteKeyEx{nullptr};

DeleteKeyExProc GetDeleteKeyEx() {
  if (!sDeleteKeyExLookedUp.load(std::memory_order_acquire)) {
    DeleteKeyExProc proc = nullptr;
    if (HMODULE advapi = ::GetModuleHandleW(L"Advapi32.dll")) {
      // Through void (*)() so that the compiler accepts the change of type.
      proc = reinterpret_cast<DeleteKeyExProc>(
          reinterpret_cast<void (*)()>(::GetProcAddress(advapi, "RegDeleteKeyExW")));
    }
    sDeleteKeyEx.store(proc, std::memory_order_relaxed);
    sDeleteKeyExLookedUp.store(true, std::memory_order_release);
  }
  return sDeleteKeyEx.load(std::memory_order_relaxed);
}

const REGSAM kWow64Bits = KEY_WOW64_64KEY | KEY_WOW64_32KEY;  // 0x300

}  // namespace

// Owns one open registry key handle and remembers which registry view
// (WOW64 bits) it was opened in; RegistryKey copies share one of these.
// A failed open or create leaves the handle it had untouched.
class CRegKey {
 public:
  CRegKey() = default;
  ~CRegKey() { Close(); }
  CRegKey(const CRegKey&) = delete;
  CRegKey& operator=(const CRegKey&) = delete;

  HKEY Get() const { return mKey; }
  REGSAM GetWow64Bits() const { return mWow64Bits; }

  // The Windows error of RegOpenKeyExW.
  LONG Open(HKEY inParent, const wchar_t* inName, REGSAM inAccess) {
    HKEY key = nullptr;
    const LONG error = ::RegOpenKeyExW(inParent, inName, 0, inAccess, &key);
    if (error == ERROR_SUCCESS) Adopt(key, inAccess);
    return error;
  }

  // The Windows error of RegCreateKeyExW (non-volatile, no class).
  LONG Create(HKEY inParent, const wchar_t* inName, REGSAM inAccess) {
    HKEY key = nullptr;
    const LONG error = ::RegCreateKeyExW(inParent, inName, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                         inAccess, nullptr, &key, nullptr);
    if (error == ERROR_SUCCESS) Adopt(key, inAccess);
    return error;
  }

  // Deletes sub-key inName and its whole tree, deepest keys first. Returns
  // the first Windows error met; the keys deleted before it stay deleted.
  LONG RecurseDeleteKey(const wchar_t* inName) {
    CRegKey sub;
    LONG error = sub.Open(mKey, inName, mWow64Bits | KEY_READ | KEY_WRITE);
    if (error != ERROR_SUCCESS) return error;
    // Always index 0: each deletion moves the next sub-key to the front.
    UTF16String childName;
    while (EnumerateSubKeyName(sub.mKey, 0, childName) == ERROR_SUCCESS) {
      error = sub.RecurseDeleteKey(childName.c_str());
      if (error != ERROR_SUCCESS) return error;
    }
    sub.Close();
    if (DeleteKeyExProc deleteKeyEx = GetDeleteKeyEx())
      return deleteKeyEx(mKey, inName, mWow64Bits, 0);
    return ::RegDeleteKeyW(mKey, inName);
  }

  void Close() {
    if (mKey) ::RegCloseKey(mKey);
    mKey = nullptr;
    mWow64Bits = 0;
  }

 private:
  void Adopt(HKEY inKey, REGSAM inAccess) {
    Close();
    mKey = inKey;
    mWow64Bits = inAccess & kWow64Bits;
  }

  HKEY mKey = nullptr;
  REGSAM mWow64Bits = 0;
};

}  // namespace Win

namespace {

// Identifiers of the values declared read-only; only ever appended to.
strata::threads::RecursiveMutex sReadOnlyMutex;
std::vector<UTF16String> sReadOnlyValues;

HKEY RootHandle(RegistryRootKeys::Type inRoot) {
  return inRoot == RegistryRootKeys::kApplication ? HKEY_LOCAL_MACHINE : HKEY_CURRENT_USER;
}

REGSAM AccessMask(RegistryKeyAccess::Type inAccess) {
  if (inAccess == RegistryKeyAccess::kAll) return KEY_ALL_ACCESS;
  const bool read = (inAccess & RegistryKeyAccess::kRead) != 0;
  const bool write = (inAccess & RegistryKeyAccess::kWrite) != 0;
  if (read && write) return KEY_READ | KEY_WRITE;
  if (read) return KEY_READ;
  if (write) return KEY_WRITE;
  return 0;  // no access bit: Windows is asked for nothing, as the caller said
}

Result KeyErrorToResult(LONG inError) {
  if (inError == ERROR_SUCCESS) return kSuccess;
  if (inError == ERROR_FILE_NOT_FOUND || inError == ERROR_PATH_NOT_FOUND) return eFileNotFound;
  return eOperationFailed;
}

Result ValueErrorToResult(LONG inError) {
  return inError == ERROR_SUCCESS ? kSuccess : eOperationFailed;
}

}  // namespace

class RegistryKey::PrivateImpl : public strata::Impl {
 public:
  PrivateImpl() : mKey(boost::make_shared<Win::CRegKey>()) {}
  explicit PrivateImpl(const boost::shared_ptr<Win::CRegKey>& inSharedKey) : mKey(inSharedKey) {}

  HKEY Handle() const { return mKey->Get(); }

  LONG Query(const UTF16String& inName, DWORD* outType, void* outData, DWORD* ioSize) const {
    return ::RegQueryValueExW(Handle(), inName.c_str(), nullptr, outType,
                              static_cast<BYTE*>(outData), ioSize);
  }

  LONG Write(const UTF16String& inName, DWORD inType, const void* inData, DWORD inSize) {
    return ::RegSetValueExW(Handle(), inName.c_str(), 0, inType,
                            static_cast<const BYTE*>(inData), inSize);
  }

  // Root tag, stored path and value name run together, without separators.
  UTF16String ReadOnlyIdentifier(const UTF16String& inName) const {
    UTF16String identifier(mRoot == RegistryRootKeys::kUser ? L"User" : L"Application");
    identifier += mPath;
    identifier += inName;
    return identifier;
  }

  boost::shared_ptr<Win::CRegKey> mKey;
  UTF16String mPath;
  RegistryRootKeys::Type mRoot = RegistryRootKeys::kUser;
  REGSAM mAccess = KEY_ALL_ACCESS;
};

RegistryKey::RegistryKey() : mImpl(new PrivateImpl) {}

RegistryKey::RegistryKey(const RegistryKey& inOther)
    : mImpl(new PrivateImpl(inOther.mImpl->mKey)) {
  mImpl->mPath = inOther.mImpl->mPath;
  mImpl->mRoot = inOther.mImpl->mRoot;
  // A copy reopens children with full access whatever the original had.
  mImpl->mAccess = KEY_ALL_ACCESS;
}

RegistryKey& RegistryKey::operator=(RegistryKey inOther) {
  Swap(inOther);
  return *this;
}

RegistryKey::~RegistryKey() = default;

void RegistryKey::Swap(RegistryKey& ioOther) {
  // Root and access deliberately stay with each object.
  mImpl->mKey.swap(ioOther.mImpl->mKey);
  mImpl->mPath.swap(ioOther.mImpl->mPath);
}

Result RegistryKey::Open(RegistryRootKeys::Type inRoot, const UTF16String& inPath,
                         RegistryKeyAccess::Type inAccess) {
  mImpl->mPath = inPath;
  mImpl->mRoot = inRoot;
  mImpl->mAccess = AccessMask(inAccess);
  return KeyErrorToResult(mImpl->mKey->Open(RootHandle(inRoot), inPath.c_str(), mImpl->mAccess));
}

Result RegistryKey::Open(RegistryKey& inParent, const UTF16String& inPath) {
  // Read the parent first: it may be this very object.
  const HKEY parent = inParent.mImpl->Handle();
  mImpl->mPath = inPath;
  mImpl->mRoot = inParent.mImpl->mRoot;
  mImpl->mAccess = inParent.mImpl->mAccess;
  return KeyErrorToResult(mImpl->mKey->Open(parent, inPath.c_str(), mImpl->mAccess));
}

Result RegistryKey::Create(RegistryRootKeys::Type inRoot, const UTF16String& inPath) {
  mImpl->mPath = inPath;
  mImpl->mRoot = inRoot;
  mImpl->mAccess = KEY_ALL_ACCESS;
  const HKEY root = RootHandle(inRoot);
  if (mImpl->mKey->Open(root, inPath.c_str(), mImpl->mAccess) == ERROR_SUCCESS)
    return kKeyAlreadyExists;
  return ValueErrorToResult(mImpl->mKey->Create(root, inPath.c_str(), KEY_ALL_ACCESS));
}

Result RegistryKey::Create(RegistryKey& inParent, const UTF16String& inPath) {
  const HKEY parent = inParent.mImpl->Handle();
  mImpl->mPath = inPath;
  mImpl->mRoot = inParent.mImpl->mRoot;
  mImpl->mAccess = inParent.mImpl->mAccess;
  if (mImpl->mKey->Open(parent, inPath.c_str(), mImpl->mAccess) == ERROR_SUCCESS)
    return kKeyAlreadyExists;
  mImpl->mAccess = KEY_ALL_ACCESS;
  return ValueErrorToResult(mImpl->mKey->Create(parent, inPath.c_str(), KEY_ALL_ACCESS));
}

Result RegistryKey::GetBinaryValue(const UTF16String& inName, std::vector<char>& outData) const {
  DWORD type = REG_NONE;
  DWORD size = 0;
  if (mImpl->Query(inName, &type, nullptr, &size) != ERROR_SUCCESS || type != REG_BINARY)
    return eOperationFailed;
  outData.resize(size);
  if (size == 0) return kSuccess;
  if (mImpl->Query(inName, &type, outData.data(), &size) != ERROR_SUCCESS || type != REG_BINARY)
    return eOperationFailed;
  outData.resize(size);  // the value may have shrunk between the two queries
  return kSuccess;
}

Result RegistryKey::GetBinaryValue(const UTF16String& inName, void* outData,
                                   std::size_t* ioSize) const {
  if (!ioSize) return eOperationFailed;
  DWORD type = REG_NONE;
  DWORD size = static_cast<DWORD>(*ioSize);
  if (mImpl->Query(inName, &type, outData, &size) != ERROR_SUCCESS || type != REG_BINARY)
    return eOperationFailed;
  *ioSize = size;
  return kSuccess;
}

Result RegistryKey::GetBooleanValue(const UTF16String& inName, bool& outValue) const {
  DWORD type = REG_NONE;
  DWORD value = 0;
  DWORD size = sizeof(value);
  const bool read =
      mImpl->Query(inName, &type, &value, &size) == ERROR_SUCCESS && type == REG_DWORD;
  outValue = read && value != 0;
  return read ? kSuccess : eOperationFailed;
}

Result RegistryKey::GetStringValue(const UTF16String& inName, UTF16String& outValue) const {
  DWORD type = REG_NONE;
  DWORD bytes = 0;
  if (mImpl->Query(inName, &type, nullptr, &bytes) != ERROR_SUCCESS ||
      (type != REG_SZ && type != REG_EXPAND_SZ))
    return eOperationFailed;
  const DWORD count = bytes / 2;
  if (count == 0) {
    outValue.clear();
    return kSuccess;
  }
  // An odd size of three bytes or more does not fit the even buffer: the
  // query fails, as decoding would.
  std::vector<wchar_t> buffer(count, L'\0');
  bytes = count * 2;
  if (mImpl->Query(inName, &type, buffer.data(), &bytes) != ERROR_SUCCESS ||
      (type != REG_SZ && type != REG_EXPAND_SZ))
    return eOperationFailed;
  return Internal::DecodeStringValue(buffer.data(), bytes, outValue) ? kSuccess : eOperationFailed;
}

Result RegistryKey::GetStringValue(const UTF16String& inName, std::string& outValue) const {
  UTF16String value;
  const Result result = GetStringValue(inName, value);
  if (strata::ResultSucceeded(result)) outValue = strata::string::UTF16toStdString(value);
  return result;
}

Result RegistryKey::GetUInt32Value(const UTF16String& inName, std::uint32_t& outValue) const {
  DWORD type = REG_NONE;
  DWORD value = 0;
  DWORD size = sizeof(value);
  if (mImpl->Query(inName, &type, &value, &size) != ERROR_SUCCESS || type != REG_DWORD)
    return eOperationFailed;
  outValue = value;
  return kSuccess;
}

Result RegistryKey::GetUInt64Value(const UTF16String& inName, std::uint64_t& outValue) const {
  static_assert(sizeof(std::uint64_t) == 8, "REG_QWORD is 8 bytes");
  DWORD type = REG_NONE;
  DWORD size = sizeof(outValue);
  // Straight into outValue: a REG_DWORD fills its low half before the type
  // check below fails, which callers have come to expect.
  if (mImpl->Query(inName, &type, &outValue, &size) != ERROR_SUCCESS || type != REG_QWORD)
    return eOperationFailed;
  return kSuccess;
}

Result RegistryKey::SetBinaryValue(const UTF16String& inName, const std::vector<char>& inData) {
  return SetBinaryValue(inName, inData.data(), inData.size());
}

Result RegistryKey::SetBinaryValue(const UTF16String& inName, const void* inData,
                                   std::size_t inSize) {
  if (IsRegistryKeyReadOnly(inName)) return kSuccess;
  if (inSize > kMaxBinaryValueSize || (inData == nullptr && inSize != 0)) return eOperationFailed;
  return ValueErrorToResult(
      mImpl->Write(inName, REG_BINARY, inData, static_cast<DWORD>(inSize)));
}

Result RegistryKey::SetBooleanValue(const UTF16String& inName, bool inValue) {
  return SetUInt32Value(inName, inValue ? 1 : 0);
}

Result RegistryKey::SetStringValue(const UTF16String& inName, const UTF16String& inValue) {
  if (IsRegistryKeyReadOnly(inName)) return kSuccess;
  const std::size_t length = std::wcslen(inValue.c_str());
  if (length >= MAXDWORD / 2) return eOperationFailed;
  return ValueErrorToResult(mImpl->Write(inName, REG_SZ, inValue.c_str(),
                                         static_cast<DWORD>(2 * length + 2)));
}

Result RegistryKey::SetStringValue(const UTF16String& inName, const std::string& inValue) {
  return SetStringValue(inName, strata::string::StdToUTF16String(inValue));
}

Result RegistryKey::SetUInt32Value(const UTF16String& inName, std::uint32_t inValue) {
  if (IsRegistryKeyReadOnly(inName)) return kSuccess;
  const DWORD value = inValue;
  return ValueErrorToResult(mImpl->Write(inName, REG_DWORD, &value, sizeof(value)));
}

Result RegistryKey::SetUInt64Value(const UTF16String& inName, std::uint64_t inValue) {
  if (IsRegistryKeyReadOnly(inName)) return kSuccess;
  return ValueErrorToResult(mImpl->Write(inName, REG_QWORD, &inValue, sizeof(inValue)));
}

Result RegistryKey::DeleteValue(const UTF16String& inName) {
  return ValueErrorToResult(::RegDeleteValueW(mImpl->Handle(), inName.c_str()));
}

Result RegistryKey::DeleteSubKey(const UTF16String& inName) {
  // An empty name would make Windows delete this key itself, tree and all.
  if (inName.empty()) return eOperationFailed;
  return KeyErrorToResult(mImpl->mKey->RecurseDeleteKey(inName.c_str()));
}

void RegistryKey::EnumerateSubKeys(std::vector<RegistryKey>& ioKeys) {
  UTF16String name;
  for (DWORD index = 0; Win::EnumerateSubKeyName(mImpl->Handle(), index, name) == ERROR_SUCCESS;
       ++index) {
    RegistryKey subKey;
    subKey.mImpl->mPath = name;
    subKey.mImpl->mRoot = mImpl->mRoot;
    subKey.mImpl->mAccess = mImpl->mAccess;
    if (subKey.mImpl->mKey->Open(mImpl->Handle(), name.c_str(), mImpl->mAccess) != ERROR_SUCCESS) {
      // The access this key was opened with may not be grantable to the
      // child; creating opens an existing key with full access instead.
      subKey.mImpl->mAccess = KEY_ALL_ACCESS;
      subKey.mImpl->mKey->Create(mImpl->Handle(), name.c_str(), KEY_ALL_ACCESS);
    }
    ioKeys.push_back(subKey);
  }
}

UTF16String RegistryKey::GetParentKeyPath() const { return mImpl->mPath; }

UTF16String RegistryKey::GetParentKeyPathLastPart() const {
  // The whole path, like GetParentKeyPath: callers depend on it.
  return mImpl->mPath;
}

void RegistryKey::SetRegistryKeyToReadOnly(const UTF16String& inName) {
  if (IsRegistryKeyReadOnly(inName)) return;
  UTF16String identifier = mImpl->ReadOnlyIdentifier(inName);
  strata::threads::RecursiveMutex::ScopedLock lock(sReadOnlyMutex);
  sReadOnlyValues.push_back(std::move(identifier));
}

bool RegistryKey::IsRegistryKeyReadOnly(const UTF16String& inName) const {
  strata::threads::RecursiveMutex::ScopedLock lock(sReadOnlyMutex);
  if (sReadOnlyValues.empty()) return false;
  const UTF16String identifier = mImpl->ReadOnlyIdentifier(inName);
  for (const UTF16String& entry : sReadOnlyValues)
    if (entry == identifier) return true;
  return false;
}

void RegistryKey::SyncAppPrefs() {}

bool ShouldFlushEveryChangeImmediately() { return true; }

namespace Internal {

bool DecodeStringValue(const void* inData, std::size_t inByteCount, UTF16String& outText) {
  if (inByteCount < 2) {
    outText.clear();
    return true;
  }
  if ((inByteCount & 1) != 0) return false;
  const std::size_t count = inByteCount / 2;
  // Unit by unit: the bytes need not be aligned for wchar_t.
  std::vector<wchar_t> units(count);
  std::memcpy(units.data(), inData, inByteCount);
  if (units[count - 1] != L'\0') return false;
  outText.assign(units.data());
  return true;
}

}  // namespace Internal

ScDelayFlushingChangesToOS::ScDelayFlushingChangesToOS() : mDelaying(false) {}

ScDelayFlushingChangesToOS::~ScDelayFlushingChangesToOS() = default;

}  // namespace Ostra
