// Pieces of the path family shared by its portable and Windows sources.
// Not exported.
#pragma once

#include <cstddef>

#include "Ostra/PathUtils.h"

namespace Ostra {
namespace PathUtils {

// "\\?\": the prefix of the long-path form.
extern const UTF16String kLongPathPrefix;
// The characters illegal in a file name, as the core library gives them.
extern const UTF16String kIllegalFileNameCharacters;

// The longest path the system takes, prefix included. Its path strings
// carry a 16-bit byte count, so a longer string would not fail but be cut.
const std::size_t kSystemMaxPathLength = 32767;

// Exactly "C:" or "\\?\C:" (an ASCII letter and a colon); C:\ is none.
bool IsDriveRoot(const UTF16String& inPath);

inline bool IsPathSeparator(wchar_t inChar) { return inChar == L'\\' || inChar == L'/'; }

inline bool StartsWith(const UTF16String& inText, const wchar_t* inPrefix, std::size_t inLength) {
  return inText.size() >= inLength && inText.compare(0, inLength, inPrefix, inLength) == 0;
}

inline bool StartsWithLongPathPrefix(const UTF16String& inPath) {
  return StartsWith(inPath, L"\\\\?\\", 4);
}

// The answers the Windows build takes from the shell (shlwapi) and the
// Posix build from the models in Internal, which the fuzz tests compare
// with the shell under Wine.
namespace Shell {

// PathFindNextComponentW: the text behind the first '\' (and a second one
// right behind it), the end of the text when it has none; null for "".
const wchar_t* FindNextComponent(const wchar_t* inPath);
// PathRelativePathToW between two directories given without their drive;
// false, and outRelative untouched, when they share no component.
bool RelateDirectories(const wchar_t* inFrom, const wchar_t* inTo, UTF16String& outRelative);
// PathCombineW; false, and outCombined untouched, when the shell fails or
// would cut an input short.
bool Combine(const wchar_t* inDirectory, const wchar_t* inFile, UTF16String& outCombined);

}  // namespace Shell

namespace Internal {

// The model of Shell::FindNextComponent. Exported for the tests.
OSTRA_API const wchar_t* NextComponent(const wchar_t* inText);

// The shell's relative path from directory inFrom to directory inTo (both
// without drive, as ArePathsRelative hands them over), for inputs of any
// length: the longest common prefix of whole components, compared without
// case, then "..\" for every component of inFrom behind it ("." for none)
// and the rest of inTo. False, and outRelative untouched, when no component
// is shared or when the answer, like the shell's, would not fit MAX_PATH
// with its NUL (260 characters or more). Exported for the tests.
OSTRA_API bool RelativeDirectoryPath(const UTF16String& inFrom, const UTF16String& inTo,
                                     UTF16String& outRelative);

// The shell's join of inFile to inDirectory (either may be null), then its
// canonical form ('.' and '..' resolved, never above the root). An empty or
// null inFile gives inDirectory alone; a rooted inFile ("C:x", "\\srv", or
// "\x" when inDirectory is empty) stands alone; "\x" goes behind the root
// of inDirectory; anything else behind inDirectory and a '\'. False, and
// outCombined untouched, when both are null, when the join would not fit
// MAX_PATH with its NUL, or when an input used whole is that long: where
// the shell cuts such an input short and answers for another path, the
// model refuses. Exported for the tests.
OSTRA_API bool CombinedPath(const wchar_t* inDirectory, const wchar_t* inFile,
                            UTF16String& outCombined);

}  // namespace Internal

}  // namespace PathUtils
}  // namespace Ostra
