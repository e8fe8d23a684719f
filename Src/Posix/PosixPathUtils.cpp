// The shell's path answers in the Posix build: the portable models, which
// the Windows build's fuzz tests hold against the shell itself.
#include "PathUtilsPrivate.h"

namespace Ostra {
namespace PathUtils {
namespace Shell {

const wchar_t* FindNextComponent(const wchar_t* inPath) { return Internal::NextComponent(inPath); }

bool RelateDirectories(const wchar_t* inFrom, const wchar_t* inTo, UTF16String& outRelative) {
  return Internal::RelativeDirectoryPath(inFrom, inTo, outRelative);
}

bool Combine(const wchar_t* inDirectory, const wchar_t* inFile, UTF16String& outCombined) {
  return Internal::CombinedPath(inDirectory, inFile, outCombined);
}

}  // namespace Shell
}  // namespace PathUtils
}  // namespace Ostra
