// The lexical half of the path family: splitting, joining and the
// long-path normal form. Nothing here touches the disk or the system.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwctype>

#include "Ostra/PathUtils.h"
#include "PathUtilsPrivate.h"
#include "strata/Utility.h"

namespace Ostra {

const int OSTRA_MAX_PATH = 260;

namespace PathUtils {

const UTF16String kPathSeparator(L"\\");
const UTF16String kOppositePlatformPathSeparator(L"/");
const UTF16String kExtension(L".");
const UTF16String kShortUNCPathPrefix(L"\\\\");
const UTF16String kLongUNCPathPrefix(L"\\\\?\\UNC");
const UTF16String kIllegalFilenameCharactersDisplay(L"\\ / : * ? \" < > |");
const UTF16String kIllegalPathCharactersDisplay(L"/ : * ? \" < > |");

const UTF16String kLongPathPrefix(L"\\\\?\\");
const UTF16String kIllegalFileNameCharacters(
    strata::utility::FileUtils::GetIllegalFilenameCharacters());

namespace {

using strata::utility::FileUtils;

// Where the parts of a path lie, as offsets into its characters:
// drive [0, driveEnd), directory [driveEnd, fileStart), file name
// [fileStart, extensionStart), extension [extensionStart, end).
struct PartBounds {
  std::size_t driveEnd;
  std::size_t fileStart;
  std::size_t extensionStart;
  std::size_t end;
};

// The index of the first NUL, or inSize when there is none. Four code
// units per step: every path the library handles goes through this scan.
std::size_t FindFirstNul(const wchar_t* inText, std::size_t inSize) {
  const std::uint64_t kLowBits = 0x0001000100010001ull;
  const std::uint64_t kHighBits = 0x8000800080008000ull;
  std::size_t i = 0;
  for (; i + 4 <= inSize; i += 4) {
    std::uint64_t units;
    std::memcpy(&units, inText + i, sizeof(units));
    if ((units - kLowBits) & ~units & kHighBits) break;  // some unit is 0
  }
  for (; i < inSize; ++i) {
    if (inText[i] == L'\0') return i;
  }
  return inSize;
}

// The parts up to the first NUL. Scanning back from the end finds the last
// separator and the last dot behind it, which is all that decides the parts.
PartBounds FindPartBounds(const UTF16String& inPath) {
  const wchar_t* const text = inPath.c_str();
  PartBounds bounds;
  bounds.end = FindFirstNul(text, inPath.size());
  bounds.driveEnd = (bounds.end >= 2 && text[1] == L':') ? 2 : 0;
  bounds.fileStart = bounds.driveEnd;
  bounds.extensionStart = bounds.end;
  for (std::size_t i = bounds.end; i > bounds.driveEnd; --i) {
    const wchar_t c = text[i - 1];
    if (c == L'\\' || c == L'/') {
      bounds.fileStart = i;
      break;
    }
    // A dot inside the directory never counts; a leading dot of the name
    // does (".profile" is all extension, as _wsplitpath has it).
    if (c == L'.' && bounds.extensionStart == bounds.end) bounds.extensionStart = i - 1;
  }
  return bounds;
}

void AssignRange(const UTF16String& inPath, std::size_t inBegin, std::size_t inEnd,
                 UTF16String* outPart) {
  if (outPart) outPart->assign(inPath, inBegin, inEnd - inBegin);
}

// The length of a part up to its first NUL, as a C string would have it.
std::size_t CStringLength(const UTF16String& inText) {
  return FindFirstNul(inText.c_str(), inText.size());
}

}  // namespace

// ------------------------------------------------------------ path strings

UTF16String GetPathSeparator() { return kPathSeparator; }

UTF16String AddTrailingSlash(const UTF16String& inPath) {
  return FileUtils::AddTrailingSlash(inPath);
}

UTF16String RemoveTrailingSlash(const UTF16String& inPath) {
  return FileUtils::RemoveTrailingSlash(inPath);
}

bool HasTrailingSlash(const UTF16String& inPath) { return FileUtils::HasTrailingSlash(inPath); }

bool IsValidFileName(const UTF16String& inName) { return FileUtils::IsValidFileName(inName); }

bool IsValidPath(const UTF16String& inPath) { return !inPath.empty(); }

bool IsWinDriveLetter(wchar_t inChar) {
  return (inChar >= L'A' && inChar <= L'Z') || (inChar >= L'a' && inChar <= L'z');
}

void SplitPath(const UTF16String& inPath, UTF16String* outDrive, UTF16String* outDirectory,
               UTF16String* outFile, UTF16String* outExtension) {
  const PartBounds bounds = FindPartBounds(inPath);
  AssignRange(inPath, 0, bounds.driveEnd, outDrive);
  AssignRange(inPath, bounds.driveEnd, bounds.fileStart, outDirectory);
  AssignRange(inPath, bounds.fileStart, bounds.extensionStart, outFile);
  AssignRange(inPath, bounds.extensionStart, bounds.end, outExtension);
}

UTF16String GetDrivePart(const UTF16String& inPath) {
  if (inPath.empty()) return UTF16String();
  const PartBounds bounds = FindPartBounds(inPath);
  return inPath.substr(0, bounds.driveEnd);
}

UTF16String GetDirectoryPart(const UTF16String& inPath) {
  if (inPath.empty()) return UTF16String();
  const PartBounds bounds = FindPartBounds(inPath);
  return inPath.substr(bounds.driveEnd, bounds.fileStart - bounds.driveEnd);
}

UTF16String GetFilePart(const UTF16String& inPath) {
  if (inPath.empty()) return UTF16String();
  const PartBounds bounds = FindPartBounds(inPath);
  return inPath.substr(bounds.fileStart, bounds.extensionStart - bounds.fileStart);
}

UTF16String GetExtensionPart(const UTF16String& inPath) {
  if (inPath.empty()) return UTF16String();
  const PartBounds bounds = FindPartBounds(inPath);
  return inPath.substr(bounds.extensionStart, bounds.end - bounds.extensionStart);
}

UTF16String GetFullFilePart(const UTF16String& inPath) {
  if (inPath.empty()) return UTF16String();
  const PartBounds bounds = FindPartBounds(inPath);
  return inPath.substr(bounds.fileStart, bounds.end - bounds.fileStart);
}

UTF16String GetFileNamePart(const UTF16String& inPath) {
  // Deliberately the whole path, not just its last component.
  const std::size_t dot = inPath.rfind(L'.');
  return dot == UTF16String::npos ? inPath : inPath.substr(0, dot);
}

UTF16String MakePath(const UTF16String& inDrive, const UTF16String& inDirectory,
                     const UTF16String& inFile, const UTF16String& inExtension) {
  // The limit of the runtime's 2048-character buffer, terminator and the
  // characters it may add included.
  const std::size_t kMaxJoinedLength = 2048;
  if (inDrive.size() + inDirectory.size() + inFile.size() + inExtension.size() + 5 >
      kMaxJoinedLength)
    return UTF16String();

  // The parts are C strings to the runtime: each ends at its first NUL.
  const std::size_t directoryLength = CStringLength(inDirectory);
  const std::size_t fileLength = CStringLength(inFile);
  const std::size_t extensionLength = CStringLength(inExtension);
  UTF16String result;
  result.reserve(directoryLength + fileLength + extensionLength + 4);
  if (!inDrive.empty() && inDrive[0] != L'\0') {
    result += inDrive[0];
    result += L':';
  }
  if (directoryLength > 0) {
    result.append(inDirectory, 0, directoryLength);
    if (!IsPathSeparator(inDirectory[directoryLength - 1])) result += L'\\';
  }
  result.append(inFile, 0, fileLength);
  if (extensionLength > 0) {
    if (inExtension[0] != L'.') result += L'.';
    result.append(inExtension, 0, extensionLength);
  }
  return result;
}

UTF16String MakeFullPath(const UTF16String& inDrive, const UTF16String& inDirectory,
                         const UTF16String& inFile, const UTF16String& inExtension) {
  return MakePath(inDrive, inDirectory, inFile, inExtension);
}

bool FileHasExtension(const UTF16String& inPath, const UTF16String& inExtension) {
  if (inPath.empty() || inExtension.empty()) return false;
  const PartBounds bounds = FindPartBounds(inPath);
  const std::size_t length = bounds.end - bounds.extensionStart;
  // The path's extension carries its dot; the argument may or may not.
  if (inPath.compare(bounds.extensionStart, length, inExtension) == 0) return true;
  return length == inExtension.size() + 1 &&
         inPath.compare(bounds.extensionStart + 1, length - 1, inExtension) == 0;
}

bool RemoveIllegalFileNameCharacters(UTF16String& ioName) {
  const auto isIllegal = [](wchar_t inChar) {
    return kIllegalFileNameCharacters.find(inChar) != UTF16String::npos;
  };
  const auto kept = std::remove_if(ioName.begin(), ioName.end(), isIllegal);
  if (kept == ioName.end()) return false;
  ioName.erase(kept, ioName.end());
  return true;
}

// ------------------------------------------------------------- normal form

bool IsDriveRoot(const UTF16String& inPath) {
  if (inPath.size() == 2) return IsWinDriveLetter(inPath[0]) && inPath[1] == L':';
  if (inPath.size() == 6)
    return StartsWithLongPathPrefix(inPath) && IsWinDriveLetter(inPath[4]) && inPath[5] == L':';
  return false;
}

UTF16String ToNormalizedPath(const UTF16String& inPath) {
  const std::size_t length = inPath.size();
  if (IsDriveRoot(inPath)) {
    // C: and \\?\C: both become \\?\C:\ ; without the backslash the
    // system would read them as "the current folder on C:".
    UTF16String result;
    result.reserve(7);
    if (length == 2) result.append(L"\\\\?\\", 4);
    result += inPath;
    result += L'\\';
    return result;
  }
  if (StartsWithLongPathPrefix(inPath)) return inPath;
  UTF16String result;
  if (length >= 2 && inPath[0] == L'\\' && inPath[1] == L'\\') {
    // \\server\share => \\?\UNC\server\share: the first backslash becomes
    // the whole long UNC prefix.
    result.reserve(length + 6);
    result.append(L"\\\\?\\UNC", 7);
    result.append(inPath, 1, UTF16String::npos);
    return result;
  }
  if (length >= 2 && IsWinDriveLetter(inPath[0]) && inPath[1] == L':') {
    result.reserve(length + 4);
    result.append(L"\\\\?\\", 4);
    result.append(inPath);
    return result;
  }
  return inPath;
}

bool IsNormalizedPath(const UTF16String& inPath) {
  return !IsDriveRoot(inPath) && StartsWithLongPathPrefix(inPath);
}

namespace Win {

UTF16String StripUNC(const UTF16String& inPath) {
  if (inPath.size() >= 7 && StartsWithLongPathPrefix(inPath) && IsWinDriveLetter(inPath[4]) &&
      inPath[5] == L':' && inPath[6] == L'\\')
    return inPath.substr(4);
  if (StartsWith(inPath, L"\\\\?\\UNC\\", 8)) {
    // Keep the first backslash and drop "\?\UNC": \\?\UNC\srv => \\srv.
    UTF16String result(1, L'\\');
    result.append(inPath, 7, UTF16String::npos);
    return result;
  }
  // \\?\C: keeps its prefix: only the forms with a backslash behind the
  // drive are stripped.
  return inPath;
}

}  // namespace Win

bool IsWinAPIAcceptablePath(const UTF16String& inPath) {
  if (StartsWith(inPath, L"\\\\", 2)) return true;
  return inPath.size() >= 2 && IsWinDriveLetter(inPath[0]) && inPath[1] == L':';
}

UTF16String GetFullDirectoryPart(const UTF16String& inPath) {
  if (inPath.empty()) return UTF16String();
  const PartBounds bounds = FindPartBounds(inPath);
  return inPath.substr(0, bounds.fileStart);
}

// ------------------------------------------------------- relative paths

namespace {

// "\\" followed by anything but '?': the shell's test for a UNC path.
bool StartsLikeUnc(const wchar_t* inText) {
  return inText[0] == L'\\' && inText[1] == L'\\' && inText[2] != L'?';
}

// The length of the longest common prefix of whole components, letters
// compared without case; 0 when nothing is shared. A prefix of 2 counts
// as 3, as the shell has it (meant for the root of "C:\").
std::size_t CommonPrefixLength(const wchar_t* inFirst, const wchar_t* inSecond) {
  const bool unc = StartsLikeUnc(inFirst);
  if (unc != StartsLikeUnc(inSecond)) return 0;
  std::size_t length = 0;
  for (std::size_t i = unc ? 2 : 0;; ++i) {
    const wchar_t a = inFirst[i], b = inSecond[i];
    if ((a == L'\0' || a == L'\\') && (b == L'\0' || b == L'\\')) length = i;
    if (a == L'\0' || std::towupper(a) != std::towupper(b)) break;
  }
  return length == 2 ? 3 : length;
}

}  // namespace

namespace Internal {

const wchar_t* NextComponent(const wchar_t* inText) {
  if (*inText == L'\0') return nullptr;
  while (*inText != L'\0' && *inText != L'\\') ++inText;
  if (*inText == L'\0') return inText;
  if (inText[1] == L'\\') ++inText;
  return inText + 1;
}

bool RelativeDirectoryPath(const UTF16String& inFrom, const UTF16String& inTo,
                           UTF16String& outRelative) {
  const wchar_t* const from = inFrom.c_str();
  const wchar_t* const to = inTo.c_str();
  const std::size_t common = CommonPrefixLength(from, to);
  if (common == 0) return false;
  // The shell's 2-to-3 step may pass the end of a short string: there is
  // nothing behind it then.
  const std::size_t fromLength = CStringLength(inFrom), toLength = CStringLength(inTo);
  const wchar_t* rest = from + std::min(common, fromLength);
  UTF16String relative;
  if (*rest == L'\0') relative = L".";
  if (*rest == L'\\') ++rest;
  while (*rest != L'\0') {
    rest = Internal::NextComponent(rest);
    relative += *rest != L'\0' ? L"..\\" : L"..";
  }
  // The target's remainder, with the backslash in front of it.
  const wchar_t* target = to + std::min(common, toLength);
  if (*target != L'\0') {
    if (*target != L'\\') --target;
    relative += target;
  }
  // The shell's answer buffer holds MAX_PATH characters with the NUL; an
  // answer that does not fit is its failure, and so ours.
  if (relative.size() >= static_cast<std::size_t>(OSTRA_MAX_PATH)) return false;
  outRelative.swap(relative);
  return true;
}

}  // namespace Internal

// ----------------------------------------------------------------- joining

namespace {

const std::size_t kShellPathBuffer = static_cast<std::size_t>(OSTRA_MAX_PATH);

// The unit at inIndex, NUL outside the text: the shell's canonical form
// looks one unit behind what it has written, and before its start.
wchar_t UnitAt(const UTF16String& inText, std::ptrdiff_t inIndex) {
  return inIndex >= 0 && static_cast<std::size_t>(inIndex) < inText.size() ? inText[inIndex]
                                                                           : L'\0';
}

std::size_t BackslashesFrom(const UTF16String& inText, std::size_t inStart) {
  return static_cast<std::size_t>(
      std::count(inText.begin() + std::min(inStart, inText.size()), inText.end(), L'\\'));
}

// "\\server\share" and nothing behind it.
bool IsServerShare(const UTF16String& inPath) {
  return StartsWith(inPath, L"\\\\", 2) && BackslashesFrom(inPath, 2) == 1;
}

// The shell's roots: "\", "X:\", "\\server" and "\\server\share".
bool IsShellRoot(const UTF16String& inPath) {
  if (StartsWith(inPath, L"\\\\", 2)) return BackslashesFrom(inPath, 2) <= 1;
  if (inPath.size() == 1) return inPath[0] == L'\\';
  return inPath.size() == 3 && inPath[1] == L':' && inPath[2] == L'\\';
}

// Cuts the last component (and a drive's "X:" or "X:\" stays); false when
// there is nothing to cut.
bool CutLastComponent(UTF16String& ioPath) {
  std::size_t keep = 0, i = 0;
  for (int lead = 0; lead < 2 && i < ioPath.size() && ioPath[i] == L'\\'; ++lead) keep = ++i;
  for (; i < ioPath.size(); ++i) {
    if (ioPath[i] == L'\\') {
      keep = i;
    } else if (ioPath[i] == L':') {
      keep = ++i;
      if (i < ioPath.size() && ioPath[i] == L'\\') ++keep;
      if (i == ioPath.size()) break;
    }
  }
  if (keep >= ioPath.size()) return false;
  ioPath.resize(keep);
  return true;
}

// Resolves '.' and '..' components as the shell does: never above a
// drive's root or a server's share, "X:" becomes "X:\" and "" becomes "\".
UTF16String Canonical(const UTF16String& inPath) {
  if (inPath.empty()) return UTF16String(1, L'\\');
  const std::ptrdiff_t length = static_cast<std::ptrdiff_t>(inPath.size());
  UTF16String out;
  std::ptrdiff_t src = 0;
  if (inPath[0] == L'\\') {
    out += inPath[src++];
  } else if (UnitAt(inPath, 1) == L':') {
    out.append(inPath, 0, 2);
    src = 2;
    if (UnitAt(inPath, 2) == L'\\') out += inPath[src++];
  }
  while (src < length) {
    const wchar_t c = inPath[src];
    const wchar_t next = UnitAt(inPath, src + 1);
    const wchar_t before = UnitAt(inPath, src - 1);
    if (c == L'.' && next == L'\\' && (src == 0 || before == L'\\' || before == L':')) {
      src += 2;  // ".\" says nothing
      continue;
    }
    std::ptrdiff_t end = static_cast<std::ptrdiff_t>(out.size());
    if (c != L'.' || next != L'.' || end == 0 || out.back() != L'\\') {
      out += c;
      ++src;
      continue;
    }
    // "..": back over the last component, but not over a root.
    if (end > 1 && (UnitAt(out, end - 2) != L'\\' || end > 2)) {
      if (UnitAt(out, end - 2) == L':' && (end > 3 || UnitAt(out, end - 3) == L':')) {
        end -= 2;
        while (end > 0 && UnitAt(out, end) != L'\\') --end;
        end = UnitAt(out, end) == L'\\' ? end + 1 : 0;
      } else if (UnitAt(out, end - 2) != L':' && !IsServerShare(out)) {
        end -= 2;
      }
    }
    while (end > 0 && UnitAt(out, end) != L'\\') --end;
    out.resize(static_cast<std::size_t>(end));
    if (end == 0) {
      out += L'\\';
      ++src;
    }
    src += 2;
  }
  if (out.size() == 2 && out[1] == L':') out += L'\\';
  return out;
}

}  // namespace

namespace Internal {

bool CombinedPath(const wchar_t* inDirectory, const wchar_t* inFile, UTF16String& outCombined) {
  if (!inDirectory && !inFile) return false;
  const bool noDirectory = !inDirectory || *inDirectory == L'\0';
  const bool fileRooted = inFile && (inFile[0] == L'\\' || (inFile[0] != L'\0' && inFile[1] == L':'));
  UTF16String joined;
  if ((!inFile || *inFile == L'\0') && inDirectory) {
    joined = inDirectory;
  } else if (noDirectory || (fileRooted && (inFile[0] != L'\\' || inFile[1] == L'\\'))) {
    joined = inFile;
  } else {
    joined = inDirectory;
    if (fileRooted) {
      // "\x": behind the directory's root.
      while (!IsShellRoot(joined) && CutLastComponent(joined)) {
      }
      ++inFile;
    }
    if (!joined.empty() && joined.back() != L'\\') joined += L'\\';
    joined += inFile;
  }
  // The shell holds the join in a MAX_PATH buffer; it fails for a longer
  // join, and cuts a longer input used alone, which the model refuses.
  if (joined.size() >= kShellPathBuffer) return false;
  outCombined = Canonical(joined);
  return true;
}

}  // namespace Internal

UTF16String CombinePaths(const UTF16String& inBase, const UTF16String& inMore) {
  if (!IsWinAPIAcceptablePath(inBase)) return UTF16String();
  UTF16String combined;
  if (!Shell::Combine(inBase.c_str(), inMore.c_str(), combined)) return UTF16String();
  return combined;
}

bool ArePathsRelative(const UTF16String& inFromPath, const UTF16String& inToPath,
                      UTF16String& outRelative) {
  if (!IsWinAPIAcceptablePath(inFromPath) || !IsWinAPIAcceptablePath(inToPath)) return false;
  UTF16String directories[2] = {inFromPath, inToPath};
  for (UTF16String& path : directories) {
    std::replace(path.begin(), path.end(), L'/', L'\\');
    // Deliberately always C:, whatever the system drive; the drive is
    // skipped below anyway, so UNC paths compare by their components.
    if (path.find(L':') == UTF16String::npos) path.insert(0, L"C:");
    path = GetFullDirectoryPart(path);
  }
  const wchar_t* const from = Shell::FindNextComponent(directories[0].c_str());
  const wchar_t* const to = Shell::FindNextComponent(directories[1].c_str());
  if (!from || !to) return false;
  return Shell::RelateDirectories(from, to, outRelative);
}

}  // namespace PathUtils
}  // namespace Ostra
