#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "HandleCount.h"
#include "Ostra/RegistryKey.h"
#include "strata/Utility.h"

namespace {

using Ostra::RegistryKey;
using Ostra::UTF16String;
namespace RegistryKeyAccess = Ostra::RegistryKeyAccess;
namespace RegistryRootKeys = Ostra::RegistryRootKeys;

const RegistryRootKeys::Type kUser = RegistryRootKeys::kUser;

// Each test gets its own key under HKCU\Software, which must not exist
// beforehand and is removed afterwards whatever the test did. Checks go
// through the raw API so that they do not depend on the class under test,
// and a test that leaves handles open fails.
class RegistryKeyTest : public ::testing::Test {
 protected:
  void SetUp() override {
    mPath = L"Software\\OstraRegistryKeyTest-" + strata::utility::Guid::CreateUnique().AsString();
    ASSERT_FALSE(RawKeyExists(mPath)) << "test key already exists";
    ASSERT_EQ(ERROR_SUCCESS, ::RegCreateKeyExW(HKEY_CURRENT_USER, mPath.c_str(), 0, nullptr, 0,
                                               KEY_ALL_ACCESS, nullptr, &mRaw, nullptr));
    // GoogleTest's first SCOPED_TRACE on a thread opens handles it keeps.
    { SCOPED_TRACE("opens GoogleTest's per-thread handles before the count"); }
    mHandlesBefore = OstraTest::HandleCountsAreReported() ? OstraTest::ProcessHandleCount() : -1;
  }

  void TearDown() override {
    if (mHandlesBefore >= 0) {
      EXPECT_EQ(mHandlesBefore, OstraTest::ProcessHandleCount()) << "handles leaked";
    }
    if (mRaw) ::RegCloseKey(mRaw);
    EXPECT_EQ(ERROR_SUCCESS, ::RegDeleteTreeW(HKEY_CURRENT_USER, mPath.c_str()));  // and the key
  }

  UTF16String Sub(const UTF16String& inRelative) const { return mPath + L"\\" + inRelative; }

  void RawSet(const UTF16String& inName, DWORD inType, const void* inData, DWORD inSize) {
    ASSERT_EQ(ERROR_SUCCESS, ::RegSetValueExW(mRaw, inName.c_str(), 0, inType,
                                              static_cast<const BYTE*>(inData), inSize));
  }
  bool RawHasValue(const UTF16String& inName) const {
    return ::RegQueryValueExW(mRaw, inName.c_str(), nullptr, nullptr, nullptr, nullptr) ==
           ERROR_SUCCESS;
  }
  static UTF16String RawString(const UTF16String& inPath, const UTF16String& inName) {
    wchar_t buffer[256] = {};
    DWORD size = sizeof(buffer) - sizeof(wchar_t);
    ::RegGetValueW(HKEY_CURRENT_USER, inPath.c_str(), inName.c_str(), RRF_RT_REG_SZ, nullptr,
                   buffer, &size);
    return buffer;
  }
  static bool RawKeyExists(const UTF16String& inPath) {
    HKEY key = nullptr;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, inPath.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS)
      return false;
    ::RegCloseKey(key);
    return true;
  }
  // False when refused (Windows takes no key names over 255 characters).
  static bool RawCreateKey(const UTF16String& inPath) {
    HKEY key = nullptr;
    if (::RegCreateKeyExW(HKEY_CURRENT_USER, inPath.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                          nullptr, &key, nullptr) != ERROR_SUCCESS)
      return false;
    ::RegCloseKey(key);
    return true;
  }

  UTF16String mPath;
  HKEY mRaw = nullptr;
  long mHandlesBefore = -1;
};

TEST(RegistryKeyLeakCheck, HandleCountsCanBeObserved) {
  if (!OstraTest::HandleCountsAreReported())
    GTEST_SKIP() << "this system reports no process handle counts; the leak checks of the "
                    "registry tests are off";
}

TEST_F(RegistryKeyTest, CreateTellsANewKeyFromAnExistingOneAndOpenReportsMissingKeys) {
  RegistryKey key;
  EXPECT_EQ(Ostra::kSuccess, key.Create(kUser, Sub(L"New")));
  RegistryKey again;
  const Ostra::Result result = again.Create(kUser, Sub(L"New"));
  EXPECT_EQ(0x200F0001, result);
  EXPECT_TRUE(strata::ResultSucceeded(result)) << "kKeyAlreadyExists must count as success";
  ASSERT_EQ(Ostra::kSuccess, again.SetStringValue(L"v", UTF16String(L"there")));
  EXPECT_EQ(L"there", RawString(Sub(L"New"), L"v")) << "open on the existing key";

  RegistryKey child;
  EXPECT_EQ(Ostra::kSuccess, child.Create(key, L"A\\B"));
  EXPECT_TRUE(RawKeyExists(Sub(L"New\\A\\B")));
  EXPECT_EQ(Ostra::kKeyAlreadyExists, child.Create(key, L"A"));

  // A failed open replaces the path but keeps the handle.
  EXPECT_EQ(Ostra::eFileNotFound, key.Open(kUser, Sub(L"Missing\\Deeper"), RegistryKeyAccess::kAll));
  EXPECT_EQ(Sub(L"Missing\\Deeper"), key.GetParentKeyPath());
  UTF16String text;
  EXPECT_EQ(Ostra::kSuccess, key.GetStringValue(L"v", text));
  EXPECT_EQ(L"there", text);
  EXPECT_EQ(Ostra::eFileNotFound, child.Open(key, L"Nope"));

  RegistryKey closed;
  EXPECT_EQ(Ostra::eOperationFailed, child.Open(closed, L"A")) << "parent never opened";
  EXPECT_EQ(Ostra::eOperationFailed, closed.GetStringValue(L"v", text));
  EXPECT_EQ(Ostra::eOperationFailed, closed.SetUInt32Value(L"v", 1));
  EXPECT_EQ(Ostra::eOperationFailed, closed.DeleteSubKey(L"A"));
}

TEST_F(RegistryKeyTest, OpenGrantsAccessByTheTwoLowBits) {
  RawSet(L"v", REG_SZ, L"text", 10);
  const struct {
    int access;
    bool canRead;
    bool canWrite;
  } rows[] = {{0, true, true}, {1, true, false}, {2, false, true}, {3, true, true},
              {5, true, false}, {6, false, true}, {4, false, false}};
  for (const auto& row : rows) {
    SCOPED_TRACE(::testing::Message() << "access " << row.access);
    RegistryKey key;
    const Ostra::Result opened =
        key.Open(kUser, mPath, static_cast<RegistryKeyAccess::Type>(row.access));
    if (row.access == 4 && !strata::ResultSucceeded(opened)) continue;  // no access at all
    ASSERT_EQ(Ostra::kSuccess, opened);
    UTF16String text;
    EXPECT_EQ(row.canRead, strata::ResultSucceeded(key.GetStringValue(L"v", text)));
    EXPECT_EQ(row.canWrite, strata::ResultSucceeded(key.SetUInt32Value(L"w", 1)));
  }
}

TEST_F(RegistryKeyTest, TypedValuesRoundTrip) {
  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(kUser, mPath, RegistryKeyAccess::kAll));
  const std::vector<char> bytes = {'\0', '\x01', '\xFF', 'z'};
  EXPECT_EQ(Ostra::kSuccess, key.SetStringValue(L"wide", UTF16String(L"caf\u00e9 \u65e5")));
  EXPECT_EQ(Ostra::kSuccess, key.SetStringValue(L"", std::string("na\xc3\xafve")));
  EXPECT_EQ(Ostra::kSuccess, key.SetStringValue(L"cut", UTF16String(L"ab\0cd", 5)));
  EXPECT_EQ(Ostra::kSuccess, key.SetUInt32Value(L"u32", 0xFFFFFFFEu));
  EXPECT_EQ(Ostra::kSuccess, key.SetUInt64Value(L"u64", 0x0123456789ABCDEFull));
  EXPECT_EQ(Ostra::kSuccess, key.SetBooleanValue(L"yes", true));
  EXPECT_EQ(Ostra::kSuccess, key.SetBinaryValue(L"bin", bytes));
  EXPECT_EQ(Ostra::kSuccess, key.SetBinaryValue(L"empty", nullptr, 0));

  UTF16String wide;
  EXPECT_EQ(Ostra::kSuccess, key.GetStringValue(L"wide", wide));
  EXPECT_EQ(L"caf\u00e9 \u65e5", wide);
  std::string narrow;
  EXPECT_EQ(Ostra::kSuccess, key.GetStringValue(L"", narrow));
  EXPECT_EQ("na\xc3\xafve", narrow);
  EXPECT_EQ(L"na\u00efve", RawString(mPath, L"")) << "stored as UTF-16 in the default value";
  EXPECT_EQ(L"ab", RawString(mPath, L"cut")) << "only the text before the first NUL";
  std::uint32_t u32 = 0;
  EXPECT_EQ(Ostra::kSuccess, key.GetUInt32Value(L"u32", u32));
  EXPECT_EQ(0xFFFFFFFEu, u32);
  std::uint64_t u64 = 0;
  EXPECT_EQ(Ostra::kSuccess, key.GetUInt64Value(L"u64", u64));
  EXPECT_EQ(0x0123456789ABCDEFull, u64);
  EXPECT_EQ(Ostra::kSuccess, key.GetUInt32Value(L"yes", u32)) << "booleans are REG_DWORD 1/0";
  EXPECT_EQ(1u, u32);
  std::vector<char> read(3, 'x');
  EXPECT_EQ(Ostra::kSuccess, key.GetBinaryValue(L"bin", read));
  EXPECT_EQ(bytes, read);
  EXPECT_EQ(Ostra::kSuccess, key.GetBinaryValue(L"empty", read));
  EXPECT_TRUE(read.empty());

  // Into a caller's buffer: one byte short fails and leaves the size alone.
  char buffer[8] = {};
  std::size_t size = 3;
  EXPECT_EQ(Ostra::eOperationFailed, key.GetBinaryValue(L"bin", buffer, &size));
  EXPECT_EQ(3u, size);
  size = sizeof(buffer);
  EXPECT_EQ(Ostra::kSuccess, key.GetBinaryValue(L"bin", buffer, &size));
  EXPECT_EQ(bytes, std::vector<char>(buffer, buffer + size));
}

TEST_F(RegistryKeyTest, ReadsOfMissingOrMistypedValuesFailWithoutTouchingOutputs) {
  const DWORD dword = 0x11223344;
  RawSet(L"dword", REG_DWORD, &dword, sizeof(dword));
  RawSet(L"string", REG_SZ, L"text", 10);
  RawSet(L"binary", REG_BINARY, "12345678", 8);
  RawSet(L"qword", REG_QWORD, "12345678", 8);
  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(kUser, mPath, RegistryKeyAccess::kRead));
  for (const wchar_t* valueName : {L"missing", L"dword", L"string", L"binary", L"qword"}) {
    const UTF16String name(valueName);
    SCOPED_TRACE(strata::string::UTF16toStdString(name));
    if (name != L"string") {
      UTF16String text(L"keep");
      EXPECT_EQ(Ostra::eOperationFailed, key.GetStringValue(name, text));
      EXPECT_EQ(L"keep", text);
    }
    if (name != L"dword") {
      std::uint32_t u32 = 17;
      EXPECT_EQ(Ostra::eOperationFailed, key.GetUInt32Value(name, u32));
      EXPECT_EQ(17u, u32);
      bool flag = true;
      EXPECT_EQ(Ostra::eOperationFailed, key.GetBooleanValue(name, flag));
      EXPECT_FALSE(flag) << "a failed boolean read yields false";
    }
    if (name != L"binary") {
      std::vector<char> bytes;
      EXPECT_EQ(Ostra::eOperationFailed, key.GetBinaryValue(name, bytes));
    }
    if (name != L"qword") {
      std::uint64_t u64 = 0xAAAAAAAAAAAAAAAAull;
      EXPECT_EQ(Ostra::eOperationFailed, key.GetUInt64Value(name, u64));
      // A REG_DWORD lands in the low half before the type check fails.
      if (name == L"dword") {
        EXPECT_EQ(0xAAAAAAAA11223344ull, u64);
      }
    }
  }
}

TEST_F(RegistryKeyTest, StringsWrittenWithoutTerminatorOrWithOddLengthAreRejected) {
  // RegSetValueExW counts a terminator the caller left out when the next
  // character in memory is one, so unterminated rows carry an 'X' beyond
  // their counted bytes.
  const struct {
    const char* what;
    DWORD type;
    const wchar_t* data;
    DWORD bytes;
    const wchar_t* expected;  // null: eOperationFailed
  } rows[] = {
      {"terminated", REG_SZ, L"ab", 6, L"ab"},
      {"unterminated", REG_SZ, L"abcX", 6, nullptr},
      {"odd byte count", REG_SZ, L"ab", 5, nullptr},
      {"odd and unterminated", REG_SZ, L"abcX", 5, nullptr},
      {"empty string", REG_SZ, L"", 2, L""},
      {"no bytes at all", REG_SZ, L"", 0, L""},
      {"inner NUL", REG_SZ, L"a\0b", 8, L"a"},
      {"expandable, kept unexpanded", REG_EXPAND_SZ, L"%T%", 8, L"%T%"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    RawSet(L"s", row.type, row.data, row.bytes);
    RegistryKey key;
    ASSERT_EQ(Ostra::kSuccess, key.Open(kUser, mPath, RegistryKeyAccess::kRead));
    UTF16String text(L"keep");
    EXPECT_EQ(row.expected ? Ostra::kSuccess : Ostra::eOperationFailed,
              key.GetStringValue(L"s", text));
    EXPECT_EQ(row.expected ? row.expected : L"keep", text);
  }
}

TEST_F(RegistryKeyTest, BinaryWritesStopAt4096Bytes) {
  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(kUser, mPath, RegistryKeyAccess::kAll));
  std::vector<char> bytes(4096, '\x5A');
  EXPECT_EQ(Ostra::kSuccess, key.SetBinaryValue(L"max", bytes));
  bytes.push_back('\x01');
  EXPECT_EQ(Ostra::eOperationFailed, key.SetBinaryValue(L"max", bytes));
  EXPECT_EQ(Ostra::eOperationFailed, key.SetBinaryValue(L"over", bytes.data(), bytes.size()));
  EXPECT_FALSE(RawHasValue(L"over"));
  std::vector<char> read;
  EXPECT_EQ(Ostra::kSuccess, key.GetBinaryValue(L"max", read));
  EXPECT_EQ(4096u, read.size()) << "a refused write must leave the old value";
}

TEST_F(RegistryKeyTest, DeletingRemovesValuesAndWholeTrees) {
  for (const wchar_t* path : {L"Tree\\Level1\\Level2\\Level3", L"Tree\\Level1\\Sibling",
                              L"Tree\\Other", L"Keep\\Inner\\Leaf"})
    ASSERT_TRUE(RawCreateKey(Sub(path)));
  // Children at the length limit (and past it where the registry allows).
  ASSERT_TRUE(RawCreateKey(Sub(L"Tree\\" + UTF16String(255, L'L') + L"\\Leaf")));
  RawCreateKey(Sub(L"Tree\\" + UTF16String(300, L'M')));
  RawSet(L"v", REG_SZ, L"x", 4);
  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(kUser, mPath, RegistryKeyAccess::kAll));

  EXPECT_EQ(Ostra::kSuccess, key.DeleteValue(L"v"));
  EXPECT_FALSE(RawHasValue(L"v"));
  EXPECT_EQ(Ostra::eOperationFailed, key.DeleteValue(L"v"));

  EXPECT_EQ(Ostra::kSuccess, key.DeleteSubKey(L"Tree"));
  EXPECT_FALSE(RawKeyExists(Sub(L"Tree")));
  EXPECT_EQ(Ostra::eFileNotFound, key.DeleteSubKey(L"Tree"));
  EXPECT_EQ(Ostra::kSuccess, key.DeleteSubKey(L"Keep\\Inner"));
  EXPECT_FALSE(RawKeyExists(Sub(L"Keep\\Inner")));
  EXPECT_TRUE(RawKeyExists(Sub(L"Keep")));
  EXPECT_EQ(Ostra::eOperationFailed, key.DeleteSubKey(L"")) << "must not delete the key itself";
  EXPECT_TRUE(RawKeyExists(mPath));
}

TEST_F(RegistryKeyTest, EnumeratedKeysAreOpenOnTheirOwnKeyAndReportTheirLeafNames) {
  // Windows ends key names at 255 characters and refuses longer ones; Wine
  // takes them. Either way every name the registry holds comes back whole.
  const UTF16String longest(255, L'L'), longer(300, L'M');
  std::vector<UTF16String> expected{L"Alpha", L"Beta", longest};
  for (const UTF16String& name : expected)
    ASSERT_TRUE(RawCreateKey(Sub(name + L"\\Grandchild")));  // only children are listed
  if (RawCreateKey(Sub(longer + L"\\Grandchild"))) expected.push_back(longer);
  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(kUser, mPath, RegistryKeyAccess::kAll));
  std::vector<RegistryKey> keys(1);  // appended to, not replaced
  key.EnumerateSubKeys(keys);
  ASSERT_EQ(expected.size() + 1, keys.size());
  std::vector<UTF16String> names;
  for (std::size_t i = 1; i < keys.size(); ++i) {
    const UTF16String name = keys[i].GetParentKeyPath();
    names.push_back(name);
    EXPECT_EQ(name, keys[i].GetParentKeyPathLastPart()) << "the whole stored path";
    // Open on the key of that name.
    EXPECT_EQ(Ostra::kSuccess, keys[i].SetStringValue(L"seen", name.substr(0, 8)));
    EXPECT_EQ(name.substr(0, 8), RawString(Sub(name), L"seen"));
  }
  std::sort(names.begin(), names.end());
  EXPECT_EQ(expected, names);
}

TEST_F(RegistryKeyTest, CopiesShareTheHandleWhileSwapKeepsRootAndAccess) {
  ASSERT_TRUE(RawCreateKey(Sub(L"R\\Child")) && RawCreateKey(Sub(L"W\\Child")));
  RegistryKey reader;
  ASSERT_EQ(Ostra::kSuccess, reader.Open(kUser, Sub(L"R"), RegistryKeyAccess::kRead));
  RegistryKey child;
  ASSERT_EQ(Ostra::kSuccess, child.Open(reader, L"Child"));
  EXPECT_EQ(Ostra::eOperationFailed, child.SetUInt32Value(L"v", 1)) << "inherits read access";
  {
    RegistryKey copy(reader);
    EXPECT_EQ(Sub(L"R"), copy.GetParentKeyPath());
    ASSERT_EQ(Ostra::kSuccess, child.Open(copy, L"Child"));
    EXPECT_EQ(Ostra::kSuccess, child.SetUInt32Value(L"v", 1)) << "a copy reopens with full access";
  }

  RegistryKey writer;
  ASSERT_EQ(Ostra::kSuccess, writer.Open(kUser, Sub(L"W"), RegistryKeyAccess::kAll));
  reader.Swap(writer);
  EXPECT_EQ(Sub(L"W"), reader.GetParentKeyPath());
  EXPECT_EQ(Sub(L"R"), writer.GetParentKeyPath());
  EXPECT_EQ(Ostra::kSuccess, reader.SetUInt32Value(L"v", 1)) << "W's handle has full access";
  ASSERT_EQ(Ostra::kSuccess, child.Open(reader, L"Child"));
  EXPECT_EQ(Ostra::eOperationFailed, child.SetUInt32Value(L"v", 1)) << "reader kept read access";

  RegistryKey target;
  ASSERT_EQ(Ostra::kSuccess, target.Open(kUser, mPath, RegistryKeyAccess::kRead));
  target = reader;
  EXPECT_EQ(Sub(L"W"), target.GetParentKeyPath());
  ASSERT_EQ(Ostra::kSuccess, child.Open(target, L"Child"));
  EXPECT_EQ(Ostra::eOperationFailed, child.SetUInt32Value(L"v", 1)) << "target kept its access";
}

TEST_F(RegistryKeyTest, ReadOnlyValuesIgnoreWritesButCanBeDeleted) {
  RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess, key.Open(kUser, mPath, RegistryKeyAccess::kAll));
  ASSERT_EQ(Ostra::kSuccess, key.SetStringValue(L"key1", UTF16String(L"original")));
  key.SetRegistryKeyToReadOnly(L"key1");
  EXPECT_TRUE(key.IsRegistryKeyReadOnly(L"key1"));
  EXPECT_FALSE(key.IsRegistryKeyReadOnly(L"KEY1")) << "identifiers compare case-sensitively";

  EXPECT_EQ(Ostra::kSuccess, key.SetStringValue(L"key1", UTF16String(L"changed")));
  EXPECT_EQ(Ostra::kSuccess, key.SetUInt32Value(L"key1", 1));
  EXPECT_EQ(Ostra::kSuccess, key.SetUInt64Value(L"key1", 1));
  EXPECT_EQ(Ostra::kSuccess, key.SetBinaryValue(L"key1", std::vector<char>(5000)))
      << "even a write that would be refused reports success";
  EXPECT_EQ(L"original", RawString(mPath, L"key1"));

  // The identifier is root, stored path and name: a key reached through a
  // parent by a relative path names another value.
  RegistryKey sameIdentity;
  ASSERT_EQ(Ostra::kSuccess, sameIdentity.Open(kUser, mPath, RegistryKeyAccess::kRead));
  EXPECT_TRUE(sameIdentity.IsRegistryKeyReadOnly(L"key1"));
  RegistryKey software;
  ASSERT_EQ(Ostra::kSuccess, software.Open(kUser, L"Software", RegistryKeyAccess::kRead));
  RegistryKey relative;
  ASSERT_EQ(Ostra::kSuccess, relative.Open(software, mPath.substr(9)));
  EXPECT_FALSE(relative.IsRegistryKeyReadOnly(L"key1"));

  EXPECT_EQ(Ostra::kSuccess, key.DeleteValue(L"key1"));
  EXPECT_FALSE(RawHasValue(L"key1"));
  EXPECT_EQ(Ostra::kSuccess, key.SetStringValue(L"key1", UTF16String(L"new")));
  EXPECT_FALSE(RawHasValue(L"key1")) << "still read-only after the delete";
}

}  // namespace
