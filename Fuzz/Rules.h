// Rules that hold for every input, shared by the libFuzzer targets and the
// seeded fuzz tests (Tests/FuzzTest.cpp): each returns the first rule the
// input breaks, as text, or nullptr when it keeps them all.
#pragma once

#include <cstdint>

#include "Ostra/PathUtils.h"
#include "Ostra/Timecode.h"
#include "PathUtilsPrivate.h"

#define OSTRA_RULE(condition)            \
  do {                                   \
    if (!(condition)) return #condition; \
  } while (0)

namespace OstraRules {

using strata::UTF16String;

// Split and join agree, the single-part queries agree with the split, and
// removing illegal characters says whether it removed any.
inline const char* PathParts(const UTF16String& inPath) {
  namespace PathUtils = Ostra::PathUtils;
  UTF16String drive, directory, file, extension;
  PathUtils::SplitPath(inPath, &drive, &directory, &file, &extension);
  // The parts are the path up to its first NUL, in order; joining them
  // again fits the runtime's buffer of 2048 units with what it adds.
  const UTF16String cString(inPath.c_str());
  OSTRA_RULE(drive + directory + file + extension == cString);
  OSTRA_RULE(PathUtils::MakePath(drive, directory, file, extension) == cString ||
             cString.size() + 5 > 2048);
  OSTRA_RULE(directory.empty() || PathUtils::IsPathSeparator(directory.back()));
  OSTRA_RULE(file.find_first_of(L"\\/") == UTF16String::npos);
  OSTRA_RULE(extension.empty() || extension[0] == L'.');
  OSTRA_RULE(extension.find_first_of(L"\\/") == UTF16String::npos);
  if (!inPath.empty()) {
    OSTRA_RULE(PathUtils::GetDrivePart(inPath) == drive);
    OSTRA_RULE(PathUtils::GetDirectoryPart(inPath) == directory);
    OSTRA_RULE(PathUtils::GetFilePart(inPath) == file);
    OSTRA_RULE(PathUtils::GetExtensionPart(inPath) == extension);
    OSTRA_RULE(PathUtils::GetFullFilePart(inPath) == file + extension);
    OSTRA_RULE(PathUtils::GetFullDirectoryPart(inPath) == drive + directory);
  }
  if (extension.size() > 1) {
    OSTRA_RULE(PathUtils::FileHasExtension(inPath, extension));
    OSTRA_RULE(PathUtils::FileHasExtension(inPath, extension.substr(1)));
  }
  // The name part is the whole path cut before its last dot.
  OSTRA_RULE(PathUtils::GetFileNamePart(inPath) == inPath.substr(0, inPath.rfind(L'.')));
  UTF16String cleaned = inPath;
  const bool removed = PathUtils::RemoveIllegalFileNameCharacters(cleaned);
  OSTRA_RULE(removed == (cleaned != inPath));
  OSTRA_RULE(!PathUtils::RemoveIllegalFileNameCharacters(cleaned));
  return nullptr;
}

// Normalising twice changes nothing, keeps what the system accepts, and
// changes only prefixes: the long prefix in front (and a drive root's
// backslash behind), or the UNC form's in place of the first backslash.
// Stripping the prefixes gives a drive or UNC path back.
inline const char* NormalForm(const UTF16String& inPath) {
  namespace PathUtils = Ostra::PathUtils;
  const UTF16String normal = PathUtils::ToNormalizedPath(inPath);
  OSTRA_RULE(PathUtils::ToNormalizedPath(normal) == normal);
  OSTRA_RULE(normal == inPath || PathUtils::IsNormalizedPath(normal));
  OSTRA_RULE(PathUtils::IsWinAPIAcceptablePath(normal) ==
             PathUtils::IsWinAPIAcceptablePath(inPath));
  const UTF16String kLong = L"\\\\?\\";
  OSTRA_RULE(normal == inPath || normal == kLong + inPath || normal == kLong + inPath + L"\\" ||
             normal == inPath + L"\\" ||
             (!inPath.empty() && normal == kLong + L"UNC" + inPath.substr(1)));
  const bool drivePath = inPath.size() >= 3 && PathUtils::IsWinDriveLetter(inPath[0]) &&
                         inPath[1] == L':' && inPath[2] == L'\\';
  const bool uncPath = inPath.size() >= 3 && inPath[0] == L'\\' && inPath[1] == L'\\' &&
                       inPath.compare(0, 4, kLong) != 0;
  if (drivePath || uncPath) OSTRA_RULE(PathUtils::Win::StripUNC(normal) == inPath);
  return nullptr;
}

// Every format with the rate it is shown at.
struct TimecodeFormat {
  stratamedia::TimeDisplayType::Type format;
  stratamedia::FrameRate rate;
};
const int kTimecodeFormats = 13;
inline const TimecodeFormat& TimecodeFormatAt(std::uint32_t inIndex) {
  using namespace stratamedia;
  typedef TimeDisplayType T;
  static const TimecodeFormat kFormats[kTimecodeFormats] = {
      {T::kTimecode24, kFrameRate_Film24},          {T::kTimecode25, kFrameRate_VideoPAL},
      {T::kTimecodeNTSCDrop, kFrameRate_VideoNTSC}, {T::kTimecodeNTSCNonDrop, kFrameRate_VideoNTSC},
      {T::kTimecode30, kFrameRate_Video30},         {T::kTimecode50, kFrameRate_Video50},
      {T::kTimecodeNTSC60Drop, kFrameRate_VideoNTSC60},
      {T::kTimecodeNTSC60NonDrop, kFrameRate_VideoNTSC60},
      {T::kTimecode60, kFrameRate_Video60},         {T::kFrameCount, kFrameRate_VideoPAL},
      {T::kTimecodeFilmNTSC, kFrameRate_FilmNTSC},  {T::kFeetFrames40, kFrameRate_Film24},
      {T::kFeetFrames16, kFrameRate_Film24}};
  return kFormats[inIndex % kTimecodeFormats];
}

// A frame's text reads back as its time (signed, with unwrapped hours,
// every frame has its own text), and any text parses as some time or as
// zero without failing.
inline const char* TimecodeText(const TimecodeFormat& inFormat, std::int64_t inFrame,
                                const UTF16String& inNoise, bool inUnwrapped) {
  const stratamedia::TickTime time = stratamedia::FramesToTime(inFrame, inFormat.rate);
  Ostra::Timecode::Style style;
  style.mAllowNegative = true;
  style.mOptionB = true;
  const UTF16String text = Ostra::Timecode(time, inFormat.rate, inFormat.format, style).GetString();
  OSTRA_RULE(Ostra::Timecode::StringToTime(text, inFormat.rate, inFormat.format, true) == time);
  Ostra::Timecode::StringToTime(inNoise, inFormat.rate, inFormat.format, inUnwrapped);
  return nullptr;
}

}  // namespace OstraRules
