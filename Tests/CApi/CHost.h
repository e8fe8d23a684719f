/* What the C host (CHost.c, built once as C99 and once as C11) offers
   CApiTest.cpp, which compares its answers with the C++ interface's for
   the same inputs. The host calls every function of ostra/ostra.h. */
#ifndef OSTRA_TESTS_CHOST_H
#define OSTRA_TESTS_CHOST_H

#include "ostra/ostra.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A text answer of the C interface. */
typedef struct CHostText {
  ostra_result result;
  size_t length;
  uint16_t text[2048];
} CHostText;

/* The text functions of CHost.text, by number. */
enum CHostTextFunction {
  kTextResult, /* of n */
  kTextWin32ErrorMessage,
  kTextWin32ExceptionCode,
  kTextPathConstant,
  kTextPathSeparator,
  kTextAddTrailingSlash, /* of a */
  kTextRemoveTrailingSlash,
  kTextDrivePart,
  kTextDirectoryPart,
  kTextFilePart,
  kTextExtensionPart,
  kTextFullFilePart,
  kTextFileNamePart,
  kTextRemoveIllegalCharacters,
  kTextToNormalized,
  kTextStripUnc,
  kTextFullDirectoryPart,
  kTextDisplayString,
  kTextLeafDisplayString,
  kTextCombine, /* of a and b */
  kTextRelative,
  kTextTempDirectory,
  kTextDiskSpace, /* of n */
  kTextUniqueTempPath, /* of a, keeping the extension when n */
  kTextRegistryBaseKey,
  kTextRegistryCurrentVersionKey,
  kTextRegistryHelpKey,
  kTextRegistrySettingsKey,
  kTextLanguage,
  kTextStation, /* of n */
  kTextAutomationTag,
  kTextDirectoryRegistryFind, /* of a */
  kTextVersion,
  kTextFunctionCount
};

/* The functions of CHost.query with one integer answer, by number. */
enum CHostQueryFunction {
  kQueryHasTrailingSlash, /* of a */
  kQueryIsValidFileName,
  kQueryIsValidPath,
  kQueryIsNormalized,
  kQueryIsWinApiAcceptable,
  kQueryIsDirectory,
  kQueryIsDirectoryEmpty,
  kQueryIsReadOnly,
  kQueryFreeDriveSpace,
  kQueryEfficientBufferSize,
  kQueryFreeSpace,
  kQueryMaxFileSize,
  kQueryRemovedIllegalCharacters,
  kQueryCreationTimeOfPath,
  kQueryModificationTimeOfPath,
  kQueryModificationTimeOfFolder,
  kQuerySizeOfPath,
  kQueryExists, /* of a, by listing when n */
  kQueryFileHasExtension, /* of a and b */
  kQueryRelated,
  kQueryIsWinDriveLetter, /* of n */
  kQuerySystemErrorToResult,
  kQueryMaxPath, /* of nothing */
  kQueryLanguageId,
  kQueryPrimaryLanguageId,
  kQueryShouldFlush,
  kQueryFunctionCount
};

/* A query's answer and the result of the call that gave it. */
typedef struct CHostAnswer {
  ostra_result result;
  int64_t value;
} CHostAnswer;

/* Every conversion of ostra_color_... for one input, the outputs starting
   from the same fill values as the C++ side. */
typedef struct CHostColors {
  uint32_t hsl[3], hsv[3], hslToHsv[3], hsvToHsl[3], yuvToHsl[3], yuvToHsv[3];
  int32_t hslWritten[2], hsvWritten[2];
  uint8_t hslToRgb[3], hsvToRgb[3], yuvToRgb[3], yuvToRgbF[3], ntsc[3], web[3];
  uint8_t yuvY, hslYuvY, hsvYuvY;
  int8_t yuvUV[2], hslYuvUV[2], hsvYuvUV[2];
  int32_t yuvInRange, ntscSafe, webSafe;
  float ypbpr[3], ypbprToRgb[3], yiq[3], ypbprToHsl[3], hue, ire[2], mv[2], ypbprIre[2],
      ypbprMv[2], normalizedHsl[3], normalizedHsv[3], normalizedHslToRgb[3],
      normalizedHsvToRgb[3];
  int32_t normalizedHslWritten[2], normalizedHsvWritten[2];
  ostra_result failure; /* the first failing call, else OSTRA_SUCCESS */
} CHostColors;

/* One row of the time comparison and what the C interface answers for it. */
typedef struct CHostTimeRow {
  int64_t time, frameRate;
  int32_t format;
  uint32_t flags;
  ostra_timecode_style style;
} CHostTimeRow;
typedef struct CHostTimes {
  CHostText timecode, styled, conformed;
  int64_t frames, framesBack, parsed, parsedStyled, hmsfBack, afterIncrements, rateOfFps;
  uint32_t hmsf[3], formattingFlags, parsingFlags, nominalFps;
  uint64_t hmsfFrames;
  int32_t negative, isHmsf, isDropFrame, timecodeHmsf[3];
  int64_t timecodeFrames;
  ostra_result hmsfResult, conformResult;
  ostra_result failure;
} CHostTimes;

/* Time stamps of one clock reading. */
typedef struct CHostStamp {
  double milliseconds, microseconds, seconds;
  int32_t parts[3];
  ostra_result failure;
} CHostStamp;

/* What the file scenario saw; the paths are the caller's. */
typedef struct CHostFiles {
  uint64_t sizeOnDisk, modificationTime, creationTime, checksumFirst, checksumSecond,
      checksumHostCache, checksumShared;
  ostra_block_cache_statistics first, second;
  uint64_t hostCreates, hostAdds, hostHits, hostReleases, hostFactoryReleases, budget;
  int32_t progressReports;
  ostra_result cancelResult;
  CHostText swappedAway;
  ostra_result failure;
} CHostFiles;

typedef struct CHost {
  const char* standard; /* "C99" or "C11" */
  ostra_result (*start)(void); /* ostra_initialize */
  ostra_result (*stop)(void);  /* ostra_terminate */
  CHostText (*text)(int function, const uint16_t* a, const uint16_t* b, int64_t n);
  CHostAnswer (*query)(int function, const uint16_t* a, const uint16_t* b, int64_t n);
  /* ostra_path_split, then ostra_path_make of the parts. */
  ostra_result (*splitAndMake)(const uint16_t* path, CHostText parts[4], CHostText* made,
                               CHostText* madeFull);
  CHostText (*exceptionReport)(const void* record);
  void (*colors)(uint8_t red, uint8_t green, uint8_t blue, CHostColors* out);
  void (*times)(const CHostTimeRow* row, CHostTimes* out);
  void (*stamp)(double clockReading, CHostStamp* out);
  /* Writes path (size bytes of a pattern), reads it through a block cache
     twice and through a host cache of C callbacks, copies it to copyPath
     with progress, swaps a temporary copy over it. */
  void (*files)(const uint16_t* path, const uint16_t* copyPath, uint32_t size, CHostFiles* out);
  /* Reads the file with the asynchronous reader in `chunk` pieces; the
     checksum of the pieces, or 0 with *out_failure set. */
  uint64_t (*asyncRead)(const uint16_t* path, uint32_t chunk, ostra_result* outFailure);
  /* Builds a small tree under root (a.txt, empty\, sub\b.TXT, sub\c.log)
     and lists it recursively into `listings`: everything, the files, those
     filtered by ".txt", a listing limited to 2, one cancelled at once, the
     files and the directories of the split listing, and everything in the
     tree's copy at copyRoot (deleted afterwards). Registers root as
     "CHostRoot" and "$(CHostRoot)sub" as "CHostSub", finds the second into
     found, and unregisters the first. */
  ostra_result (*directories)(const uint16_t* root, const uint16_t* copyRoot,
                              ostra_string_list* listings[9], CHostText* found);
  /* Writes the values of the registry scenario under the user key path,
     reads them back and enumerates; the text of value "Text" and the sub
     key names into out. */
  ostra_result (*registry)(const uint16_t* keyPath, CHostText* text, uint32_t* number,
                           uint64_t* wide, int32_t* flag, uint8_t bytes[4],
                           ostra_string_list* subKeys);
  /* The greeting of resource `id` of type "GREETING" in the module at path,
     localised in each of the languages; its first "PAGES" resource, its
     path, and what its export SampleAnswer returns. */
  ostra_result (*greetings)(const uint16_t* path, int32_t id, const uint16_t* languages,
                            int count, CHostText* out, CHostText* firstPage,
                            CHostText* modulePath, int32_t* procAnswer);
  /* Arms a timer of duration 0 with the cookie, broadcasts idle messages
     and posts a deferred copy; the cookies the listener heard. */
  ostra_result (*idleTimer)(uint32_t cookie, uint32_t* heardCookies, int32_t* heard);
  /* Files results under a key and reads them back into out. */
  ostra_result (*automation)(const uint16_t* key, ostra_string_list* keys,
                             ostra_string_list* results, CHostText pair[2]);
  /* The failure paths: each row's result, and whether its last error text
     was set. */
  int (*failures)(ostra_result* results, int32_t* textSet, int capacity);
} CHost;

extern const CHost kCHostC99;
extern const CHost kCHostC11;

#ifdef __cplusplus
}
#endif

#endif
