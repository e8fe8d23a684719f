/// \file
/// Paths: splitting and joining path strings, the long-path normal form that
/// every file-system call of the library receives, and queries of paths on
/// disk with their shell display names.
///
/// Paths are Windows paths in UTF16String with '\' as the separator; '/' is
/// accepted wherever a separator is looked for. The string functions never
/// touch the disk and never fail: bad input (empty, embedded NULs, unpaired
/// surrogates) gives the stated empty, false or unchanged result. The disk
/// queries normalise the path first and answer false for paths the system
/// cannot take (relative ones); they never throw for a bad path.
/// All functions are thread-safe; the constants are built when the library
/// loads and never change.
#pragma once

#include <vector>

#include "Ostra/OstraConfig.h"

namespace Ostra {

/// The system's classic path limit, in characters.
OSTRA_API extern const int OSTRA_MAX_PATH;

namespace PathUtils {

OSTRA_API extern const UTF16String kPathSeparator;                  ///< "\"
OSTRA_API extern const UTF16String kOppositePlatformPathSeparator;  ///< "/"
OSTRA_API extern const UTF16String kExtension;                      ///< "."
OSTRA_API extern const UTF16String kShortUNCPathPrefix;             ///< `\\`
OSTRA_API extern const UTF16String kLongUNCPathPrefix;              ///< `\\?\UNC` (no trailing '\')
/// For showing to the user: "\ / : * ? " < > |" and the same without "\ ".
///@{
OSTRA_API extern const UTF16String kIllegalFilenameCharactersDisplay;
OSTRA_API extern const UTF16String kIllegalPathCharactersDisplay;
///@}

// ------------------------------------------------------------ path strings

OSTRA_API UTF16String GetPathSeparator();  ///< "\"
/// One '\' appended when the path does not end in a separator; "" stays "".
OSTRA_API UTF16String AddTrailingSlash(const UTF16String& inPath);
/// The path without its trailing separators.
OSTRA_API UTF16String RemoveTrailingSlash(const UTF16String& inPath);
/// Whether the path ends in '\' or '/'.
OSTRA_API bool HasTrailingSlash(const UTF16String& inPath);
/// Not empty and free of \ / : * ? " < > |.
OSTRA_API bool IsValidFileName(const UTF16String& inName);
/// True for any non-empty path; nothing else is checked.
OSTRA_API bool IsValidPath(const UTF16String& inPath);
/// The 52 ASCII letters only.
OSTRA_API bool IsWinDriveLetter(wchar_t inChar);

/// The parts of a path, split up to its first NUL:
/// ```
///   C:\dir\sub\name.ext  =>  "C:"  "\dir\sub\"  "name"  ".ext"
///   file                 =>  ""    ""           "file"  ""
///   dir.d\file           =>  ""    "dir.d\"     "file"  ""
///   a/b\c.txt            =>  ""    "a/b\"       "c"     ".txt"
///   C:\a\.hidden         =>  "C:"  "\a\"        ""      ".hidden"
///   1:x                  =>  "1:"  ""           "x"     ""      (drive letter not checked)
/// ```
/// Outputs whose pointer is null are skipped.
OSTRA_API void SplitPath(const UTF16String& inPath, UTF16String* outDrive,
                         UTF16String* outDirectory, UTF16String* outFile,
                         UTF16String* outExtension);
/// The drive and the directory part of SplitPath.
///@{
OSTRA_API UTF16String GetDrivePart(const UTF16String& inPath);
OSTRA_API UTF16String GetDirectoryPart(const UTF16String& inPath);
///@}
/// The file name without its extension.
OSTRA_API UTF16String GetFilePart(const UTF16String& inPath);
/// The extension with its dot.
OSTRA_API UTF16String GetExtensionPart(const UTF16String& inPath);
/// File name and extension.
OSTRA_API UTF16String GetFullFilePart(const UTF16String& inPath);
/// The whole path cut before its last dot, wherever that dot is:
/// `C:\a\b.txt` => `C:\a\b`, but `C:\ver1.2\readme` => `C:\ver1`. No dot: unchanged.
OSTRA_API UTF16String GetFileNamePart(const UTF16String& inPath);

/// Joins the parts as the C runtime's _wmakepath does: a drive gives its
/// first character and ':', a directory gets a '\' unless it ends in a
/// separator, an extension gets a '.' unless it starts with one. Empty when
/// the parts' lengths plus 5 exceed 2048.
OSTRA_API UTF16String MakePath(const UTF16String& inDrive, const UTF16String& inDirectory,
                               const UTF16String& inFile, const UTF16String& inExtension);
/// The same as MakePath.
OSTRA_API UTF16String MakeFullPath(const UTF16String& inDrive, const UTF16String& inDirectory,
                                   const UTF16String& inFile, const UTF16String& inExtension);

/// Whether the path's extension is inExtension, given with or without its
/// dot ("txt" and ".txt" both match a.txt). Case-sensitive; false when
/// either argument is empty.
OSTRA_API bool FileHasExtension(const UTF16String& inPath, const UTF16String& inExtension);

/// Removes every character that is illegal in a file name; true when any
/// was removed.
OSTRA_API bool RemoveIllegalFileNameCharacters(UTF16String& ioName);

// ------------------------------------------------------------- normal form

/// The long-path form every file-system call receives. Only prefixes change:
/// ```
///   C:  \\?\C:      =>  \\?\C:\  (a drive root gets its backslash)
///   C:\a  C:a       =>  \\?\C:\a  \\?\C:a
///   \\srv\share     =>  \\?\UNC\srv\share
///   \\?\D:\x        =>  unchanged (already normal)
///   rel\x  \x  /a  "" => unchanged (the system call then reports the error)
/// ```
/// No '.' or '..' is resolved and '/' is not turned into '\'.
OSTRA_API UTF16String ToNormalizedPath(const UTF16String& inPath);
/// True for paths that begin with `\\?\`, except the drive root `\\?\C:`
/// (which still lacks its backslash).
OSTRA_API bool IsNormalizedPath(const UTF16String& inPath);

namespace Win {

/// Removes the long-path prefix of `\\?\C:\...` and `\\?\UNC\...` (upper-case
/// UNC only): `\\?\C:\a` => `C:\a`, `\\?\UNC\srv\s` => `\\srv\s`. Anything else,
/// `\\?\C:` included, comes back unchanged.
OSTRA_API UTF16String StripUNC(const UTF16String& inPath);

}  // namespace Win

/// Absolute paths the system accepts: anything beginning with `\\`, or a
/// drive letter and ':'. Relative paths are not acceptable.
OSTRA_API bool IsWinAPIAcceptablePath(const UTF16String& inPath);
/// inMore joined to inBase by the shell, resolving '.' and '..'; a rooted
/// inMore wins. Empty when inBase is not acceptable or the result would not
/// fit the shell's 260 characters.
OSTRA_API UTF16String CombinePaths(const UTF16String& inBase, const UTF16String& inMore);
/// Drive and directory part: `C:\dir\file.txt` => `C:\dir\`; "" for "".
OSTRA_API UTF16String GetFullDirectoryPart(const UTF16String& inPath);
/// The directory of inToPath relative to the directory of inFromPath
/// (file names are dropped): `C:\a\b\file.txt`, `C:\a\c\` => `..\c`. The drive is
/// ignored in the comparison, and a path without a colon counts as being on
/// drive C:. False, and outRelative untouched, when either path is not
/// acceptable, the two share no first directory, or the answer would not
/// fit the shell's 260-character buffer with its NUL (260 characters or
/// more; long paths whose answer is shorter still relate).
OSTRA_API bool ArePathsRelative(const UTF16String& inFromPath, const UTF16String& inToPath,
                                UTF16String& outRelative);

// ---------------------------------------------------------- queries on disk

/// Whether the path exists. With inUseFind the entry is looked for by
/// listing (a path ending in '\' must be a directory that can be listed);
/// otherwise by its attributes. False for empty and relative paths.
OSTRA_API bool ExistsOnDisk(const UTF16String& inPath, bool inUseFind);
/// Whether the path names an existing directory; false for an empty path
/// and on any failure.
OSTRA_API bool IsDirectory(const UTF16String& inPath);
/// True for the empty path ("nothing" is empty); false for relative paths,
/// missing paths and files.
OSTRA_API bool IsDirectoryEmpty(const UTF16String& inPath);
/// The system's temporary directory, ending in '\'; empty when the system's
/// answer is longer than 512 characters.
OSTRA_API UTF16String GetTempDirectory();
/// Bytes free to the calling user on the path's volume; 0 on failure.
OSTRA_API unsigned long long GetFreeDriveSpace(const UTF16String& inPath);
/// Creates the path as a directory with its missing parents (and asks for
/// removable media where the system does). The shell gets the path as
/// given; paths too long for it are created through their normal form.
/// False for relative paths and on failure.
OSTRA_API bool PreparePathForWrite(const UTF16String& inPath);
/// Removes, keeping the order of the rest, every entry whose name (without
/// extension) begins with '.' or that carries the hidden attribute.
OSTRA_API void FilterHiddenFiles(std::vector<UTF16String>& ioPaths);

/// The text to show the user for a normalised path: the prefix removed and
/// each component of a local drive replaced by its shell display name
/// (`\\?\C:\dir\f.txt` => `C:\dir\f.txt`, or the names Explorer shows). Paths
/// that are not normalised, drive roots, network paths and remote drives
/// come back without the shell's names. A component the shell cannot name
/// shows as its plain text and leaves a trace line under "Ostra.PathUtils".
/// Initialises COM on the calling thread for each component.
OSTRA_API UTF16String GetDisplayStringFromPath(const UTF16String& inPath);
/// The display name of the last component of a normalised path; other
/// paths come back unchanged.
OSTRA_API UTF16String GetLeafDisplayStringFromPath(const UTF16String& inPath);

}  // namespace PathUtils
}  // namespace Ostra
