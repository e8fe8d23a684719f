// A fixture for suites that run on both platforms: each test gets its own
// new directory under the system's temporary folder, removed afterwards
// (a file left open there fails TearDown on Windows). Files are made and
// changed with the C++ library, never with the library under test, so a
// fault in the library cannot hide a leak. One thread at a time.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

#include "strata/String.h"
#include "strata/Utility.h"

#if defined(_WIN32)
#include "Support/HandleCount.h"
#else
#include <dirent.h>
#include <sys/stat.h>

#include <cstdlib>
#endif

namespace OstraTest {

// The number of disk files the process has open, for leak checks.
inline unsigned long CountOpenFiles() {
#if defined(_WIN32)
  return CountOpenFileHandles();
#else
  unsigned long count = 0;
  DIR* const descriptors = ::opendir("/proc/self/fd");
  if (!descriptors) return 0;
  while (const dirent* entry = ::readdir(descriptors)) {
    struct stat status;
    if (entry->d_name[0] != '.' && ::fstat(std::atoi(entry->d_name), &status) == 0 &&
        S_ISREG(status.st_mode))
      ++count;
  }
  ::closedir(descriptors);
  return count;
#endif
}

class TempFilesTest : public ::testing::Test {
 protected:
  typedef strata::UTF16String Path;

  void SetUp() override {
    std::error_code error;
    const strata::UTF16String unique = strata::utility::Guid::CreateUnique().AsString();
    mDirectory = std::filesystem::temp_directory_path(error) /
                 ("OstraTest-" + strata::string::UTF16toStdString(unique));
    ASSERT_FALSE(error) << "no temporary folder";
    ASSERT_TRUE(std::filesystem::create_directory(mDirectory, error))
        << "cannot create the test directory: " << error.message();
  }

  void TearDown() override {
    if (mDirectory.empty()) return;
    std::error_code error;
    std::filesystem::remove_all(mDirectory, error);
    EXPECT_FALSE(error) << "the test directory could not be removed (a file left open?): "
                        << error.message();
  }

  // inName in the test's directory, as the library takes paths.
  Path PathOf(const Path& inName) const {
    return strata::string::StdToUTF16String((mDirectory / ToSystem(inName)).u8string());
  }

  // Creates (or replaces) a file holding inContent; returns its full path.
  Path MakeFile(const Path& inName, const std::string& inContent = "x") {
    const Path path = PathOf(inName);
    std::ofstream file(ToSystem(path), std::ios::binary | std::ios::trunc);
    file.write(inContent.data(), static_cast<std::streamsize>(inContent.size()));
    file.close();
    EXPECT_TRUE(file.good()) << "cannot write " << strata::string::UTF16toStdString(path);
    return path;
  }

  // Creates a directory (its parent must exist); returns its full path.
  Path MakeDirectory(const Path& inName) {
    const Path path = PathOf(inName);
    std::error_code error;
    EXPECT_TRUE(std::filesystem::create_directory(ToSystem(path), error)) << error.message();
    return path;
  }

  // Cuts or extends a file to inSize bytes.
  static void Resize(const Path& inPath, std::uint64_t inSize) {
    std::error_code error;
    std::filesystem::resize_file(ToSystem(inPath), inSize, error);
    EXPECT_FALSE(error) << error.message();
  }

  static std::filesystem::file_time_type WriteTime(const Path& inPath) {
    return std::filesystem::last_write_time(ToSystem(inPath));
  }
  static void SetWriteTime(const Path& inPath, std::filesystem::file_time_type inTime) {
    std::error_code error;
    std::filesystem::last_write_time(ToSystem(inPath), inTime, error);
    EXPECT_FALSE(error) << error.message();
  }

  static std::filesystem::path ToSystem(const Path& inPath) {
    return std::filesystem::u8path(strata::string::UTF16toStdString(inPath));
  }

 private:
  std::filesystem::path mDirectory;
};

}  // namespace OstraTest
