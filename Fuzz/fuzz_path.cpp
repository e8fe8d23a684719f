// Path strings: split and join agree, the normal form changes only the
// prefixes, relating two directories leaves the output alone when it fails,
// and joining two keeps the shell's rules.
#include "FuzzSupport.h"
#include "Ostra/PathUtils.h"
#include "PathUtilsPrivate.h"
#include "Rules.h"

namespace {

namespace PathUtils = Ostra::PathUtils;
using strata::UTF16String;

// Relating two directories fails without touching the output, or answers
// (possibly "", as the shell does for "a\\\" and "A\\").
void CheckRelative(const UTF16String& inFrom, const UTF16String& inTo) {
  UTF16String relative = L"untouched";
  if (!PathUtils::ArePathsRelative(L"C:\\" + inFrom, L"D:\\" + inTo, relative))
    FUZZ_CHECK(relative == L"untouched");
}

// Joining: within the shell's limit, and a second path that
// starts with a drive stands alone, whatever the first. (Joining is not
// idempotent: the shell's form of \..x loses the x.)
void CheckCombine(const UTF16String& inBase, const UTF16String& inMore) {
  UTF16String combined = L"untouched", alone = L"untouched";
  if (!PathUtils::Internal::CombinedPath(inBase.c_str(), inMore.c_str(), combined)) {
    FUZZ_CHECK(combined == L"untouched");
    return;
  }
  FUZZ_CHECK(combined.size() < 260);
  if (inMore.size() >= 2 && inMore[0] != L'\0' && inMore[0] != L'\\' && inMore[1] == L':') {
    FUZZ_CHECK(PathUtils::Internal::CombinedPath(L"", inMore.c_str(), alone) && alone == combined);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize) {
  const UTF16String text = OstraFuzz::UnitsOf(inData, inSize);
  FUZZ_CHECK_RULES(OstraRules::PathParts(text));
  FUZZ_CHECK_RULES(OstraRules::NormalForm(text));
  // Two directories: the text cut at its first '|'.
  const std::size_t bar = text.find(L'|');
  if (bar != UTF16String::npos) {
    const UTF16String from = text.substr(0, bar), to = text.substr(bar + 1);
    CheckRelative(from, to);
    CheckCombine(from, to);
  }
  return 0;
}
