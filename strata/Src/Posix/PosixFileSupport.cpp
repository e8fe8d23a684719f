// The file system of the POSIX build: '/' separates, names are UTF-8 on
// disk, and listings come from readdir.
#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <vector>

#include "Platform.h"

namespace strata {
namespace platform {

const wchar_t kPathSeparator = L'/';

bool MakeAbsolutePath(const UTF16String& inPath, UTF16String& outFull) {
  UTF16String path = inPath;
  if (path[0] != L'/') {
    std::vector<char> buffer(4096);
    while (!::getcwd(buffer.data(), buffer.size())) {
      if (errno != ERANGE) return false;
      buffer.resize(buffer.size() * 2);
    }
    path = string::StdToUTF16String(buffer.data()) + L'/' + path;
  }
  // "." and ".." are resolved by the letters, as GetFullPathNameW does on
  // Windows; the root is the empty string, so that joining adds the '/'.
  std::vector<UTF16String> parts;
  std::size_t start = 0;
  while (start <= path.size()) {
    std::size_t end = path.find(L'/', start);
    if (end == UTF16String::npos) end = path.size();
    const UTF16String part = path.substr(start, end - start);
    if (part == L"..") {
      if (!parts.empty()) parts.pop_back();
    } else if (!part.empty() && part != L".") {
      parts.push_back(part);
    }
    start = end + 1;
  }
  outFull.clear();
  for (const UTF16String& part : parts) outFull += L'/' + part;
  return true;
}

namespace {

class PosixDirectoryListing : public DirectoryListing {
 public:
  PosixDirectoryListing(DIR* inDirectory, const std::string& inPath)
      : mDirectory(inDirectory), mPath(inPath) {}
  ~PosixDirectoryListing() override { ::closedir(mDirectory); }
  PosixDirectoryListing(const PosixDirectoryListing&) = delete;
  PosixDirectoryListing& operator=(const PosixDirectoryListing&) = delete;

  bool Next(Entry& outEntry) override {
    const dirent* entry = ::readdir(mDirectory);
    if (!entry) return false;
    outEntry.mName = string::StdToUTF16String(entry->d_name);
    outEntry.mIsLink = entry->d_type == DT_LNK;
    outEntry.mIsDirectory = entry->d_type == DT_DIR;
    if (entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN) {
      // What a link points at decides whether it is walked into.
      const std::string path = mPath + '/' + entry->d_name;
      struct stat target;
      outEntry.mIsDirectory = ::stat(path.c_str(), &target) == 0 && S_ISDIR(target.st_mode);
      struct stat itself;
      outEntry.mIsLink = ::lstat(path.c_str(), &itself) == 0 && S_ISLNK(itself.st_mode);
    }
    return true;
  }

 private:
  DIR* const mDirectory;
  const std::string mPath;
};

}  // namespace

std::unique_ptr<DirectoryListing> DirectoryListing::Open(const UTF16String& inPath) {
  const std::string path = inPath.empty() ? std::string("/") : string::UTF16toStdString(inPath);
  DIR* directory = ::opendir(path.c_str());
  if (!directory) return nullptr;
  return std::unique_ptr<DirectoryListing>(new PosixDirectoryListing(directory, path));
}

}  // namespace platform
}  // namespace strata
