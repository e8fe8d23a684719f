// Fuzz tests that hold the library against Windows itself: the shell's
// path functions (whose portable models the Posix build uses instead) and
// the registry's stored string values.
#include <windows.h>
#include <shlwapi.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Ostra/PathUtils.h"
#include "Ostra/RegistryKey.h"
#include "PathUtilsPrivate.h"
#include "Support/Fuzz.h"
#include "Support/PathText.h"
#include "Win/RegistryKeyPrivate.h"

namespace {

namespace PathUtils = Ostra::PathUtils;
using Ostra::UTF16String;
using OstraTest::Fuzzer;
using OstraTest::kFuzzInputs;
using OstraTest::PathText;

TEST(Fuzz, NextComponentModelAgreesWithTheShell) {
  Fuzzer fuzz("next component");
  for (int i = 0; i < kFuzzInputs; ++i) {
    const UTF16String path = PathText(fuzz, 12);
    const wchar_t* const shell = ::PathFindNextComponentW(path.c_str());
    const wchar_t* const own = PathUtils::Internal::NextComponent(path.c_str());
    FUZZ_EXPECT(shell == own, fuzz, i, path);
  }
}

// The model against the shell itself: joins of dotted components, both
// separators, drives, UNC and long-path prefixes, null and empty arguments,
// and joins about MAX_PATH long. Each input stays below MAX_PATH: a longer
// one the shell cuts short (and may answer for that other path), where the
// model refuses; the library never hands such inputs to the shell.
TEST(Fuzz, CombineModelAgreesWithTheShell) {
  Fuzzer fuzz("combine");
  const UTF16String kPieces[] = {L".", L"..", L"...", L"a", L"b.c", L"\\",
                                 L"\\", L"/",  L":",   L"C:", L" "};
  const auto text = [&]() {
    if (fuzz.OneIn(3)) return PathText(fuzz, 12);
    UTF16String path = PathText(fuzz, 0);
    for (std::uint32_t n = fuzz.Below(8); n > 0; --n) path += kPieces[fuzz.Below(11)];
    // Now and then about MAX_PATH long, so that joins meet the limit.
    if (fuzz.OneIn(10)) path.insert(path.size() / 2, 200 + fuzz.Below(60), L'y');
    return path.substr(0, MAX_PATH - 1);
  };
  for (int i = 0; i < kFuzzInputs; ++i) {
    const UTF16String directory = text(), file = text();
    const wchar_t* const directoryArgument = fuzz.OneIn(30) ? nullptr : directory.c_str();
    const wchar_t* const fileArgument = fuzz.OneIn(30) ? nullptr : file.c_str();
    const UTF16String shown = directory + L" + " + file;
    wchar_t shell[2 * MAX_PATH] = {};
    const bool shellJoined = ::PathCombineW(shell, directoryArgument, fileArgument) != nullptr;
    UTF16String own = L"untouched";
    const bool ownJoined = PathUtils::Internal::CombinedPath(directoryArgument, fileArgument, own);
    FUZZ_EXPECT(shellJoined == ownJoined, fuzz, i, shown);
    // A join that ends in ".." and keeps nothing (a\.. or \a\..) is a lone
    // backslash to the model; the shell steps past its terminator there and adds
    // whatever its buffer held behind it. No acceptable base meets this.
    if (own == L"\\") continue;
    FUZZ_EXPECT(ownJoined ? own == shell : own == L"untouched", fuzz, i, shown);
    FUZZ_EXPECT(PathUtils::CombinePaths(directory, file).size() < std::size_t(MAX_PATH), fuzz, i,
                shown);
  }
}

// Below the shell's limits the library asks the shell; beyond them it
// walks the components itself. The two must agree where both answer, and
// refuse the same answers at the shell's 260-character limit.
TEST(Fuzz, RelativePathsAgreeWithTheShell) {
  Fuzzer fuzz("relative paths");
  const UTF16String components[] = {L"a", L"A", L"b", L"ab", L"aB", L"abc", L"x y", L"\x00E9"};
  const auto directory = [&]() {
    UTF16String path;
    for (std::uint32_t n = fuzz.Below(6); n > 0; --n) {
      path += components[fuzz.Below(8)];
      path += fuzz.OneIn(20) ? L"\\\\" : L"\\";
    }
    return path;
  };
  for (int i = 0; i < kFuzzInputs; ++i) {
    const UTF16String from = directory(), to = directory();
    UTF16String shell = L"untouched", own = L"untouched";
    const bool shellRelated = PathUtils::ArePathsRelative(L"C:\\" + from, L"D:\\" + to, shell);
    const bool ownRelated = PathUtils::Internal::RelativeDirectoryPath(from, to, own);
    FUZZ_EXPECT(shellRelated == ownRelated, fuzz, i, from + L" -> " + to);
    FUZZ_EXPECT(shell == own, fuzz, i, from + L" -> " + to);
    // Answers of about 260 characters, from the shell itself: the inputs
    // stay whole in its MAX_PATH copies and its unchecked "..\" steps few.
    if (from.size() >= 3) {
      const std::size_t length = 259 - fuzz.Below(20);
      const UTF16String longTo = to + UTF16String(length - 1 - to.size(), L'y') + L"\\";
      wchar_t answer[MAX_PATH] = {};
      const bool shellAnswered =
          ::PathRelativePathToW(answer, from.c_str(), FILE_ATTRIBUTE_DIRECTORY, longTo.c_str(),
                                FILE_ATTRIBUTE_DIRECTORY) != FALSE;
      own = L"untouched";
      const bool ownAnswered = PathUtils::Internal::RelativeDirectoryPath(from, longTo, own);
      FUZZ_EXPECT(shellAnswered == ownAnswered, fuzz, i, from + L" -> " + longTo);
      FUZZ_EXPECT(ownAnswered ? own == answer : own == L"untouched", fuzz, i,
                  from + L" -> " + longTo);
    }
    // Long and odd paths never fail to answer safely, nor answer more
    // than the shell's buffer holds.
    if (fuzz.OneIn(100)) {
      UTF16String deep = L"C:\\";
      for (std::uint32_t n = 100 + fuzz.Below(200); n > 0; --n)
        deep += components[fuzz.Below(8)] + L"\\";
      shell.clear();
      PathUtils::ArePathsRelative(deep, PathText(fuzz, 300), shell);
      PathUtils::ArePathsRelative(PathText(fuzz, 300), deep, shell);
      FUZZ_EXPECT(shell.size() < 260, fuzz, i, deep);
    }
  }
}

TEST(Fuzz, StringValuesDecodeFromRawBytesOfEveryLength) {
  Fuzzer fuzz("registry decoding");
  const std::uint8_t kBytes[] = {0, 0, 0, 'a', 'b', 0xE9, 0xD8, 0xFF};
  for (int i = 0; i < kFuzzInputs; ++i) {
    std::vector<std::uint8_t> raw(i % 67);  // every length from 0 to 66
    for (std::uint8_t& byte : raw) byte = kBytes[fuzz.Below(8)];
    UTF16String text = L"untouched";
    const bool decoded = Ostra::Internal::DecodeStringValue(raw.data(), raw.size(), text);
    const UTF16String shown(raw.begin(), raw.end());
    if (!decoded) {
      FUZZ_EXPECT(text == L"untouched", fuzz, i, shown);
      continue;
    }
    // The text and its terminator are the stored units' beginning.
    FUZZ_EXPECT(text.find(L'\0') == UTF16String::npos, fuzz, i, shown);
    FUZZ_EXPECT(raw.size() < 2 || (text.size() + 1) * 2 <= raw.size(), fuzz, i, shown);
    for (std::size_t unit = 0; unit < text.size(); ++unit)
      FUZZ_EXPECT(text[unit] == (raw[2 * unit] | raw[2 * unit + 1] << 8), fuzz, i, shown);
  }
}

// The decoder against the registry itself: raw bytes stored as a string
// value read back as the decoder says, for every length up to 66 bytes.
// Four rounds of every length: the registry is slow to write.
TEST(Fuzz, StoredStringValuesReadAsTheyDecode) {
  Fuzzer fuzz("registry values");
  const std::wstring path = L"Software\\OstraFoundationTests\\Fuzz";
  Ostra::RegistryKey key;
  ASSERT_TRUE(strata::ResultSucceeded(key.Create(Ostra::RegistryRootKeys::kUser, path)));
  HKEY raw = nullptr;
  ASSERT_EQ(ERROR_SUCCESS,
            ::RegOpenKeyExW(HKEY_CURRENT_USER, path.c_str(), 0, KEY_ALL_ACCESS, &raw));
  const std::uint8_t kBytes[] = {0, 0, 'a', 0xE9, 0xD8};
  for (int i = 0; i < 67 * 4; ++i) {
    std::vector<std::uint8_t> bytes(i % 67);
    for (std::uint8_t& byte : bytes) byte = kBytes[fuzz.Below(5)];
    const UTF16String shown(bytes.begin(), bytes.end());
    ASSERT_EQ(ERROR_SUCCESS, ::RegSetValueExW(raw, L"v", 0, REG_SZ, bytes.data(),
                                              static_cast<DWORD>(bytes.size())));
    // The system may store a terminator the caller left out (when one
    // follows the data in memory): decode what it holds.
    std::uint8_t stored[80] = {};
    DWORD storedSize = sizeof(stored);
    ASSERT_EQ(ERROR_SUCCESS, ::RegQueryValueExW(raw, L"v", nullptr, nullptr, stored, &storedSize));
    UTF16String decoded = L"untouched", read = L"untouched";
    const bool decodes = Ostra::Internal::DecodeStringValue(stored, storedSize, decoded);
    FUZZ_EXPECT(strata::ResultSucceeded(key.GetStringValue(L"v", read)) == decodes, fuzz, i, shown);
    FUZZ_EXPECT(read == decoded, fuzz, i, shown);
    // Text without NUL goes in and comes back whole.
    const UTF16String text = fuzz.Text(UTF16String(L"ab \x00E9\xD800"), 20);
    ASSERT_TRUE(strata::ResultSucceeded(key.SetStringValue(L"t", text)));
    FUZZ_EXPECT(strata::ResultSucceeded(key.GetStringValue(L"t", read)) && read == text, fuzz, i,
                text);
  }
  ::RegCloseKey(raw);
  ::RegDeleteKeyW(HKEY_CURRENT_USER, path.c_str());
}

}  // namespace
