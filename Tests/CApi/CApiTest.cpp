// The C interface against the C++ one: the C host (CHost.c, built as C99
// and as C11) calls the C functions, and each test computes the same
// answers through the C++ interface and compares. The failure paths of the
// boundary (bad handles, null pointers, small buffers, exceptions inside
// the library) each give their documented result.
#include <windows.h>

#include <gtest/gtest.h>

#include <cstring>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "CHost.h"
#include "Ostra/OstraFoundation.h"
#include "SampleResourceIds.h"
#include "Support/Dialogs.h"
#include "Support/TempDirectoryTest.h"
#include "Support/Watchdog.h"
#include "strata/Utility.h"

namespace {

using Ostra::UTF16String;
namespace PathUtils = Ostra::PathUtils;
using OstraTest::Show;

const uint16_t* U(const UTF16String& inText) {
  return reinterpret_cast<const uint16_t*>(inText.c_str());
}
UTF16String W(const CHostText& inText) {
  return UTF16String(reinterpret_cast<const wchar_t*>(inText.text), inText.length);
}
std::vector<UTF16String> Items(const ostra_string_list* inList) {
  uint64_t count = 0;
  EXPECT_EQ(OSTRA_SUCCESS, ostra_string_list_count(inList, &count));
  std::vector<UTF16String> items;
  for (uint64_t i = 0; i < count; ++i) {
    uint16_t text[1024];
    size_t length = 0;
    EXPECT_EQ(OSTRA_SUCCESS, ostra_string_list_get(inList, i, text, 1024, &length));
    items.emplace_back(reinterpret_cast<const wchar_t*>(text), length);
  }
  return items;
}

// A list handle the test owns.
class List {
 public:
  List() { EXPECT_EQ(OSTRA_SUCCESS, ostra_string_list_new(&mList)); }
  ~List() { ostra_string_list_destroy(mList); }
  List(const List&) = delete;
  List& operator=(const List&) = delete;
  ostra_string_list* get() const { return mList; }
  std::vector<UTF16String> items() const { return Items(mList); }

 private:
  ostra_string_list* mList = nullptr;
};

// The checksum of the C host: FNV-1a over each piece, seeded by its offset,
// summed over the pieces.
uint64_t Checksum(const std::string& inBytes, std::size_t inPiece) {
  uint64_t sum = 0;
  for (std::size_t offset = 0; offset < inBytes.size(); offset += inPiece) {
    uint64_t hash = 1469598103934665603ull ^ offset;
    for (std::size_t i = offset; i < std::min(inBytes.size(), offset + inPiece); ++i)
      hash = (hash ^ static_cast<unsigned char>(inBytes[i])) * 1099511628211ull;
    sum += hash;
  }
  return sum;
}

std::string ReadBytes(const UTF16String& inPath) {
  std::string bytes;
  if (FILE* file = _wfopen(inPath.c_str(), L"rb")) {
    char piece[65536];
    for (std::size_t read; (read = std::fread(piece, 1, sizeof piece, file)) > 0;)
      bytes.append(piece, read);
    std::fclose(file);
  }
  return bytes;
}

class CApiTest : public OstraTest::TempDirectoryTest,
                 public ::testing::WithParamInterface<const CHost*> {
 protected:
  void SetUp() override {
    OstraTest::TempDirectoryTest::SetUp();
    ASSERT_EQ(OSTRA_SUCCESS, Host().start());
  }
  void TearDown() override {
    EXPECT_EQ(OSTRA_SUCCESS, Host().stop());
    OstraTest::TempDirectoryTest::TearDown();
  }
  const CHost& Host() const { return *GetParam(); }
  UTF16String Text(int inFunction, const UTF16String& inA = {}, const UTF16String& inB = {},
                   int64_t inN = 0) const {
    const CHostText text = Host().text(inFunction, U(inA), U(inB), inN);
    EXPECT_EQ(OSTRA_SUCCESS, text.result) << "text function " << inFunction;
    return W(text);
  }
  int64_t Query(int inFunction, const UTF16String& inA = {}, const UTF16String& inB = {},
                int64_t inN = 0) const {
    const CHostAnswer answer = Host().query(inFunction, U(inA), U(inB), inN);
    EXPECT_LE(0, answer.result) << "query " << inFunction;
    return answer.value;
  }
};

const UTF16String kPaths[] = {L"",
                              L"C:",
                              L"C:\\",
                              L"\\\\?\\C:",
                              L"C:\\dir\\sub\\name.ext",
                              L"dir.d\\file",
                              L"a/b\\c.txt",
                              L"C:\\a\\.hidden",
                              L"1:x",
                              L"\\\\server\\share\\x",
                              L"\\\\?\\UNC\\server\\share",
                              L"\\\\?\\C:\\dir\\f.txt",
                              L"rel\\x",
                              L"C:\\ver1.2\\readme",
                              L"a*b?c",
                              L"C:\\a\\b\\"};

TEST_P(CApiTest, PathStringsAnswerAsInCpp) {
  const struct {
    int function;
    UTF16String (*cpp)(const UTF16String&);
  } texts[] = {{kTextAddTrailingSlash, PathUtils::AddTrailingSlash},
               {kTextRemoveTrailingSlash, PathUtils::RemoveTrailingSlash},
               {kTextDrivePart, PathUtils::GetDrivePart},
               {kTextDirectoryPart, PathUtils::GetDirectoryPart},
               {kTextFilePart, PathUtils::GetFilePart},
               {kTextExtensionPart, PathUtils::GetExtensionPart},
               {kTextFullFilePart, PathUtils::GetFullFilePart},
               {kTextFileNamePart, PathUtils::GetFileNamePart},
               {kTextRemoveIllegalCharacters,
                [](const UTF16String& inName) {
                  UTF16String name = inName;
                  PathUtils::RemoveIllegalFileNameCharacters(name);
                  return name;
                }},
               {kTextToNormalized, PathUtils::ToNormalizedPath},
               {kTextStripUnc, PathUtils::Win::StripUNC},
               {kTextFullDirectoryPart, PathUtils::GetFullDirectoryPart},
               {kTextDisplayString, PathUtils::GetDisplayStringFromPath},
               {kTextLeafDisplayString, PathUtils::GetLeafDisplayStringFromPath}};
  const struct {
    int function;
    bool (*cpp)(const UTF16String&);
  } queries[] = {{kQueryHasTrailingSlash, PathUtils::HasTrailingSlash},
                 {kQueryIsValidFileName, PathUtils::IsValidFileName},
                 {kQueryIsValidPath, PathUtils::IsValidPath},
                 {kQueryIsNormalized, PathUtils::IsNormalizedPath},
                 {kQueryIsWinApiAcceptable, PathUtils::IsWinAPIAcceptablePath},
                 {kQueryRemovedIllegalCharacters, [](const UTF16String& inName) {
                    UTF16String name = inName;
                    return PathUtils::RemoveIllegalFileNameCharacters(name);
                  }}};
  for (const UTF16String& path : kPaths) {
    SCOPED_TRACE("path \"" + Show(path) + "\"");
    for (const auto& row : texts)
      EXPECT_EQ(Show(row.cpp(path)), Show(Text(row.function, path))) << "function " << row.function;
    for (const auto& row : queries)
      EXPECT_EQ(row.cpp(path), Query(row.function, path)) << "query " << row.function;
    CHostText parts[4], made, madeFull;
    ASSERT_EQ(OSTRA_SUCCESS, Host().splitAndMake(U(path), parts, &made, &madeFull));
    UTF16String drive, directory, file, extension;
    PathUtils::SplitPath(path, &drive, &directory, &file, &extension);
    EXPECT_EQ(Show(drive + L"|" + directory + L"|" + file + L"|" + extension),
              Show(W(parts[0]) + L"|" + W(parts[1]) + L"|" + W(parts[2]) + L"|" + W(parts[3])));
    EXPECT_EQ(PathUtils::MakePath(drive, directory, file, extension), W(made));
    EXPECT_EQ(PathUtils::MakeFullPath(drive, directory, file, extension), W(madeFull));
    for (const UTF16String& other : {UTF16String(L"C:\\a\\c\\"), UTF16String(L"..\\up"),
                                     UTF16String(L"txt"), UTF16String(L".ext")}) {
      UTF16String relative;
      const bool related = PathUtils::ArePathsRelative(path, other, relative);
      EXPECT_EQ(related, Query(kQueryRelated, path, other));
      EXPECT_EQ(related ? relative : UTF16String(), Text(kTextRelative, path, other));
      EXPECT_EQ(PathUtils::CombinePaths(path, other), Text(kTextCombine, path, other));
      EXPECT_EQ(PathUtils::FileHasExtension(path, other),
                Query(kQueryFileHasExtension, path, other));
    }
  }
  for (int64_t c : {0x41, 0x7A, 0x31, 0xC0, 0x5B})
    EXPECT_EQ(PathUtils::IsWinDriveLetter(static_cast<wchar_t>(c)),
              Query(kQueryIsWinDriveLetter, {}, {}, c));
  const UTF16String* constants[] = {
      &PathUtils::kPathSeparator,     &PathUtils::kOppositePlatformPathSeparator,
      &PathUtils::kExtension,         &PathUtils::kShortUNCPathPrefix,
      &PathUtils::kLongUNCPathPrefix, &PathUtils::kIllegalFilenameCharactersDisplay,
      &PathUtils::kIllegalPathCharactersDisplay};
  for (int64_t i = 0; i < 7; ++i) EXPECT_EQ(*constants[i], Text(kTextPathConstant, {}, {}, i));
  EXPECT_EQ(PathUtils::GetPathSeparator(), Text(kTextPathSeparator));
  EXPECT_EQ(Ostra::OSTRA_MAX_PATH, Query(kQueryMaxPath));
}

TEST_P(CApiTest, QueriesOnDiskAnswerAsInCpp) {
  const UTF16String file = MakeFile(L"f.txt", std::string(1000, 'x'));
  const UTF16String folder = MakeDirectory(L"folder");
  const UTF16String missing = PathOf(L"missing.bin");
  for (const UTF16String& path : {file, folder, missing, GetPath(), UTF16String(L"rel")}) {
    SCOPED_TRACE(Show(path));
    EXPECT_EQ(PathUtils::IsDirectory(path), Query(kQueryIsDirectory, path));
    EXPECT_EQ(PathUtils::IsDirectoryEmpty(path), Query(kQueryIsDirectoryEmpty, path));
    EXPECT_EQ(PathUtils::IsReadOnly(path), Query(kQueryIsReadOnly, path));
    for (int useFind : {0, 1})
      EXPECT_EQ(PathUtils::ExistsOnDisk(path, useFind), Query(kQueryExists, path, {}, useFind));
    struct {
      int function;
      Ostra::Result (*cpp)(const UTF16String&, std::uint64_t&);
    } const byPath[] = {{kQueryCreationTimeOfPath, Ostra::File::GetCreationTime},
                        {kQueryModificationTimeOfPath, Ostra::File::GetLastModificationTime},
                        {kQueryModificationTimeOfFolder, Ostra::File::GetLastModificationTimeForFolder},
                        {kQuerySizeOfPath, Ostra::File::SizeOnDisk}};
    for (const auto& row : byPath) {
      std::uint64_t value = 0;
      const Ostra::Result result = row.cpp(path, value);
      const CHostAnswer answer = Host().query(row.function, U(path), nullptr, 0);
      EXPECT_EQ(result, answer.result) << "query " << row.function;
      EXPECT_EQ(static_cast<int64_t>(value), answer.value) << "query " << row.function;
    }
    std::uint32_t size = 0;
    const CHostAnswer efficient = Host().query(kQueryEfficientBufferSize, U(path), nullptr, 0);
    EXPECT_EQ(Ostra::DiskUtils::GetEfficientDiskBufferSizeFromPath(path, size), efficient.result);
    if (efficient.result >= 0) {
      EXPECT_EQ(size, efficient.value);
    }
  }
  // Other processes write to the same disk meanwhile: free space may move.
  const int64_t slack = 1ll << 30;
  EXPECT_NEAR(static_cast<double>(PathUtils::GetFreeDriveSpace(file)),
              static_cast<double>(Query(kQueryFreeDriveSpace, file)), slack);
  EXPECT_NEAR(static_cast<double>(Ostra::DiskUtils::GetFreeSpaceFromPath(file)),
              static_cast<double>(Query(kQueryFreeSpace, file)), slack);
  std::uint64_t maxSize = 0;
  ASSERT_EQ(Ostra::kSuccess, Ostra::DiskUtils::GetMaxFileSize(file, maxSize));
  EXPECT_NEAR(static_cast<double>(maxSize), static_cast<double>(Query(kQueryMaxFileSize, file)),
              slack);
  for (int64_t bytes : {0ll, 512ll, 1536ll, 3ll << 30})
    EXPECT_EQ(Ostra::DiskUtils::MakeDiskSpaceString(bytes), Text(kTextDiskSpace, {}, {}, bytes));
  EXPECT_EQ(PathUtils::GetTempDirectory(), Text(kTextTempDirectory));
  const UTF16String temp = Text(kTextUniqueTempPath, file, {}, 1);
  EXPECT_EQ(PathUtils::GetDirectoryPart(file), PathUtils::GetDirectoryPart(temp));
  EXPECT_EQ(L".txt", PathUtils::GetExtensionPart(temp));
  EXPECT_FALSE(PathUtils::ExistsOnDisk(temp, false));
}

TEST_P(CApiTest, ResultsErrorTextsAndSettingsAnswerAsInCpp) {
  EXPECT_EQ(Ostra::GetVersionString(), Show(Text(kTextVersion)));
  for (int64_t error = 0; error < 200; ++error)
    EXPECT_EQ(Ostra::Win::SystemErrorToOstraResult(static_cast<unsigned long>(error)),
              Query(kQuerySystemErrorToResult, {}, {}, error))
        << "error " << error;
  for (int64_t code : {2ll, 5ll, 0x7FFFFFFFll})
    EXPECT_EQ(Ostra::Win32ErrorCodeToMessage(static_cast<unsigned long>(code)),
              Text(kTextWin32ErrorMessage, {}, {}, code));
  for (int64_t code : {0xC0000005ll, 0xC0000094ll, 0xC00000FDll})
    EXPECT_EQ(Ostra::Win32ExceptionCodeToString(static_cast<unsigned long>(code)),
              Text(kTextWin32ExceptionCode, {}, {}, code));
  for (const DWORD flags : {0ul, 1ul}) {
    EXCEPTION_RECORD record = {};
    record.ExceptionCode = flags ? 0xC0000094 : EXCEPTION_ACCESS_VIOLATION;
    record.ExceptionFlags = flags;
    record.ExceptionAddress = reinterpret_cast<PVOID>(0x7ff6a1b2c3d4);
    record.ExceptionInformation[0] = 1;
    record.ExceptionInformation[1] = 0x10;
    const CHostText report = Host().exceptionReport(&record);
    EXPECT_EQ(OSTRA_SUCCESS, report.result);
    EXPECT_EQ(Ostra::ReportStructuredExceptionRecordInformation(record), W(report));
  }
  // The C interface's own texts: a code's name, or its value.
  EXPECT_EQ(L"OSTRA_E_FILE_NOT_FOUND: the file was not found or is not open",
            Text(kTextResult, {}, {}, OSTRA_E_FILE_NOT_FOUND));
  EXPECT_EQ(L"0xFFFFFFFF: a failure without a name", Text(kTextResult, {}, {}, -1));
  EXPECT_EQ(L"0x00000007: success without a name", Text(kTextResult, {}, {}, 7));

  EXPECT_EQ(Ostra::GetRegistryBaseKey(), Text(kTextRegistryBaseKey));
  EXPECT_EQ(Ostra::GetRegistryCurrentVersionKey(), Text(kTextRegistryCurrentVersionKey));
  EXPECT_EQ(Ostra::GetRegistryHelpKey(), Text(kTextRegistryHelpKey));
  EXPECT_EQ(Ostra::GetRegistrySettingsKey(), Text(kTextRegistrySettingsKey));
  EXPECT_EQ(Ostra::GetLanguageString(), Text(kTextLanguage));
  EXPECT_EQ(Ostra::GetLanguageID(), Query(kQueryLanguageId));
  EXPECT_EQ(Ostra::GetPrimaryLanguageID(), Query(kQueryPrimaryLanguageId));
  EXPECT_EQ(Ostra::ShouldFlushEveryChangeImmediately(), Query(kQueryShouldFlush));
  const strata::utility::ImmutableString* stations[] = {
      &Ostra::kStation_Idle,      &Ostra::kStation_Repeat,      &Ostra::kStation_AppSuspend,
      &Ostra::kStation_AppResume, &Ostra::kStation_AboutDialog, &Ostra::kStation_StatusBar};
  for (int64_t i = 0; i < 6; ++i)
    EXPECT_EQ(stations[i]->str(), Show(Text(kTextStation, {}, {}, i)));
  const UTF16String* tags[] = {&Ostra::AutomationDataCollector::kErrorTag,
                               &Ostra::AutomationDataCollector::kPerformanceTag,
                               &Ostra::AutomationDataCollector::kResultsTag,
                               &Ostra::AutomationDataCollector::kSuccessTag};
  for (int64_t i = 0; i < 4; ++i) EXPECT_EQ(*tags[i], Text(kTextAutomationTag, {}, {}, i));
}

// The C++ side of CHost.c's Colors: the same conversions in the same order
// from the same fill, so the two structures must be equal byte for byte.
CHostColors CppColors(uint8_t inRed, uint8_t inGreen, uint8_t inBlue) {
  CHostColors out;
  std::memset(&out, 0x5A, sizeof out);
  out.failure = OSTRA_SUCCESS;
  const Ostra::RGBColor rgb(inRed, inGreen, inBlue);
  const float r = inRed / 255.0f, g = inGreen / 255.0f, b = inBlue / 255.0f;
  bool written[2];
  const auto flags = [&written](int32_t* outFlags) {
    outFlags[0] = written[0];
    outFlags[1] = written[1];
  };
  const auto store = [](const Ostra::RGBColor& inColor, uint8_t* outRgb) {
    outRgb[0] = inColor.mRed, outRgb[1] = inColor.mGreen, outRgb[2] = inColor.mBlue;
  };
  const auto convert = [&store](uint8_t* ioRgb, auto inConversion) {
    Ostra::RGBColor color(ioRgb[0], ioRgb[1], ioRgb[2]);
    const auto result = inConversion(color);
    store(color, ioRgb);
    return result;
  };
  written[0] = written[1] = false;
  Ostra::ColorRGBtoHSL(rgb, out.hsl[0], out.hsl[1], out.hsl[2], &written[0], &written[1]);
  flags(out.hslWritten);
  written[0] = written[1] = false;
  Ostra::ColorRGBtoHSV(rgb, out.hsv[0], out.hsv[1], out.hsv[2], &written[0], &written[1]);
  flags(out.hsvWritten);
  convert(out.hslToRgb, [&](Ostra::RGBColor& c) {
    return Ostra::ColorHSLtoRGB(out.hsl[0], out.hsl[1], out.hsl[2], c), 0;
  });
  convert(out.hsvToRgb, [&](Ostra::RGBColor& c) {
    return Ostra::ColorHSVtoRGB(out.hsv[0], out.hsv[1], out.hsv[2], c), 0;
  });
  Ostra::ColorHSLtoHSV(out.hsl[0], out.hsl[1], out.hsl[2], out.hslToHsv[0], out.hslToHsv[1],
                       out.hslToHsv[2]);
  Ostra::ColorHSVtoHSL(out.hsv[0], out.hsv[1], out.hsv[2], out.hsvToHsl[0], out.hsvToHsl[1],
                       out.hsvToHsl[2]);
  signed char* const uv = reinterpret_cast<signed char*>(out.yuvUV);
  Ostra::ColorRGBtoYUV(rgb, out.yuvY, uv[0], uv[1]);
  out.yuvInRange = convert(out.yuvToRgb, [&](Ostra::RGBColor& c) {
    return Ostra::ColorYUVtoRGB(out.yuvY, uv[0], uv[1], c);
  });
  convert(out.yuvToRgbF, [&](Ostra::RGBColor& c) {
    return Ostra::ColorYUVtoRGBf(out.yuvY, uv[0], uv[1], c), 0;
  });
  Ostra::ColorHSLtoYUV(out.hsl[0], out.hsl[1], out.hsl[2], out.hslYuvY,
                       reinterpret_cast<signed char&>(out.hslYuvUV[0]),
                       reinterpret_cast<signed char&>(out.hslYuvUV[1]));
  Ostra::ColorHSVtoYUV(out.hsv[0], out.hsv[1], out.hsv[2], out.hsvYuvY,
                       reinterpret_cast<signed char&>(out.hsvYuvUV[0]),
                       reinterpret_cast<signed char&>(out.hsvYuvUV[1]));
  Ostra::ColorYUVtoHSL(out.yuvY, uv[0], uv[1], out.yuvToHsl[0], out.yuvToHsl[1], out.yuvToHsl[2]);
  Ostra::ColorYUVtoHSV(out.yuvY, uv[0], uv[1], out.yuvToHsv[0], out.yuvToHsv[1], out.yuvToHsv[2]);
  Ostra::ColorRGBToYPbPr(r, g, b, out.ypbpr[0], out.ypbpr[1], out.ypbpr[2]);
  const float* const p = out.ypbpr;
  Ostra::ColorYPbPrToRGB(p[0], p[1], p[2], out.ypbprToRgb[0], out.ypbprToRgb[1], out.ypbprToRgb[2]);
  Ostra::ColorYPbPrToYIQ(p[0], p[1], p[2], out.yiq[0], out.yiq[1], out.yiq[2]);
  Ostra::ColorYPbPrToHSL(p[0], p[1], p[2], out.ypbprToHsl[0], out.ypbprToHsl[1],
                         out.ypbprToHsl[2]);
  Ostra::ColorPbPrToHue(p[1], p[2], out.hue);
  Ostra::ColorRGBToIRE(r, g, b, out.ire[0], out.ire[1]);
  Ostra::ColorRGBToMV(r, g, b, out.mv[0], out.mv[1]);
  Ostra::ColorYPbPrToIRE(p[0], p[1], p[2], out.ypbprIre[0], out.ypbprIre[1]);
  Ostra::ColorYPbPrToMV(p[0], p[1], p[2], out.ypbprMv[0], out.ypbprMv[1]);
  written[0] = written[1] = false;
  Ostra::NormalizedRGBtoHSL(r, g, b, out.normalizedHsl[0], out.normalizedHsl[1],
                            out.normalizedHsl[2], &written[0], &written[1]);
  flags(out.normalizedHslWritten);
  written[0] = written[1] = false;
  Ostra::NormalizedRGBtoHSV(r, g, b, out.normalizedHsv[0], out.normalizedHsv[1],
                            out.normalizedHsv[2], &written[0], &written[1]);
  flags(out.normalizedHsvWritten);
  Ostra::NormalizedHSLtoRGB(out.normalizedHsl[0], out.normalizedHsl[1], out.normalizedHsl[2],
                            out.normalizedHslToRgb[0], out.normalizedHslToRgb[1],
                            out.normalizedHslToRgb[2]);
  Ostra::NormalizedHSVtoRGB(out.normalizedHsv[0], out.normalizedHsv[1], out.normalizedHsv[2],
                            out.normalizedHsvToRgb[0], out.normalizedHsvToRgb[1],
                            out.normalizedHsvToRgb[2]);
  out.ntscSafe = convert(out.ntsc, [&](Ostra::RGBColor& c) { return Ostra::MakeRGBNTSCSafe(rgb, c); });
  out.webSafe = convert(out.web, [&](Ostra::RGBColor& c) { return Ostra::MakeRGBWebSafe(rgb, c); });
  return out;
}

TEST_P(CApiTest, ColourConversionsAnswerAsInCpp) {
  // Black and grey leave the hue (and for black the saturation) unwritten.
  const uint8_t colors[][3] = {{0, 0, 0},       {255, 255, 255}, {128, 128, 128}, {255, 0, 0},
                               {255, 128, 128}, {0, 0, 128},     {10, 200, 30},   {33, 66, 99}};
  for (const auto& color : colors) {
    SCOPED_TRACE(testing::Message() << int(color[0]) << "," << int(color[1]) << "," << int(color[2]));
    CHostColors c;
    Host().colors(color[0], color[1], color[2], &c);
    EXPECT_EQ(OSTRA_SUCCESS, c.failure);
    const CHostColors cpp = CppColors(color[0], color[1], color[2]);
    EXPECT_EQ(0, std::memcmp(&cpp, &c, sizeof c));
  }
}

TEST_P(CApiTest, TimeAndTimecodeAnswerAsInCpp) {
  using namespace stratamedia;
  const auto style = [](uint32_t inValue, int32_t inA, int32_t inNegative, int32_t inB,
                        int32_t inC) {
    return ostra_timecode_style{sizeof(ostra_timecode_style), inValue, inA, inNegative, inB, inC};
  };
  const CHostTimeRow rows[] = {
      {FramesToTime(1800, kFrameRate_VideoNTSC).GetTicks(), kFrameRate_VideoNTSC.GetTicksPerFrame(),
       TimeDisplayType::kTimecodeNTSCDrop, 0, style(1, 0, 0, 0, 0)},
      {-kTicksPerSecond, kFrameRate_VideoPAL.GetTicksPerFrame(), TimeDisplayType::kTimecode25,
       OSTRA_TIMECODE_SIGNED_NEGATIVE, style(0, 0, 1, 0, 1)},
      {-kTicksPerSecond, kFrameRate_VideoPAL.GetTicksPerFrame(), TimeDisplayType::kTimecode25, 0,
       style(1, 0, 0, 0, 0)},
      {25 * 3600 * kTicksPerSecond, kFrameRate_Film24.GetTicksPerFrame(),
       TimeDisplayType::kTimecode24, OSTRA_TIMECODE_UNWRAPPED_HOURS, style(1, 1, 0, 1, 0)},
      {600 * kTicksPerSecond, kFrameRate_Film24.GetTicksPerFrame(),
       TimeDisplayType::kFeetFrames16, 0, style(1, 0, 0, 0, 0)},
      {12345 * kTicksPerSecond / 7, kFrameRate_VideoNTSC60.GetTicksPerFrame(),
       TimeDisplayType::kTimecodeNTSC60Drop, OSTRA_TIMECODE_NO_DROP_FRAME_SEPARATOR,
       style(1, 1, 0, 0, 1)},
      {0, kFrameRate_VideoPAL.GetTicksPerFrame(), TimeDisplayType::kFrameCount, 0,
       style(1, 0, 0, 0, 0)},
      {kTicksPerSecond, FrameRate::kNoRate, 99, 0, style(1, 0, 0, 0, 0)},
  };
  for (const CHostTimeRow& row : rows) {
    SCOPED_TRACE(testing::Message() << "time " << row.time << ", format " << row.format);
    CHostTimes c;
    Host().times(&row, &c);
    EXPECT_EQ(OSTRA_SUCCESS, c.failure);
    const TickTime time(row.time);
    const FrameRate rate(row.frameRate);
    const TimeDisplay format(static_cast<TimeDisplayType::Type>(row.format));
    const UTF16String text = TimeToTimecode(time, rate, format, row.flags);
    EXPECT_EQ(Show(text), Show(W(c.timecode)));
    EXPECT_EQ(TimecodeToTime(text, rate, format, row.flags).GetTicks(), c.parsed);
    EXPECT_EQ(TimeToFrames(time, rate), c.frames);
    EXPECT_EQ(FramesToTime(c.frames, rate).GetTicks(), c.framesBack);
    unsigned h = 0, m = 0, s = 0;
    std::uint64_t f = 0;
    bool negative = false;
    TimeToHMSF(h, m, s, f, negative, time, rate, format);
    EXPECT_EQ((std::vector<std::uint64_t>{h, m, s, f, negative}),
              (std::vector<std::uint64_t>{c.hmsf[0], c.hmsf[1], c.hmsf[2], c.hmsfFrames,
                                          std::uint64_t(c.negative)}));
    EXPECT_EQ(HMSFToTime(h, m, s, f, negative, rate, format).GetTicks(), c.hmsfBack);
    EXPECT_EQ(IsHMSFTimeDisplay(format, true), c.isHmsf);
    EXPECT_EQ(IsDropFrameTimeDisplay(format), c.isDropFrame);
    EXPECT_EQ(GetNominalFramesPerSecond(format), c.nominalFps);
    EXPECT_EQ(FrameRate::FromFramesPerSecond(30000, 1001).GetTicksPerFrame(), c.rateOfFps);

    Ostra::Timecode::Style cppStyle;
    cppStyle.mStyleValue = row.style.style_value;
    cppStyle.mOptionA = row.style.option_a;
    cppStyle.mAllowNegative = row.style.allow_negative;
    cppStyle.mOptionB = row.style.option_b;
    cppStyle.mOptionC = row.style.option_c;
    EXPECT_EQ(Ostra::Timecode::GetFormattingFlags(cppStyle).Get(), c.formattingFlags);
    EXPECT_EQ(Ostra::Timecode::GetParsingFlags(cppStyle).Get(), c.parsingFlags);
    const Ostra::Timecode timecode(time, rate, format, cppStyle);
    EXPECT_EQ(Show(timecode.GetString()), Show(W(c.styled)));
    int fields[3] = {};
    std::int64_t frames = 0;
    EXPECT_EQ(timecode.GetHMSF(fields[0], fields[1], fields[2], frames), c.hmsfResult);
    EXPECT_EQ((std::vector<std::int64_t>{fields[0], fields[1], fields[2], frames}),
              (std::vector<std::int64_t>{c.timecodeHmsf[0], c.timecodeHmsf[1], c.timecodeHmsf[2],
                                         c.timecodeFrames}));
    Ostra::Timecode copy(timecode);
    copy.SetTime(timecode.GetString());
    EXPECT_EQ(copy.GetTime().GetTicks(), c.parsedStyled);
    copy.IncrementHMSF(1, 2, -3, 4);
    copy.IncrementFeetFrames(2, 5);
    EXPECT_EQ(copy.GetTime().GetTicks(), c.afterIncrements);
    Ostra::Timecode conformed(kTime_Zero, kFrameRate_None, TimeDisplayType::kFrameCount);
    EXPECT_EQ(Ostra::Timecode::ConformTimecode(timecode, kFrameRate_Film24,
                                               TimeDisplayType::kTimecode24, conformed),
              c.conformResult);
    EXPECT_EQ(Show(conformed.GetString()), Show(W(c.conformed)));
  }
  for (double reading : {0.0, 1234.5, -987.0, 3.0e9}) {
    CHostStamp c;
    Host().stamp(reading, &c);
    EXPECT_EQ(OSTRA_SUCCESS, c.failure);
    const Ostra::TimeStamp stamp(reading);
    EXPECT_EQ(stamp.GetElapsedValue(), c.milliseconds);
    EXPECT_EQ(stamp.GetMicroSeconds(), c.microseconds);
    EXPECT_EQ(stamp.GetSeconds(), c.seconds);
    EXPECT_EQ((std::vector<int>{stamp.GetSecondsPart(), stamp.GetMilliSecondsPart(),
                                stamp.GetMicroSecondsPart()}),
              (std::vector<int>{c.parts[0], c.parts[1], c.parts[2]}));
  }
}

bool CancelAtOnce(float, void*) { return false; }

TEST_P(CApiTest, FilesThroughBothCachesReadTheBytesCppReads) {
  OstraTest::Watchdog dog("C host file scenario", std::chrono::seconds(120));
  const UTF16String path = PathOf(L"sample.bin"), copy = PathOf(L"copy.bin");
  const uint32_t kSize = 5 * 65536 + 1234;  // a short last block
  CHostFiles c;
  Host().files(U(path), U(copy), kSize, &c);
  EXPECT_EQ(OSTRA_SUCCESS, c.failure);

  const std::string bytes = ReadBytes(path);
  ASSERT_EQ(kSize, bytes.size());
  for (std::size_t i = 0; i < bytes.size(); i += 4099)
    ASSERT_EQ(static_cast<char>(i * 7 + i / 251), bytes[i]) << "byte " << i;
  const uint64_t sum = Checksum(bytes, 40000);
  EXPECT_EQ(sum, c.checksumFirst);
  EXPECT_EQ(sum, c.checksumSecond);
  EXPECT_EQ(sum, c.checksumShared);
  EXPECT_EQ(sum, c.checksumHostCache);
  EXPECT_EQ(kSize, c.sizeOnDisk);
  EXPECT_NE(0u, c.modificationTime);
  EXPECT_NE(0u, c.creationTime);

  const uint64_t blocks = (kSize + 65535) / 65536;
  EXPECT_EQ(blocks, c.first.misses);
  EXPECT_EQ(0u, c.first.hits);
  // The second pass (reading ahead) finds every block in the cache.
  EXPECT_EQ(c.first.misses, c.second.misses);
  EXPECT_LE(blocks, c.second.hits);
  EXPECT_EQ(blocks, c.second.blocks);
  EXPECT_EQ(8u << 20, c.budget);
  EXPECT_EQ(c.second.byte_budget, c.budget);
  EXPECT_EQ(2u, c.hostCreates);  // the two cached opens, not the uncached ones
  EXPECT_EQ(blocks, c.hostAdds);
  EXPECT_EQ(blocks, c.hostHits);
  EXPECT_EQ(2u, c.hostReleases);
  EXPECT_EQ(1u, c.hostFactoryReleases);

  EXPECT_EQ(Ostra::File::CopyWithProgress(path, PathOf(L"cancelled.bin"), CancelAtOnce, nullptr),
            c.cancelResult);
  Ostra::File::Delete(PathOf(L"cancelled.bin"));
  EXPECT_FALSE(PathUtils::ExistsOnDisk(copy, false)) << "the temporary file was not swapped in";
  EXPECT_FALSE(PathUtils::ExistsOnDisk(W(c.swappedAway), false));
}

TEST_P(CApiTest, AsynchronousReaderReadsTheBytesCppReads) {
  OstraTest::Watchdog dog("C host asynchronous reads", std::chrono::seconds(120));
  std::string bytes(40 * 65536, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 13 + i / 4096);
  const UTF16String path = MakeFile(L"async.bin", bytes);
  ostra_result failure = OSTRA_E_UNKNOWN;
  EXPECT_EQ(Checksum(bytes, 65536), Host().asyncRead(U(path), 65536, &failure));
  EXPECT_EQ(OSTRA_SUCCESS, failure);
}

TEST_P(CApiTest, DirectoriesListAsInCppAndTheRegistryResolvesTheirNames) {
  OstraTest::Watchdog dog("C host directories", std::chrono::seconds(120));
  const UTF16String root = MakeDirectory(L"tree"), copyRoot = PathOf(L"copy");
  List lists[9];
  ostra_string_list* listings[9];
  for (int i = 0; i < 9; ++i) listings[i] = lists[i].get();
  CHostText found;
  ASSERT_EQ(OSTRA_SUCCESS, Host().directories(U(root), U(copyRoot), listings, &found));

  const Ostra::Directory tree = Ostra::Directory::ConstructDirectory(root);
  const Ostra::Directory::CancelFunction none;
  std::vector<UTF16String> expected;
  tree.GetContainedPaths(expected, true, 0xFFFFFFFFu, none);
  EXPECT_EQ(5u, expected.size());
  EXPECT_EQ(expected, lists[0].items());
  tree.GetContainedFilePaths(expected, true, 0xFFFFFFFFu, none);
  EXPECT_EQ(expected, lists[1].items());
  tree.GetContainedFilePaths(L".txt", expected, true, 0xFFFFFFFFu, none);
  EXPECT_EQ(expected, lists[2].items());
  tree.GetContainedPaths(expected, true, 2, none);
  EXPECT_EQ(expected, lists[3].items());
  tree.GetContainedPaths(expected, true, 0xFFFFFFFFu, [] { return true; });
  EXPECT_EQ(expected, lists[4].items());
  std::vector<Ostra::Directory> directories;
  tree.GetContainedFileAndDirectoryPaths(expected, directories, true, 0xFFFFFFFFu, none);
  EXPECT_EQ(expected, lists[5].items());
  std::vector<UTF16String> directoryPaths;
  for (const Ostra::Directory& each : directories) directoryPaths.push_back(each.AsString());
  EXPECT_EQ(directoryPaths, lists[6].items());
  // The copy holds the files and the folders that hold them, not "empty".
  const std::vector<UTF16String> copied = lists[7].items();
  EXPECT_EQ((std::set<UTF16String>{copyRoot + L"\\a.txt", copyRoot + L"\\sub",
                                   copyRoot + L"\\sub\\b.TXT", copyRoot + L"\\sub\\c.log"}),
            std::set<UTF16String>(copied.begin(), copied.end()));
  EXPECT_FALSE(PathUtils::ExistsOnDisk(copyRoot, false));
  tree.GetContainedPaths(expected, true, 0xFFFFFFFFu, none);
  PathUtils::FilterHiddenFiles(expected);
  EXPECT_EQ(expected, lists[8].items());

  EXPECT_EQ(root + L"\\sub\\", W(found));
  EXPECT_EQ(L"$(CHostRoot)sub\\", Ostra::DirectoryRegistry::FindDirectory(L"CHostSub"));
  Ostra::DirectoryRegistry::RegisterDirectory(root, L"CHostRoot");
  EXPECT_EQ(root + L"\\sub\\", Text(kTextDirectoryRegistryFind, L"CHostSub"));
  Ostra::DirectoryRegistry::UnregisterDirectory(L"CHostRoot");
  Ostra::DirectoryRegistry::UnregisterDirectory(L"CHostSub");
}

TEST_P(CApiTest, RegistryValuesWrittenInCReadBackInCpp) {
  const UTF16String keyPath =
      L"Software\\OstraTest-CApi-" + strata::utility::Guid::CreateUnique().AsString();
  CHostText text;
  uint32_t number = 0;
  uint64_t wide = 0;
  int32_t flag = 0;
  uint8_t bytes[4] = {};
  List subKeys;
  EXPECT_EQ(OSTRA_SUCCESS, Host().registry(U(keyPath), &text, &number, &wide, &flag, bytes,
                                           subKeys.get()));
  Ostra::RegistryKey key;
  ASSERT_EQ(Ostra::kSuccess,
            key.Open(Ostra::RegistryRootKeys::kUser, keyPath, Ostra::RegistryKeyAccess::kAll));
  UTF16String cppText;
  std::uint32_t cppNumber = 0;
  std::uint64_t cppWide = 0;
  std::vector<char> cppBytes;
  bool cppFlag = true;
  EXPECT_EQ(Ostra::kSuccess, key.GetStringValue(L"Text", cppText));
  EXPECT_EQ(Ostra::kSuccess, key.GetUInt32Value(L"Number", cppNumber));
  EXPECT_EQ(Ostra::kSuccess, key.GetUInt64Value(L"Wide", cppWide));
  EXPECT_EQ(Ostra::kSuccess, key.GetBinaryValue(L"Bytes", cppBytes));
  EXPECT_EQ(Ostra::eOperationFailed, key.GetBooleanValue(L"Flag", cppFlag)) << "deleted in C";
  EXPECT_EQ(cppText, W(text));
  EXPECT_EQ(cppNumber, number);
  EXPECT_EQ(cppWide, wide);
  EXPECT_EQ(1, flag);
  EXPECT_EQ(cppBytes, std::vector<char>(bytes, bytes + 4));
  EXPECT_EQ((std::vector<UTF16String>{L"First", L"Second"}), subKeys.items());
  std::vector<Ostra::RegistryKey> left;
  key.EnumerateSubKeys(left);
  ASSERT_EQ(1u, left.size()) << "the C host deleted First";
  EXPECT_EQ(L"Second", left[0].GetParentKeyPath());
  Ostra::RegistryKey software;
  ASSERT_EQ(Ostra::kSuccess, software.Open(Ostra::RegistryRootKeys::kUser, L"Software",
                                           Ostra::RegistryKeyAccess::kAll));
  EXPECT_EQ(Ostra::kSuccess, software.DeleteSubKey(keyPath.substr(9)));
}

TEST_P(CApiTest, ModuleGreetingsInEachLanguageAsInCpp) {
  UTF16String samplePath = strata::utility::GetModulePath(nullptr);
  samplePath = samplePath.substr(0, samplePath.find_last_of(L'\\') + 1) + L"OstraSampleResources.dll";
  const uint16_t languages[] = {1033, 1041, 1031};
  CHostText greetings[3], firstPage, modulePath;
  int32_t answer = 0;
  const unsigned short saved = Ostra::GetLanguageID();
  ASSERT_EQ(OSTRA_SUCCESS, Host().greetings(U(samplePath), SAMPLE_GREETING_ALL, languages, 3,
                                            greetings, &firstPage, &modulePath, &answer));
  EXPECT_EQ(saved, Ostra::GetLanguageID());
  boost::shared_ptr<Ostra::Module> module;
  ASSERT_EQ(Ostra::kSuccess, Ostra::Module::Load(samplePath, module));
  for (int i = 0; i < 3; ++i) {
    Ostra::SetLanguageID(languages[i]);
    int size = 0;
    const void* text = module->FindLocalizedResource(MAKEINTRESOURCEW(SAMPLE_GREETING_ALL),
                                                     L"GREETING", size);
    ASSERT_TRUE(text);
    EXPECT_EQ(UTF16String(static_cast<const wchar_t*>(text), size / 2), W(greetings[i]));
  }
  Ostra::SetLanguageID(saved);
  int size = 0;
  const void* page = module->LoadFirstResourceOfType(L"PAGES", size);
  ASSERT_TRUE(page);
  EXPECT_EQ(UTF16String(static_cast<const wchar_t*>(page), size / 2), W(firstPage));
  UTF16String path;
  module->GetPath(path);
  EXPECT_EQ(path, W(modulePath));
  EXPECT_EQ(42, answer);
}

TEST_P(CApiTest, IdleTimerFiresOnceForItsListenerAndAutomationResultsReachCpp) {
  uint32_t cookies[4] = {};
  int32_t heard = 0;
  ASSERT_EQ(OSTRA_SUCCESS, Host().idleTimer(0x5EED, cookies, &heard));
  EXPECT_EQ((std::vector<uint32_t>{0x5EED, 0x5EEE}), std::vector<uint32_t>(cookies, cookies + heard))
      << "the timer's message once, then the deferred copy";

  List keys, results;
  CHostText pair[2];
  ASSERT_EQ(OSTRA_SUCCESS, Host().automation(U(L"CHostKey"), keys.get(), results.get(), pair));
  Ostra::AutomationDataCollector& collector = *Ostra::AutomationDataCollector::Instance();
  const auto performance = collector.SpecifyPerformanceTest();
  EXPECT_EQ(performance.first, W(pair[0]));
  EXPECT_EQ(performance.second, W(pair[1]));
  const Ostra::AutomationDataCollector::Collection collection = collector.GetCollection();
  std::vector<UTF16String> cppKeys, cppResults;
  for (const auto& entry : collection) cppKeys.push_back(entry.first);
  for (const auto& result : collection.at(L"CHostKey")) {
    cppResults.push_back(result.first);
    cppResults.push_back(result.second);
  }
  EXPECT_EQ((std::vector<UTF16String>{L"CHostEmpty", L"CHostKey"}), cppKeys);
  EXPECT_EQ(cppKeys, keys.items());
  EXPECT_EQ(cppResults, results.items());
  EXPECT_TRUE(collection.at(L"CHostEmpty").empty());
  collector.Clear();
}

TEST_P(CApiTest, EveryFailureOfTheBoundaryGivesItsCodeAndNamesTheFunction) {
  OstraTest::ContinueDialogs dialogs;  // the library's own checks report here
  const ostra_result expected[] = {
      OSTRA_E_INVALID_HANDLE,   OSTRA_E_INVALID_HANDLE,     OSTRA_E_INVALID_HANDLE,
      OSTRA_E_INVALID_HANDLE,   OSTRA_E_INVALID_ARGUMENT,   OSTRA_E_INVALID_ARGUMENT,
      OSTRA_E_INVALID_ARGUMENT, OSTRA_E_INVALID_ARGUMENT,   OSTRA_E_INVALID_ARGUMENT,
      OSTRA_E_INVALID_ARGUMENT, OSTRA_E_INVALID_ARGUMENT,   OSTRA_E_INVALID_ARGUMENT,
      OSTRA_E_INVALID_ARGUMENT, OSTRA_E_BUFFER_TOO_SMALL,   OSTRA_E_BUFFER_TOO_SMALL,
      OSTRA_E_EXCEPTION,        OSTRA_E_CONTRACT_VIOLATION, OSTRA_E_CONTRACT_VIOLATION,
      OSTRA_E_NOT_A_DIRECTORY,  OSTRA_E_DIRECTORY_GONE,     OSTRA_E_CONTRACT_VIOLATION,
      OSTRA_E_FILE_NOT_FOUND,   -1};
  const int rows = static_cast<int>(sizeof expected / sizeof expected[0]);
  ostra_result results[32];
  int32_t textSet[32];
  ASSERT_EQ(rows, Host().failures(results, textSet, 32));
  for (int i = 0; i < rows; ++i) {
    EXPECT_EQ(expected[i], results[i]) << "row " << i;
    EXPECT_EQ(1, textSet[i]) << "row " << i << ": the last error text";
  }
}

std::string StandardName(const testing::TestParamInfo<const CHost*>& inInfo) {
  return inInfo.param->standard;
}
INSTANTIATE_TEST_SUITE_P(Host, CApiTest, testing::Values(&kCHostC99, &kCHostC11), StandardName);

}  // namespace
