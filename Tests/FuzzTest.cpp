// Seeded fuzz tests of the pure functions: each family checks rules that
// must hold for every input (split and join agree, normalising twice
// changes nothing, text round-trips) over kFuzzInputs generated inputs. A
// failure stops its test and names the seed and input to replay.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Fuzz/Rules.h"
#include "Ostra/DirectoryRegistry.h"
#include "Ostra/PathUtils.h"
#include "Support/Fuzz.h"
#include "Support/PathText.h"

namespace {

namespace PathUtils = Ostra::PathUtils;
using Ostra::UTF16String;
using OstraTest::Fuzzer;
using OstraTest::kFuzzInputs;
using OstraTest::PathText;

TEST(Fuzz, PathPartsSplitAndJoinAgreeAndTheNormalFormIsStable) {
  Fuzzer fuzz("path parts");
  for (int i = 0; i < kFuzzInputs; ++i) {
    const UTF16String path = PathText(fuzz, 24);
    FUZZ_EXPECT_RULES(OstraRules::PathParts(path), fuzz, i, path);
    FUZZ_EXPECT_RULES(OstraRules::NormalForm(path), fuzz, i, path);
  }
}

TEST(Fuzz, TimecodeTextRoundTripsAndAnyTextParses) {
  Fuzzer fuzz("timecode");
  const UTF16String kTimecodeAlphabet(L"0123456789:;.+- \t9");
  for (int i = 0; i < kFuzzInputs; ++i) {
    const OstraRules::TimecodeFormat& format = OstraRules::TimecodeFormatAt(fuzz.Below(13));
    // Frames within about 100 hours either side of zero, and some at the
    // drop-frame minute edges.
    std::int64_t frame = static_cast<std::int64_t>(fuzz.Below(22000000)) - 11000000;
    if (fuzz.OneIn(4))
      frame = 1800 * static_cast<std::int64_t>(fuzz.Below(3000)) + fuzz.Below(5) - 2;
    const UTF16String noise = fuzz.Text(kTimecodeAlphabet, 16);
    FUZZ_EXPECT_RULES(OstraRules::TimecodeText(format, frame, noise, fuzz.OneIn(2)), fuzz, i,
                      noise);
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
