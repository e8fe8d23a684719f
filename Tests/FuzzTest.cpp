// Seeded fuzz tests of the pure functions: each family checks rules that
// must hold for every input (split and join agree, normalising twice
// changes nothing, text round-trips) over kFuzzInputs generated inputs. A
// failure stops its test and names the seed and input to replay.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Ostra/DirectoryRegistry.h"
#include "Ostra/PathUtils.h"
#include "Ostra/Timecode.h"
#include "PathUtilsPrivate.h"
#include "Support/Fuzz.h"
#include "Support/PathText.h"

namespace {

namespace PathUtils = Ostra::PathUtils;
using Ostra::UTF16String;
using OstraTest::Fuzzer;
using OstraTest::kFuzzInputs;
using OstraTest::PathText;

TEST(Fuzz, PathPartsSplitAndJoinAgree) {
  Fuzzer fuzz("path parts");
  for (int i = 0; i < kFuzzInputs; ++i) {
    const UTF16String path = PathText(fuzz, 24);
    UTF16String drive, directory, file, extension;
    PathUtils::SplitPath(path, &drive, &directory, &file, &extension);
    // The parts are the path up to its first NUL, in order.
    const UTF16String cString(path.c_str());
    FUZZ_EXPECT(drive + directory + file + extension == cString, fuzz, i, path);
    FUZZ_EXPECT(PathUtils::MakePath(drive, directory, file, extension) == cString, fuzz, i, path);
    FUZZ_EXPECT(directory.empty() || PathUtils::IsPathSeparator(directory.back()), fuzz, i, path);
    FUZZ_EXPECT(file.find_first_of(L"\\/") == UTF16String::npos, fuzz, i, path);
    FUZZ_EXPECT(extension.empty() || extension[0] == L'.', fuzz, i, path);
    FUZZ_EXPECT(extension.find_first_of(L"\\/") == UTF16String::npos, fuzz, i, path);
    // The single-part queries agree with the split.
    if (!path.empty()) {
      FUZZ_EXPECT(PathUtils::GetDrivePart(path) == drive, fuzz, i, path);
      FUZZ_EXPECT(PathUtils::GetDirectoryPart(path) == directory, fuzz, i, path);
      FUZZ_EXPECT(PathUtils::GetFilePart(path) == file, fuzz, i, path);
      FUZZ_EXPECT(PathUtils::GetExtensionPart(path) == extension, fuzz, i, path);
      FUZZ_EXPECT(PathUtils::GetFullFilePart(path) == file + extension, fuzz, i, path);
      FUZZ_EXPECT(PathUtils::GetFullDirectoryPart(path) == drive + directory, fuzz, i, path);
    }
    if (!extension.empty() && extension.size() > 1) {
      FUZZ_EXPECT(PathUtils::FileHasExtension(path, extension), fuzz, i, path);
      FUZZ_EXPECT(PathUtils::FileHasExtension(path, extension.substr(1)), fuzz, i, path);
    }
    // The name part is the whole path cut before its last dot.
    const UTF16String name = PathUtils::GetFileNamePart(path);
    const std::size_t dot = path.rfind(L'.');
    FUZZ_EXPECT(name == path.substr(0, dot), fuzz, i, path);

    UTF16String cleaned = path;
    const bool removed = PathUtils::RemoveIllegalFileNameCharacters(cleaned);
    FUZZ_EXPECT(removed == (cleaned != path), fuzz, i, path);
    FUZZ_EXPECT(!PathUtils::RemoveIllegalFileNameCharacters(cleaned), fuzz, i, path);
  }
}

TEST(Fuzz, NormalFormIsStableAndStripsBack) {
  Fuzzer fuzz("normal form");
  for (int i = 0; i < kFuzzInputs; ++i) {
    const UTF16String path = PathText(fuzz, 16);
    const UTF16String normal = PathUtils::ToNormalizedPath(path);
    FUZZ_EXPECT(PathUtils::ToNormalizedPath(normal) == normal, fuzz, i, path);
    FUZZ_EXPECT(normal == path || PathUtils::IsNormalizedPath(normal), fuzz, i, path);
    FUZZ_EXPECT(
        PathUtils::IsWinAPIAcceptablePath(normal) == PathUtils::IsWinAPIAcceptablePath(path), fuzz,
        i, path);
    // Only prefixes are added: the caller's text is the normal form's tail.
    FUZZ_EXPECT(normal.size() >= path.size(), fuzz, i, path);
    const bool drivePath = path.size() >= 3 && PathUtils::IsWinDriveLetter(path[0]) &&
                           path[1] == L':' && path[2] == L'\\';
    const bool uncPath = path.size() >= 3 && path[0] == L'\\' && path[1] == L'\\' &&
                         path.compare(0, 4, L"\\\\?\\") != 0;
    if (drivePath || uncPath) {
      FUZZ_EXPECT(PathUtils::Win::StripUNC(normal) == path, fuzz, i, path);
    }
  }
}

TEST(Fuzz, TimecodeTextRoundTripsAndAnyTextParses) {
  Fuzzer fuzz("timecode");
  using namespace stratamedia;
  typedef TimeDisplayType T;
  const struct {
    T::Type format;
    FrameRate rate;
  } formats[] = {
      {T::kTimecode24, kFrameRate_Film24},
      {T::kTimecode25, kFrameRate_VideoPAL},
      {T::kTimecodeNTSCDrop, kFrameRate_VideoNTSC},
      {T::kTimecodeNTSCNonDrop, kFrameRate_VideoNTSC},
      {T::kTimecode30, kFrameRate_Video30},
      {T::kTimecode50, kFrameRate_Video50},
      {T::kTimecodeNTSC60Drop, kFrameRate_VideoNTSC60},
      {T::kTimecodeNTSC60NonDrop, kFrameRate_VideoNTSC60},
      {T::kTimecode60, kFrameRate_Video60},
      {T::kFrameCount, kFrameRate_VideoPAL},
      {T::kTimecodeFilmNTSC, kFrameRate_FilmNTSC},
      {T::kFeetFrames40, kFrameRate_Film24},
      {T::kFeetFrames16, kFrameRate_Film24},
  };
  const UTF16String kTimecodeAlphabet(L"0123456789:;.+- \t9");
  Ostra::Timecode::Style style;  // signed, unwrapped hours: every frame has its own text
  style.mAllowNegative = true;
  style.mOptionB = true;
  for (int i = 0; i < kFuzzInputs; ++i) {
    const auto& format = formats[fuzz.Below(13)];
    // Frames within about 100 hours either side of zero, and some at the
    // drop-frame minute edges.
    std::int64_t frame = static_cast<std::int64_t>(fuzz.Below(22000000)) - 11000000;
    if (fuzz.OneIn(4))
      frame = 1800 * static_cast<std::int64_t>(fuzz.Below(3000)) + fuzz.Below(5) - 2;
    const TickTime time = FramesToTime(frame, format.rate);
    const Ostra::Timecode timecode(time, format.rate, format.format, style);
    const UTF16String text = timecode.GetString();
    FUZZ_EXPECT(Ostra::Timecode::StringToTime(text, format.rate, format.format, true) == time, fuzz,
                i, text);
    // Any text reads as some time or as zero, without failing.
    const UTF16String noise = fuzz.Text(kTimecodeAlphabet, 16);
    Ostra::Timecode::StringToTime(noise, format.rate, format.format, fuzz.OneIn(2));
  }
}

// Registered paths may refer to names registered before them, never to
// themselves (which has no end, as documented). Each piece of a stored path
// is generated together with what it must expand to.
TEST(Fuzz, DirectoryExpansionResolvesEveryKindOfReference) {
  Fuzzer fuzz("directory registry");
  namespace Registry = Ostra::DirectoryRegistry;
  const int kNames = 32;
  const UTF16String kNameAlphabet(L"ab$( .\\");  // anything but ')'
  std::vector<UTF16String> names, expanded(kNames);
  for (int n = 0; n < kNames; ++n) {
    const std::string number = std::to_string(n);
    names.push_back(L"fz" + UTF16String(number.begin(), number.end()) + fuzz.Text(kNameAlphabet, 4));
  }
  const UTF16String kPlainAlphabet(L"abC:\\/. )");
  for (int i = 0; i < kFuzzInputs; ++i) {
    const int slot = i % kNames;
    UTF16String stored, expected;
    bool referred = false;
    for (std::uint32_t piece = fuzz.Below(5); piece > 0; --piece) {
      const UTF16String between = fuzz.Text(UTF16String(L"x$)"), 2);
      switch (fuzz.Below(4)) {
        case 0: {  // plain text
          const UTF16String plain = fuzz.Text(kPlainAlphabet, 6);
          stored += plain;
          expected += plain;
          break;
        }
        case 1:  // a registered name, at most one per path so that sizes stay small
          if (slot > 0 && !referred) {
            const int target = static_cast<int>(fuzz.Below(static_cast<std::uint32_t>(slot)));
            stored += L"$" + between + L"(" + names[target] + L")";
            expected += Registry::FindDirectory(names[target]);
            referred = true;
          }
          break;
        case 2: {  // a name nobody registered, or none at all
          const UTF16String unknown =
              fuzz.OneIn(3) ? UTF16String() : L"nx" + fuzz.Text(kNameAlphabet, 3);
          stored += L"$" + between + L"(" + unknown + L")";
          expected += L"$" + between + L"(" + unknown + L")";
          break;
        }
        case 3:  // a reference left open, only at the end
          if (piece == 1) {
            const UTF16String open =
                fuzz.OneIn(2) ? L"(" + fuzz.Text(kNameAlphabet, 3) : UTF16String();
            stored += L"$" + between + open;
            expected += L"$" + between + open;
          }
          break;
      }
    }
    // Leading blanks are dropped; keep the expectation free of them.
    if (!stored.empty() && stored.find_first_not_of(L" \t\r\n\f") != 0) {
      stored.insert(0, L"x");
      expected.insert(0, L"x");
    }
    if (stored.empty()) stored = expected = L"C:\\root";
    Registry::RegisterDirectory(stored, names[slot]);
    const UTF16String found = Registry::FindDirectory(names[slot]);
    FUZZ_EXPECT(found == PathUtils::AddTrailingSlash(expected), fuzz, i, stored);
  }
  for (const UTF16String& name : names) Registry::UnregisterDirectory(name);
}

}  // namespace
