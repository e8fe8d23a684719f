#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "HandleCount.h"
#include "Ostra/RegistryKey.h"
#include "strata/Utility.h"

namespace {

using Ostra::RegistryKey;
namespace RegistryKeyAccess = Ostra::RegistryKeyAccess;
namespace RegistryRootKeys = Ostra::RegistryRootKeys;
using Ostra::UTF16String;

// Whether handle counts can be observed here at all.
bool HandleCountsAreReported() {
  const long before = OstraTest::ProcessHandleCount();
  HANDLE event = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
  const long during = OstraTest::ProcessHandleCount();
  ::CloseHandle(event);
  return before > 0 && during == before + 1;
}

// Each test gets its own key under HKCU\Software, which must not exist
// beforehand and is removed afterwards whatever the test did. The fixture
// reads and writes through the raw API so that checks do not depend on the
// class under test, and fails a test that leaves handles open.
class RegistryKeyTest : public ::testing::Test {
 protected:
  void SetUp() override {
    mPath = L"Software\\OstraRegistryKeyTest-" + strata::utility::Guid::CreateUnique().AsString();
    HKEY key = nullptr;
    ASSERT_EQ(ERROR_FILE_NOT_FOUND, ::RegOpenKeyExW(HKEY_CURRENT_USER, mPath.c_str(), 0,
                                                    KEY_READ, &key))
        << "test key already exists";
    ASSERT_EQ(ERROR_SUCCESS, ::RegCreateKeyExW(HKEY_CURRENT_USER, mPath.c_str(), 0, nullptr, 0,
                                               KEY_ALL_ACCESS, nullptr, &mRaw, nullptr));
    // GoogleTest's first SCOPED_TRACE on a thread opens handles it keeps.
    { SCOPED_TRACE("opens GoogleTest's per-thread handles before the count"); }
    mCountHandles = HandleCountsAreReported();
    mHandlesBefore = OstraTest::ProcessHandleCount();
  }

  void TearDown() override {
    if (mCountHandles) {
      EXPECT_EQ(mHandlesBefore, OstraTest::ProcessHandleCount()) << "handles leaked or closed twice";
    }
    if (mRaw) ::RegCloseKey(mRaw);
    // Deletes the key itself too.
    EXPECT_EQ(ERROR_SUCCESS, ::RegDeleteTreeW(HKEY_CURRENT_USER, mPath.c_str()));
  }

  UTF16String Sub(const UTF16String& inRelative) const { return mPath + L"\\" + inRelative; }

  void RawSet(const UTF16String& inName, DWORD inType, const void* inData, DWORD inSize) {
    ASSERT_EQ(ERROR_SUCCESS, ::RegSetValueExW(mRaw, inName.c_str(), 0, inType,
                                              static_cast<const BYTE*>(inData), inSize));
  }
  void RawSetString(const UTF16String& inName, const UTF16String& inText) {
    RawSet(inName, REG_SZ, inText.c_str(), static_cast<DWORD>(2 * inText.size() + 2));
  }

  bool RawHasValue(const UTF16String& inName) const {
    return ::RegQueryValueExW(mRaw, inName.c_str(), nullptr, nullptr, nullptr, nullptr) ==
           ERROR_SUCCESS;
  }
  UTF16String RawString(const UTF16String& inName) const { return RawStringAt(mPath, inName); }
  UTF16String RawStringAt(const UTF16String& inPath, const UTF16String& inName) const {
    wchar_t buffer[256] = {};
    DWORD size = sizeof(buffer) - sizeof(wchar_t);
    ::RegGetValueW(HKEY_CURRENT_USER, inPath.c_str(), inName.c_str(), RRF_RT_REG_SZ, nullptr,
                   buffer, &size);
    return buffer;
  }

  bool RawKeyExists(const UTF16String& inPath) const {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, inPath.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
      return false;
    ::RegCloseKey(key);
    return true;
  }
  void RawCreateKey(const UTF16String& inPath) {
    HKEY key = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, ::RegCreateKeyExW(HKEY_CURRENT_USER, inPath.c_str(), 0, nullptr, 0,
                                               KEY_ALL_ACCESS, nullptr, &key, nullptr));
    ::RegCloseKey(key);
  }

  UTF16String mPath;
  HKEY mRaw = nullptr;
  bool mCountHandles = false;
  long mHandlesBefore = 0;
};

TEST(RegistryKeyLeakCheck, HandleCountsCanBeObserved) {
  if (!HandleCountsAreReported())
    GTEST_SKIP() << "this system reports no process handle counts; the leak checks of the "
                    "registry tests are off";
  const long before = OstraTest::ProcessHandleCount();
  for (int i = 0; i < 3; ++i) HandleCountsAreReported();
  EXPECT_EQ(before, OstraTest::ProcessHandleCount());
}

TEST_F(RegistryKeyTest, CreateTellsANewKeyFromAnExistingOne) {
  RegistryKey key;
  EXPECT_EQ(Ostra::kSuccess, key.Create(RegistryRootKeys::kUser, Sub(L"New")));
  EXPECT_TRUE(RawKeyExists(Sub(L"New")));

  RegistryKey again;
  const Ostra::Result result = again.Create(RegistryRootKeys::kUser, Sub(L"New"));
  EXPECT_EQ(0x200F0001, result);
  EXPECT_TRUE(strata::ResultSucceeded(result)) << "kKeyAlreadyExists must count as success";
  // Open on the existing key: a write lands there.
  ASSERT_EQ(Ostra::kSuccess, again.SetUInt32Value(L"n", 7));
  std::uint32_t value = 0;
  EXPECT_EQ(Ostra::kSuccess, key.GetUInt32Value(L"n", value));
  EXPECT_EQ(7u, value);

  // Under a parent, with nested levels made in one call.
  RegistryKey parent;
  ASSERT_EQ(Ostra::kSuccess, parent.Open(RegistryRootKeys::kUser, mPath, RegistryKeyAccess::kAll));
  RegistryKey child;
  EXPECT_EQ(Ostra::kSuccess, child.Create(parent, L"A\\B"));
  EXPECT_TRUE(RawKeyExists(Sub(L"A\\B")));
  EXPECT_EQ(Ostra::kKeyAlreadyExists, child.Create(parent, L"A"));
  EXPECT_EQ(L"A", child.GetParentKeyPath());
}

TEST_F(RegistryKeyTest, OpenGrantsTheMappedAccess) {
  RawSetString(L"v", L"text");
  const struct {
    int access;
    bool canRead;
    bool canWrite;
  } rows[] = {{RegistryKeyAccess::kAll, true, true},  {RegistryKeyAccess::kRead, true, false},
              {RegistryKeyAccess::kWrite, false, true}, {RegistryKeyAccess::kReadWrite, true, true},
              {5, true, false},                          {6, false, true},
              {4, false, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << "access " << row.access);
    RegistryKey key;
    const Ostra::Result opened = key.Open(RegistryRootKeys::kUser, mPath,
                                          static_cast<RegistryKeyAccess::Type>(row.access));
    if (row.access == 4 && !strata::ResultSucceeded(opened)) continue;  // no access at all
    ASSERT_EQ(Ostra::kSuccess, opened);
    UTF16String text;
    EXPECT_EQ(row.canRead, strata::ResultSucceeded(key.GetStringValue(L"v", text)));
    EXPECT_EQ(row.canWrite, strata::ResultSucceeded(key.SetUInt32Value(L"w", 1)));
  }
}

TEST_F(RegistryKeyTest, OpenReportsMissingKeysAndKeepsTheOldHandle) {
  RawSetString(L"v", L"first");
  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(RegistryRootKeys::kUser, mPath, RegistryKeyAccess::kRead));

  EXPECT_EQ(Ostra::eFileNotFound,
            key.Open(RegistryRootKeys::kUser, Sub(L"Missing"), RegistryKeyAccess::kAll));
  EXPECT_EQ(Ostra::eFileNotFound,
            key.Open(RegistryRootKeys::kUser, Sub(L"Missing\\Deeper"), RegistryKeyAccess::kAll));
  // The path is replaced before the attempt; the handle is not.
  EXPECT_EQ(Sub(L"Missing\\Deeper"), key.GetParentKeyPath());
  UTF16String text;
  EXPECT_EQ(Ostra::kSuccess, key.GetStringValue(L"v", text));
  EXPECT_EQ(L"first", text);

  RegistryKey child;
  EXPECT_EQ(Ostra::eFileNotFound, child.Open(key, L"Nope"));
  RegistryKey closed;
  EXPECT_EQ(Ostra::eOperationFailed, child.Open(closed, L"Nope")) << "parent never opened";
}

TEST_F(RegistryKeyTest, TypedValuesRoundTrip) {
  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(RegistryRootKeys::kUser, mPath, RegistryKeyAccess::kAll));

  EXPECT_EQ(Ostra::kSuccess, key.SetStringValue(L"wide", UTF16String(L"caf\u00e9 \u65e5")));
  EXPECT_EQ(Ostra::kSuccess, key.SetStringValue(L"narrow", std::string("na\xc3\xafve")));
  EXPECT_EQ(Ostra::kSuccess, key.SetStringValue(L"", UTF16String(L"default")));
  EXPECT_EQ(Ostra::kSuccess, key.SetStringValue(L"cut", UTF16String(L"ab\0cd", 5)));
  EXPECT_EQ(Ostra::kSuccess, key.SetUInt32Value(L"u32", 0xFFFFFFFEu));
  EXPECT_EQ(Ostra::kSuccess, key.SetUInt64Value(L"u64", 0x0123456789ABCDEFull));
  EXPECT_EQ(Ostra::kSuccess, key.SetBooleanValue(L"yes", true));
  EXPECT_EQ(Ostra::kSuccess, key.SetBooleanValue(L"no", false));
  const std::vector<char> bytes = {'\0', '\x01', '\xFF', 'z'};
  EXPECT_EQ(Ostra::kSuccess, key.SetBinaryValue(L"bin", bytes));
  EXPECT_EQ(Ostra::kSuccess, key.SetBinaryValue(L"empty", nullptr, 0));

  UTF16String wide;
  EXPECT_EQ(Ostra::kSuccess, key.GetStringValue(L"wide", wide));
  EXPECT_EQ(L"caf\u00e9 \u65e5", wide);
  std::string narrow;
  EXPECT_EQ(Ostra::kSuccess, key.GetStringValue(L"narrow", narrow));
  EXPECT_EQ("na\xc3\xafve", narrow);
  EXPECT_EQ(L"naïve", RawString(L"narrow"));
  EXPECT_EQ(L"default", RawString(L""));
  EXPECT_EQ(L"ab", RawString(L"cut")) << "only the text before the first NUL is written";
  std::uint32_t u32 = 0;
  EXPECT_EQ(Ostra::kSuccess, key.GetUInt32Value(L"u32", u32));
  EXPECT_EQ(0xFFFFFFFEu, u32);
  std::uint64_t u64 = 0;
  EXPECT_EQ(Ostra::kSuccess, key.GetUInt64Value(L"u64", u64));
  EXPECT_EQ(0x0123456789ABCDEFull, u64);
  bool flag = false;
  EXPECT_EQ(Ostra::kSuccess, key.GetBooleanValue(L"yes", flag));
  EXPECT_TRUE(flag);
  EXPECT_EQ(Ostra::kSuccess, key.GetBooleanValue(L"no", flag));
  EXPECT_FALSE(flag);
  u32 = 99;
  EXPECT_EQ(Ostra::kSuccess, key.GetUInt32Value(L"yes", u32)) << "booleans are REG_DWORD";
  EXPECT_EQ(1u, u32);
  std::vector<char> read(3, 'x');
  EXPECT_EQ(Ostra::kSuccess, key.GetBinaryValue(L"bin", read));
  EXPECT_EQ(bytes, read);
  EXPECT_EQ(Ostra::kSuccess, key.GetBinaryValue(L"empty", read));
  EXPECT_TRUE(read.empty());
}

TEST_F(RegistryKeyTest, ReadsOfMissingOrMistypedValuesFailWithoutTouchingOutputs) {
  const DWORD dword = 0x11223344;
  RawSet(L"dword", REG_DWORD, &dword, sizeof(dword));
  RawSetString(L"string", L"text");
  const char blob[] = {1, 2, 3, 4, 5, 6, 7, 8};
  RawSet(L"binary", REG_BINARY, blob, sizeof(blob));
  const std::uint64_t qword = 5;
  RawSet(L"qword", REG_QWORD, &qword, sizeof(qword));

  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(RegistryRootKeys::kUser, mPath, RegistryKeyAccess::kRead));
  for (const wchar_t* name : {L"missing", L"dword", L"string", L"binary", L"qword"}) {
    SCOPED_TRACE(::testing::Message() << "value " << strata::string::UTF16toStdString(name));
    const UTF16String valueName(name);
    if (valueName != L"string") {
      UTF16String text(L"keep");
      EXPECT_EQ(Ostra::eOperationFailed, key.GetStringValue(valueName, text));
      EXPECT_EQ(L"keep", text);
      std::string narrow("keep");
      EXPECT_EQ(Ostra::eOperationFailed, key.GetStringValue(valueName, narrow));
      EXPECT_EQ("keep", narrow);
    }
    if (valueName != L"dword") {
      std::uint32_t u32 = 17;
      EXPECT_EQ(Ostra::eOperationFailed, key.GetUInt32Value(valueName, u32));
      EXPECT_EQ(17u, u32);
      bool flag = true;
      EXPECT_EQ(Ostra::eOperationFailed, key.GetBooleanValue(valueName, flag));
      EXPECT_FALSE(flag) << "a failed boolean read yields false";
    }
    if (valueName != L"binary") {
      std::vector<char> bytes(2, 'k');
      EXPECT_EQ(Ostra::eOperationFailed, key.GetBinaryValue(valueName, bytes));
      char buffer[16];
      std::size_t size = sizeof(buffer);
      EXPECT_EQ(Ostra::eOperationFailed, key.GetBinaryValue(valueName, buffer, &size));
      EXPECT_EQ(sizeof(buffer), size);
    }
    if (valueName != L"qword") {
      std::uint64_t u64 = 0xAAAAAAAAAAAAAAAAull;
      EXPECT_EQ(Ostra::eOperationFailed, key.GetUInt64Value(valueName, u64));
      // A REG_DWORD lands in the low half before the type check fails.
      if (valueName == L"dword") {
        EXPECT_EQ(0xAAAAAAAA11223344ull, u64);
      } else if (valueName == L"missing") {
        EXPECT_EQ(0xAAAAAAAAAAAAAAAAull, u64);
      }
    }
  }
}

TEST_F(RegistryKeyTest, BinaryReadIntoABufferChecksItsCapacity) {
  const char blob[] = {10, 20, 30, 40, 50};
  RawSet(L"blob", REG_BINARY, blob, sizeof(blob));
  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(RegistryRootKeys::kUser, mPath, RegistryKeyAccess::kRead));

  const struct {
    std::size_t capacity;
    bool fits;
  } rows[] = {{0, false}, {4, false}, {5, true}, {64, true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << "capacity " << row.capacity);
    char buffer[64] = {};
    std::size_t size = row.capacity;
    EXPECT_EQ(row.fits ? Ostra::kSuccess : Ostra::eOperationFailed,
              key.GetBinaryValue(L"blob", buffer, &size));
    EXPECT_EQ(row.fits ? sizeof(blob) : row.capacity, size);
    if (row.fits) {
      EXPECT_EQ(0, std::memcmp(blob, buffer, sizeof(blob)));
    }
  }
}

TEST_F(RegistryKeyTest, MalformedStringsWrittenByOthersAreRejected) {
  // RegSetValueExW counts a terminator the caller left out when the next
  // character in memory is one, so unterminated rows carry a non-NUL after
  // their counted bytes.
  const struct {
    const char* what;
    DWORD type;
    std::vector<wchar_t> data;
    DWORD bytes;  // of data
    bool ok;
    const wchar_t* expected;
  } rows[] = {
      {"terminated", REG_SZ, {L'a', L'b', L'\0'}, 6, true, L"ab"},
      {"unterminated", REG_SZ, {L'a', L'b', L'c', L'X'}, 6, false, nullptr},
      {"odd byte count", REG_SZ, {L'a', L'b', L'\0'}, 5, false, nullptr},
      {"odd and unterminated", REG_SZ, {L'a', L'b', L'c', L'X'}, 5, false, nullptr},
      {"empty string", REG_SZ, {L'\0'}, 2, true, L""},
      {"no bytes at all", REG_SZ, {L'\0'}, 0, true, L""},
      {"inner NUL", REG_SZ, {L'a', L'\0', L'b', L'\0'}, 8, true, L"a"},
      {"expandable, kept unexpanded", REG_EXPAND_SZ, {L'%', L'T', L'%', L'\0'}, 8, true, L"%T%"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    RawSet(L"s", row.type, row.data.data(), row.bytes);
    RegistryKey key;
    ASSERT_EQ(Ostra::kSuccess, key.Open(RegistryRootKeys::kUser, mPath, RegistryKeyAccess::kRead));
    UTF16String text(L"keep");
    EXPECT_EQ(row.ok ? Ostra::kSuccess : Ostra::eOperationFailed, key.GetStringValue(L"s", text));
    EXPECT_EQ(row.ok ? UTF16String(row.expected) : UTF16String(L"keep"), text);
  }
}

TEST_F(RegistryKeyTest, BinaryValuesAreLimitedTo4096Bytes) {
  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(RegistryRootKeys::kUser, mPath, RegistryKeyAccess::kAll));
  std::vector<char> bytes(4096, '\x5A');
  EXPECT_EQ(Ostra::kSuccess, key.SetBinaryValue(L"max", bytes));
  std::vector<char> read;
  EXPECT_EQ(Ostra::kSuccess, key.GetBinaryValue(L"max", read));
  EXPECT_EQ(bytes, read);

  bytes.push_back('\x01');
  EXPECT_EQ(Ostra::eOperationFailed, key.SetBinaryValue(L"max", bytes));
  EXPECT_EQ(Ostra::eOperationFailed, key.SetBinaryValue(L"over", bytes.data(), bytes.size()));
  EXPECT_FALSE(RawHasValue(L"over"));
  EXPECT_EQ(Ostra::kSuccess, key.GetBinaryValue(L"max", read));
  EXPECT_EQ(4096u, read.size()) << "a refused write must leave the old value";
}

TEST_F(RegistryKeyTest, DeleteValueRemovesOnlyExistingValues) {
  RawSetString(L"v", L"x");
  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(RegistryRootKeys::kUser, mPath, RegistryKeyAccess::kAll));
  EXPECT_EQ(Ostra::kSuccess, key.DeleteValue(L"v"));
  EXPECT_FALSE(RawHasValue(L"v"));
  EXPECT_EQ(Ostra::eOperationFailed, key.DeleteValue(L"v"));
}

TEST_F(RegistryKeyTest, DeleteSubKeyRemovesAWholeTree) {
  for (const wchar_t* path : {L"Tree\\Level1\\Level2\\Level3", L"Tree\\Level1\\Sibling",
                              L"Tree\\Other\\Leaf", L"Keep"})
    RawCreateKey(Sub(path));
  HKEY deep = nullptr;
  ASSERT_EQ(ERROR_SUCCESS, ::RegOpenKeyExW(HKEY_CURRENT_USER,
                                           Sub(L"Tree\\Level1\\Level2").c_str(), 0,
                                           KEY_SET_VALUE, &deep));
  ::RegSetValueExW(deep, L"v", 0, REG_SZ, reinterpret_cast<const BYTE*>(L"x"), 4);
  ::RegCloseKey(deep);

  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(RegistryRootKeys::kUser, mPath, RegistryKeyAccess::kAll));
  EXPECT_EQ(Ostra::kSuccess, key.DeleteSubKey(L"Tree"));
  EXPECT_FALSE(RawKeyExists(Sub(L"Tree")));
  EXPECT_TRUE(RawKeyExists(Sub(L"Keep")));
  EXPECT_EQ(Ostra::eFileNotFound, key.DeleteSubKey(L"Tree"));
  EXPECT_EQ(Ostra::eFileNotFound, key.DeleteSubKey(L"Keep\\Missing"));
  EXPECT_EQ(Ostra::eOperationFailed, key.DeleteSubKey(L"")) << "must not delete the key itself";
  EXPECT_TRUE(RawKeyExists(mPath));

  // Nested paths are deleted below the given level only.
  RawCreateKey(Sub(L"Keep\\Inner\\Leaf"));
  EXPECT_EQ(Ostra::kSuccess, key.DeleteSubKey(L"Keep\\Inner"));
  EXPECT_FALSE(RawKeyExists(Sub(L"Keep\\Inner")));
  EXPECT_TRUE(RawKeyExists(Sub(L"Keep")));
}

TEST_F(RegistryKeyTest, EnumeratedKeysAreOpenAndReportTheirLeafNames) {
  for (const wchar_t* name : {L"Alpha", L"Beta", L"Gamma"}) {
    RawCreateKey(Sub(name));
    RawCreateKey(Sub(UTF16String(name) + L"\\Grandchild"));  // not listed
  }
  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(RegistryRootKeys::kUser, mPath, RegistryKeyAccess::kAll));
  std::vector<RegistryKey> keys(1);  // appended to, not replaced
  key.EnumerateSubKeys(keys);
  ASSERT_EQ(4u, keys.size());
  std::vector<UTF16String> names;
  for (std::size_t i = 1; i < keys.size(); ++i) {
    names.push_back(keys[i].GetParentKeyPath());
    EXPECT_EQ(keys[i].GetParentKeyPath(), keys[i].GetParentKeyPathLastPart());
    // Each is open on its own key.
    EXPECT_EQ(Ostra::kSuccess, keys[i].SetStringValue(L"name", keys[i].GetParentKeyPath()));
    EXPECT_EQ(keys[i].GetParentKeyPath(), RawStringAt(Sub(keys[i].GetParentKeyPath()), L"name"));
  }
  EXPECT_FALSE(RawHasValue(L"name"));
  std::sort(names.begin(), names.end());
  EXPECT_EQ((std::vector<UTF16String>{L"Alpha", L"Beta", L"Gamma"}), names);

  // Read-only identifiers come from the leaf name.
  keys[1].SetRegistryKeyToReadOnly(L"name");
  RegistryKey sameKey;
  ASSERT_EQ(Ostra::kSuccess, sameKey.Open(RegistryRootKeys::kUser,
                                          Sub(keys[1].GetParentKeyPath()),
                                          RegistryKeyAccess::kAll));
  EXPECT_FALSE(sameKey.IsRegistryKeyReadOnly(L"name"));

  RegistryKey closed;
  std::vector<RegistryKey> none;
  closed.EnumerateSubKeys(none);
  EXPECT_TRUE(none.empty());
}

TEST_F(RegistryKeyTest, CopiesShareTheHandleAndAlwaysReopenWithFullAccess) {
  RawCreateKey(Sub(L"Child"));
  RawCreateKey(Sub(L"Other"));
  RegistryKey readOnly;
  ASSERT_EQ(Ostra::kSuccess,
            readOnly.Open(RegistryRootKeys::kUser, mPath, RegistryKeyAccess::kRead));

  RegistryKey child;
  ASSERT_EQ(Ostra::kSuccess, child.Open(readOnly, L"Child"));
  EXPECT_EQ(Ostra::eOperationFailed, child.SetUInt32Value(L"v", 1)) << "inherits read access";

  {
    RegistryKey copy(readOnly);
    EXPECT_EQ(mPath, copy.GetParentKeyPath());
    RegistryKey viaCopy;
    ASSERT_EQ(Ostra::kSuccess, viaCopy.Open(copy, L"Child"));
    EXPECT_EQ(Ostra::kSuccess, viaCopy.SetUInt32Value(L"v", 1)) << "a copy reopens with full access";
  }
  // The copy is gone; the shared handle still works for the original.
  std::vector<RegistryKey> keys;
  readOnly.EnumerateSubKeys(keys);
  EXPECT_EQ(2u, keys.size());

  // Opening through a copy re-targets the handle the copies share.
  RegistryKey original;
  ASSERT_EQ(Ostra::kSuccess, original.Open(RegistryRootKeys::kUser, mPath, RegistryKeyAccess::kAll));
  RegistryKey sharer(original);
  ASSERT_EQ(Ostra::kSuccess, sharer.Open(RegistryRootKeys::kUser, Sub(L"Other"),
                                         RegistryKeyAccess::kAll));
  ASSERT_EQ(Ostra::kSuccess, original.SetUInt32Value(L"where", 2));
  EXPECT_FALSE(RawHasValue(L"where"));
}

TEST_F(RegistryKeyTest, SwapAndAssignmentExchangeHandleAndPathOnly) {
  RawCreateKey(Sub(L"R\\Child"));
  RawCreateKey(Sub(L"W\\Child"));
  RegistryKey reader;
  ASSERT_EQ(Ostra::kSuccess,
            reader.Open(RegistryRootKeys::kUser, Sub(L"R"), RegistryKeyAccess::kRead));
  RegistryKey writer;
  ASSERT_EQ(Ostra::kSuccess,
            writer.Open(RegistryRootKeys::kUser, Sub(L"W"), RegistryKeyAccess::kAll));

  reader.Swap(writer);
  EXPECT_EQ(Sub(L"W"), reader.GetParentKeyPath());
  EXPECT_EQ(Sub(L"R"), writer.GetParentKeyPath());
  // reader now holds W's handle but kept its own read access for children.
  RegistryKey child;
  ASSERT_EQ(Ostra::kSuccess, child.Open(reader, L"Child"));
  EXPECT_EQ(Ostra::eOperationFailed, child.SetUInt32Value(L"v", 1));
  EXPECT_EQ(Ostra::kSuccess, reader.SetUInt32Value(L"v", 1)) << "W's handle has full access";

  RegistryKey target;
  ASSERT_EQ(Ostra::kSuccess,
            target.Open(RegistryRootKeys::kUser, Sub(L"R"), RegistryKeyAccess::kRead));
  target = writer;  // the R handle, opened with full access, path R
  EXPECT_EQ(Sub(L"R"), target.GetParentKeyPath());
  ASSERT_EQ(Ostra::kSuccess, child.Open(target, L"Child"));
  EXPECT_EQ(Ostra::eOperationFailed, child.SetUInt32Value(L"v", 1))
      << "the assigned-to key keeps its own access";
  target = target;
  EXPECT_EQ(Sub(L"R"), target.GetParentKeyPath());
}

TEST_F(RegistryKeyTest, ReadOnlyValuesIgnoreWritesButCanBeDeleted) {
  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(RegistryRootKeys::kUser, mPath, RegistryKeyAccess::kAll));
  ASSERT_EQ(Ostra::kSuccess, key.SetStringValue(L"key1", UTF16String(L"original")));
  EXPECT_FALSE(key.IsRegistryKeyReadOnly(L"key1"));
  key.SetRegistryKeyToReadOnly(L"key1");
  key.SetRegistryKeyToReadOnly(L"key1");
  EXPECT_TRUE(key.IsRegistryKeyReadOnly(L"key1"));
  EXPECT_FALSE(key.IsRegistryKeyReadOnly(L"KEY1")) << "identifiers compare case-sensitively";
  EXPECT_FALSE(key.IsRegistryKeyReadOnly(L"key"));

  const std::vector<char> bytes(4, 'b');
  EXPECT_EQ(Ostra::kSuccess, key.SetStringValue(L"key1", UTF16String(L"changed")));
  EXPECT_EQ(Ostra::kSuccess, key.SetStringValue(L"key1", std::string("changed")));
  EXPECT_EQ(Ostra::kSuccess, key.SetUInt32Value(L"key1", 1));
  EXPECT_EQ(Ostra::kSuccess, key.SetUInt64Value(L"key1", 1));
  EXPECT_EQ(Ostra::kSuccess, key.SetBooleanValue(L"key1", true));
  EXPECT_EQ(Ostra::kSuccess, key.SetBinaryValue(L"key1", bytes));
  // Even a write that would otherwise be refused reports success.
  EXPECT_EQ(Ostra::kSuccess, key.SetBinaryValue(L"key1", std::vector<char>(5000)));
  EXPECT_EQ(L"original", RawString(L"key1"));

  // Another key object with the same root and path shares the identifier;
  // one that reached the key by a relative path does not.
  RegistryKey sameIdentity;
  ASSERT_EQ(Ostra::kSuccess,
            sameIdentity.Open(RegistryRootKeys::kUser, mPath, RegistryKeyAccess::kRead));
  EXPECT_TRUE(sameIdentity.IsRegistryKeyReadOnly(L"key1"));
  RegistryKey software;
  ASSERT_EQ(Ostra::kSuccess,
            software.Open(RegistryRootKeys::kUser, L"Software", RegistryKeyAccess::kRead));
  RegistryKey relative;
  ASSERT_EQ(Ostra::kSuccess, relative.Open(software, mPath.substr(9)));
  EXPECT_FALSE(relative.IsRegistryKeyReadOnly(L"key1"));

  EXPECT_EQ(Ostra::kSuccess, key.DeleteValue(L"key1"));
  EXPECT_FALSE(RawHasValue(L"key1"));
  EXPECT_EQ(Ostra::kSuccess, key.SetStringValue(L"key1", UTF16String(L"new")));
  EXPECT_FALSE(RawHasValue(L"key1")) << "still read-only after the delete";
}

TEST_F(RegistryKeyTest, AKeyNeverOpenedFailsEveryOperation) {
  RegistryKey key;
  EXPECT_TRUE(key.GetParentKeyPath().empty());
  UTF16String text;
  EXPECT_EQ(Ostra::eOperationFailed, key.GetStringValue(L"v", text));
  EXPECT_EQ(Ostra::eOperationFailed, key.SetStringValue(L"v", UTF16String(L"x")));
  EXPECT_EQ(Ostra::eOperationFailed, key.SetUInt32Value(L"v", 1));
  EXPECT_EQ(Ostra::eOperationFailed, key.DeleteValue(L"v"));
  EXPECT_EQ(Ostra::eOperationFailed, key.DeleteSubKey(L"v"));
}

TEST_F(RegistryKeyTest, FlushingPolicyWritesEveryChangeAtOnce) {
  EXPECT_TRUE(Ostra::ShouldFlushEveryChangeImmediately());
  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(RegistryRootKeys::kUser, mPath, RegistryKeyAccess::kAll));
  {
    Ostra::ScDelayFlushingChangesToOS delay;
    ASSERT_EQ(Ostra::kSuccess, key.SetStringValue(L"v", UTF16String(L"now")));
    EXPECT_EQ(L"now", RawString(L"v"));
    key.SyncAppPrefs();
  }
  EXPECT_EQ(L"now", RawString(L"v"));
}

}  // namespace
