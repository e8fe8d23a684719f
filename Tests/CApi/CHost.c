/* The C host: every function of ostra/ostra.h called from C, built as C99
   and as C11 with -Wall -Wextra -pedantic-errors -Werror. CHOST_TABLE names
   the table this build exports (kCHostC99 or kCHostC11). */
#include "CHost.h"

#include <string.h>

/* kernel32's; declared here, since the host includes no system header. */
__declspec(dllimport) void __stdcall Sleep(uint32_t milliseconds);

#define CHOST_CAPACITY (sizeof(((CHostText*)0)->text) / sizeof(uint16_t))

/* Keeps the first failure of a scenario. */
static void Note(ostra_result* ioFailure, ostra_result inResult) {
  if (OSTRA_FAILED(inResult) && OSTRA_SUCCEEDED(*ioFailure)) *ioFailure = inResult;
}

static CHostText NewText(void) {
  CHostText text;
  text.result = OSTRA_SUCCESS;
  text.length = 0;
  text.text[0] = 0;
  return text;
}

static CHostText Text(int function, const uint16_t* a, const uint16_t* b, int64_t n) {
  CHostText t = NewText();
  const char* version = NULL;
  int32_t related = 0, removed = 0;
  uint16_t* o = t.text;
  const size_t c = CHOST_CAPACITY;
  size_t* l = &t.length;
  switch (function) {
    case kTextResult: t.result = ostra_result_text((ostra_result)n, o, c, l); break;
    case kTextWin32ErrorMessage: t.result = ostra_win32_error_message((uint32_t)n, o, c, l); break;
    case kTextWin32ExceptionCode:
      t.result = ostra_win32_exception_code_text((uint32_t)n, o, c, l);
      break;
    case kTextPathConstant: t.result = ostra_path_constant((int32_t)n, o, c, l); break;
    case kTextPathSeparator: t.result = ostra_path_get_separator(o, c, l); break;
    case kTextAddTrailingSlash: t.result = ostra_path_add_trailing_slash(a, o, c, l); break;
    case kTextRemoveTrailingSlash: t.result = ostra_path_remove_trailing_slash(a, o, c, l); break;
    case kTextDrivePart: t.result = ostra_path_get_drive_part(a, o, c, l); break;
    case kTextDirectoryPart: t.result = ostra_path_get_directory_part(a, o, c, l); break;
    case kTextFilePart: t.result = ostra_path_get_file_part(a, o, c, l); break;
    case kTextExtensionPart: t.result = ostra_path_get_extension_part(a, o, c, l); break;
    case kTextFullFilePart: t.result = ostra_path_get_full_file_part(a, o, c, l); break;
    case kTextFileNamePart: t.result = ostra_path_get_file_name_part(a, o, c, l); break;
    case kTextRemoveIllegalCharacters:
      t.result = ostra_path_remove_illegal_file_name_characters(a, o, c, l, &removed);
      break;
    case kTextToNormalized: t.result = ostra_path_to_normalized(a, o, c, l); break;
    case kTextStripUnc: t.result = ostra_path_strip_unc(a, o, c, l); break;
    case kTextFullDirectoryPart: t.result = ostra_path_get_full_directory_part(a, o, c, l); break;
    case kTextDisplayString: t.result = ostra_path_get_display_string(a, o, c, l); break;
    case kTextLeafDisplayString: t.result = ostra_path_get_leaf_display_string(a, o, c, l); break;
    case kTextCombine: t.result = ostra_path_combine(a, b, o, c, l); break;
    case kTextRelative: t.result = ostra_path_relative(a, b, &related, o, c, l); break;
    case kTextTempDirectory: t.result = ostra_path_get_temp_directory(o, c, l); break;
    case kTextDiskSpace: t.result = ostra_disk_space_string((uint64_t)n, o, c, l); break;
    case kTextUniqueTempPath:
      t.result = ostra_file_make_unique_temp_path(a, (int32_t)n, o, c, l);
      break;
    case kTextRegistryBaseKey: t.result = ostra_registry_base_key(o, c, l); break;
    case kTextRegistryCurrentVersionKey:
      t.result = ostra_registry_current_version_key(o, c, l);
      break;
    case kTextRegistryHelpKey: t.result = ostra_registry_help_key(o, c, l); break;
    case kTextRegistrySettingsKey: t.result = ostra_registry_settings_key(o, c, l); break;
    case kTextLanguage: t.result = ostra_language_get_string(o, c, l); break;
    case kTextStation: t.result = ostra_station_id((int32_t)n, o, c, l); break;
    case kTextAutomationTag: t.result = ostra_automation_tag((int32_t)n, o, c, l); break;
    case kTextDirectoryRegistryFind: t.result = ostra_directory_registry_find(a, o, c, l); break;
    case kTextVersion:
      for (version = ostra_version_string(); version[t.length]; ++t.length)
        o[t.length] = (uint8_t)version[t.length];
      o[t.length] = 0;
      break;
    default: t.result = OSTRA_E_INVALID_ARGUMENT; break;
  }
  return t;
}

static CHostAnswer Query(int function, const uint16_t* a, const uint16_t* b, int64_t n) {
  CHostAnswer answer;
  int32_t flag = 0;
  uint16_t word = 0;
  uint32_t size = 0;
  uint64_t wide = 0;
  ostra_result mapped = 0;
  uint16_t cleaned[512];
  size_t length = 0;
  answer.result = OSTRA_E_INVALID_ARGUMENT;
  answer.value = -1;
  switch (function) {
    case kQueryHasTrailingSlash: answer.result = ostra_path_has_trailing_slash(a, &flag); break;
    case kQueryIsValidFileName: answer.result = ostra_path_is_valid_file_name(a, &flag); break;
    case kQueryIsValidPath: answer.result = ostra_path_is_valid_path(a, &flag); break;
    case kQueryIsNormalized: answer.result = ostra_path_is_normalized(a, &flag); break;
    case kQueryIsWinApiAcceptable:
      answer.result = ostra_path_is_win_api_acceptable(a, &flag);
      break;
    case kQueryIsDirectory: answer.result = ostra_path_is_directory(a, &flag); break;
    case kQueryIsDirectoryEmpty: answer.result = ostra_path_is_directory_empty(a, &flag); break;
    case kQueryIsReadOnly: answer.result = ostra_path_is_read_only(a, &flag); break;
    case kQueryFreeDriveSpace: answer.result = ostra_path_get_free_drive_space(a, &wide); break;
    case kQueryEfficientBufferSize:
      answer.result = ostra_disk_get_efficient_buffer_size(a, &size);
      break;
    case kQueryFreeSpace: answer.result = ostra_disk_get_free_space(a, &wide); break;
    case kQueryMaxFileSize: answer.result = ostra_disk_get_max_file_size(a, &wide); break;
    case kQueryRemovedIllegalCharacters:
      answer.result =
          ostra_path_remove_illegal_file_name_characters(a, cleaned, 512, &length, &flag);
      break;
    case kQueryCreationTimeOfPath:
      answer.result = ostra_file_get_creation_time_of_path(a, &wide);
      break;
    case kQueryModificationTimeOfPath:
      answer.result = ostra_file_get_last_modification_time_of_path(a, &wide);
      break;
    case kQueryModificationTimeOfFolder:
      answer.result = ostra_file_get_last_modification_time_of_folder(a, &wide);
      break;
    case kQuerySizeOfPath: answer.result = ostra_file_size_on_disk_of_path(a, &wide); break;
    case kQueryExists: answer.result = ostra_path_exists_on_disk(a, (int32_t)n, &flag); break;
    case kQueryFileHasExtension: answer.result = ostra_path_file_has_extension(a, b, &flag); break;
    case kQueryRelated:
      answer.result = ostra_path_relative(a, b, &flag, cleaned, 512, &length);
      break;
    case kQueryIsWinDriveLetter:
      answer.result = ostra_path_is_win_drive_letter((uint16_t)n, &flag);
      break;
    case kQuerySystemErrorToResult:
      answer.result = ostra_system_error_to_result((uint32_t)n, &mapped);
      break;
    case kQueryMaxPath: answer.result = ostra_path_max_path(&flag); break;
    case kQueryLanguageId: answer.result = ostra_language_get_id(&word); break;
    case kQueryPrimaryLanguageId: answer.result = ostra_language_get_primary_id(&word); break;
    case kQueryShouldFlush:
      answer.result = ostra_registry_should_flush_every_change_immediately(&flag);
      break;
    default: return answer;
  }
  /* Only one of the outputs was written; they all started at 0. */
  answer.value = flag + word + (int64_t)size + (int64_t)wide + mapped;
  return answer;
}

static ostra_result Start(void) { return ostra_initialize(); }
static ostra_result Stop(void) { return ostra_terminate(); }

static ostra_result SplitAndMake(const uint16_t* path, CHostText parts[4], CHostText* made,
                                 CHostText* madeFull) {
  ostra_result failure = OSTRA_SUCCESS;
  int i;
  for (i = 0; i < 4; ++i) parts[i] = NewText();
  *made = NewText();
  *madeFull = NewText();
  Note(&failure, ostra_path_split(path, parts[0].text, CHOST_CAPACITY, &parts[0].length,
                                  parts[1].text, CHOST_CAPACITY, &parts[1].length, parts[2].text,
                                  CHOST_CAPACITY, &parts[2].length, parts[3].text, CHOST_CAPACITY,
                                  &parts[3].length));
  Note(&failure, ostra_path_make(parts[0].text, parts[1].text, parts[2].text, parts[3].text,
                                 made->text, CHOST_CAPACITY, &made->length));
  Note(&failure, ostra_path_make_full(parts[0].text, parts[1].text, parts[2].text, parts[3].text,
                                      madeFull->text, CHOST_CAPACITY, &madeFull->length));
  return failure;
}

static CHostText ExceptionReport(const void* record) {
  CHostText t = NewText();
  t.result = ostra_exception_record_report(record, t.text, CHOST_CAPACITY, &t.length);
  return t;
}

/* The outputs start from these, as on the C++ side, so outputs a
   conversion leaves alone compare equal too. */
static void FillColors(CHostColors* out) {
  memset(out, 0x5A, sizeof *out);
  out->failure = OSTRA_SUCCESS;
}

static void Colors(uint8_t r, uint8_t g, uint8_t b, CHostColors* out) {
  ostra_result* f;
  const float fr = r / 255.0f, fg = g / 255.0f, fb = b / 255.0f;
  FillColors(out);
  f = &out->failure;
  Note(f, ostra_color_rgb_to_hsl(r, g, b, &out->hsl[0], &out->hsl[1], &out->hsl[2],
                                 &out->hslWritten[0], &out->hslWritten[1]));
  Note(f, ostra_color_rgb_to_hsv(r, g, b, &out->hsv[0], &out->hsv[1], &out->hsv[2],
                                 &out->hsvWritten[0], &out->hsvWritten[1]));
  Note(f, ostra_color_hsl_to_rgb(out->hsl[0], out->hsl[1], out->hsl[2], &out->hslToRgb[0],
                                 &out->hslToRgb[1], &out->hslToRgb[2]));
  Note(f, ostra_color_hsv_to_rgb(out->hsv[0], out->hsv[1], out->hsv[2], &out->hsvToRgb[0],
                                 &out->hsvToRgb[1], &out->hsvToRgb[2]));
  Note(f, ostra_color_hsl_to_hsv(out->hsl[0], out->hsl[1], out->hsl[2], &out->hslToHsv[0],
                                 &out->hslToHsv[1], &out->hslToHsv[2]));
  Note(f, ostra_color_hsv_to_hsl(out->hsv[0], out->hsv[1], out->hsv[2], &out->hsvToHsl[0],
                                 &out->hsvToHsl[1], &out->hsvToHsl[2]));
  Note(f, ostra_color_rgb_to_yuv(r, g, b, &out->yuvY, &out->yuvUV[0], &out->yuvUV[1]));
  Note(f, ostra_color_yuv_to_rgb(out->yuvY, out->yuvUV[0], out->yuvUV[1], &out->yuvToRgb[0],
                                 &out->yuvToRgb[1], &out->yuvToRgb[2], &out->yuvInRange));
  Note(f, ostra_color_yuv_to_rgb_f(out->yuvY, out->yuvUV[0], out->yuvUV[1], &out->yuvToRgbF[0],
                                   &out->yuvToRgbF[1], &out->yuvToRgbF[2]));
  Note(f, ostra_color_hsl_to_yuv(out->hsl[0], out->hsl[1], out->hsl[2], &out->hslYuvY,
                                 &out->hslYuvUV[0], &out->hslYuvUV[1]));
  Note(f, ostra_color_hsv_to_yuv(out->hsv[0], out->hsv[1], out->hsv[2], &out->hsvYuvY,
                                 &out->hsvYuvUV[0], &out->hsvYuvUV[1]));
  Note(f, ostra_color_yuv_to_hsl(out->yuvY, out->yuvUV[0], out->yuvUV[1], &out->yuvToHsl[0],
                                 &out->yuvToHsl[1], &out->yuvToHsl[2]));
  Note(f, ostra_color_yuv_to_hsv(out->yuvY, out->yuvUV[0], out->yuvUV[1], &out->yuvToHsv[0],
                                 &out->yuvToHsv[1], &out->yuvToHsv[2]));
  Note(f, ostra_color_rgb_to_ypbpr(fr, fg, fb, &out->ypbpr[0], &out->ypbpr[1], &out->ypbpr[2]));
  Note(f, ostra_color_ypbpr_to_rgb(out->ypbpr[0], out->ypbpr[1], out->ypbpr[2],
                                   &out->ypbprToRgb[0], &out->ypbprToRgb[1],
                                   &out->ypbprToRgb[2]));
  Note(f, ostra_color_ypbpr_to_yiq(out->ypbpr[0], out->ypbpr[1], out->ypbpr[2], &out->yiq[0],
                                   &out->yiq[1], &out->yiq[2]));
  Note(f, ostra_color_ypbpr_to_hsl(out->ypbpr[0], out->ypbpr[1], out->ypbpr[2],
                                   &out->ypbprToHsl[0], &out->ypbprToHsl[1],
                                   &out->ypbprToHsl[2]));
  Note(f, ostra_color_pbpr_to_hue(out->ypbpr[1], out->ypbpr[2], &out->hue));
  Note(f, ostra_color_rgb_to_ire(fr, fg, fb, &out->ire[0], &out->ire[1]));
  Note(f, ostra_color_rgb_to_mv(fr, fg, fb, &out->mv[0], &out->mv[1]));
  Note(f, ostra_color_ypbpr_to_ire(out->ypbpr[0], out->ypbpr[1], out->ypbpr[2],
                                   &out->ypbprIre[0], &out->ypbprIre[1]));
  Note(f, ostra_color_ypbpr_to_mv(out->ypbpr[0], out->ypbpr[1], out->ypbpr[2], &out->ypbprMv[0],
                                  &out->ypbprMv[1]));
  Note(f, ostra_color_normalized_rgb_to_hsl(fr, fg, fb, &out->normalizedHsl[0],
                                            &out->normalizedHsl[1], &out->normalizedHsl[2],
                                            &out->normalizedHslWritten[0],
                                            &out->normalizedHslWritten[1]));
  Note(f, ostra_color_normalized_rgb_to_hsv(fr, fg, fb, &out->normalizedHsv[0],
                                            &out->normalizedHsv[1], &out->normalizedHsv[2],
                                            &out->normalizedHsvWritten[0],
                                            &out->normalizedHsvWritten[1]));
  Note(f, ostra_color_normalized_hsl_to_rgb(out->normalizedHsl[0], out->normalizedHsl[1],
                                            out->normalizedHsl[2], &out->normalizedHslToRgb[0],
                                            &out->normalizedHslToRgb[1],
                                            &out->normalizedHslToRgb[2]));
  Note(f, ostra_color_normalized_hsv_to_rgb(out->normalizedHsv[0], out->normalizedHsv[1],
                                            out->normalizedHsv[2], &out->normalizedHsvToRgb[0],
                                            &out->normalizedHsvToRgb[1],
                                            &out->normalizedHsvToRgb[2]));
  Note(f, ostra_color_make_rgb_ntsc_safe(r, g, b, &out->ntsc[0], &out->ntsc[1], &out->ntsc[2],
                                         &out->ntscSafe));
  Note(f, ostra_color_make_rgb_web_safe(r, g, b, &out->web[0], &out->web[1], &out->web[2],
                                        &out->webSafe));
}

static void Times(const CHostTimeRow* row, CHostTimes* out) {
  ostra_result* f = &out->failure;
  ostra_timecode* timecode = NULL;
  ostra_timecode* copy = NULL;
  ostra_timecode* conformed = NULL;
  ostra_timecode_style style;
  int64_t rate = 0, time = 0;
  int32_t format = 0;
  memset(out, 0, sizeof *out);
  out->timecode = NewText();
  out->styled = NewText();
  out->conformed = NewText();
  Note(f, ostra_time_to_timecode(row->time, row->frameRate, row->format, row->flags,
                                 out->timecode.text, CHOST_CAPACITY, &out->timecode.length));
  Note(f, ostra_timecode_to_time(out->timecode.text, row->frameRate, row->format, row->flags,
                                 &out->parsed));
  Note(f, ostra_time_to_frames(row->time, row->frameRate, &out->frames));
  Note(f, ostra_frames_to_time(out->frames, row->frameRate, &out->framesBack));
  Note(f, ostra_time_to_hmsf(row->time, row->frameRate, row->format, &out->hmsf[0],
                             &out->hmsf[1], &out->hmsf[2], &out->hmsfFrames, &out->negative));
  Note(f, ostra_hmsf_to_time(out->hmsf[0], out->hmsf[1], out->hmsf[2], out->hmsfFrames,
                             out->negative, row->frameRate, row->format, &out->hmsfBack));
  Note(f, ostra_time_display_is_hmsf(row->format, 1, &out->isHmsf));
  Note(f, ostra_time_display_is_drop_frame(row->format, &out->isDropFrame));
  Note(f, ostra_time_display_nominal_frames_per_second(row->format, &out->nominalFps));
  Note(f, ostra_frame_rate_from_frames_per_second(30000, 1001, &out->rateOfFps));
  Note(f, ostra_timecode_style_formatting_flags(&row->style, &out->formattingFlags));
  Note(f, ostra_timecode_style_parsing_flags(&row->style, &out->parsingFlags));

  Note(f, ostra_timecode_new(0, OSTRA_FRAME_RATE_VIDEO_PAL, OSTRA_TIME_DISPLAY_TIMECODE25, NULL,
                             &timecode));
  Note(f, ostra_timecode_set_format(timecode, row->format, row->frameRate));
  Note(f, ostra_timecode_set_style(timecode, &row->style));
  Note(f, ostra_timecode_set_time(timecode, row->time));
  Note(f, ostra_timecode_get_string(timecode, out->styled.text, CHOST_CAPACITY,
                                    &out->styled.length));
  out->hmsfResult = ostra_timecode_get_hmsf(timecode, &out->timecodeHmsf[0],
                                            &out->timecodeHmsf[1], &out->timecodeHmsf[2],
                                            &out->timecodeFrames);
  Note(f, ostra_timecode_copy(timecode, &copy));
  Note(f, ostra_timecode_set_string(copy, out->styled.text));
  Note(f, ostra_timecode_get_time(copy, &out->parsedStyled));
  Note(f, ostra_timecode_increment_hmsf(copy, 1, 2, -3, 4));
  Note(f, ostra_timecode_increment_feet_frames(copy, 2, 5));
  Note(f, ostra_timecode_get_time(copy, &out->afterIncrements));
  /* What the copy reports of itself must be what it was made with. */
  Note(f, ostra_timecode_get_frame_rate(copy, &rate));
  Note(f, ostra_timecode_get_format(copy, &format));
  style.struct_size = sizeof style;
  Note(f, ostra_timecode_get_style(copy, &style));
  if (rate != row->frameRate || format != row->format ||
      style.allow_negative != row->style.allow_negative)
    Note(f, OSTRA_E_UNKNOWN);
  Note(f, ostra_timecode_string_to_time(out->styled.text, row->frameRate, row->format,
                                        row->style.option_b, &time));
  if (time != out->parsedStyled) Note(f, OSTRA_E_UNKNOWN);
  Note(f, ostra_timecode_new(0, OSTRA_FRAME_RATE_NONE, OSTRA_TIME_DISPLAY_FRAME_COUNT, NULL,
                             &conformed));
  out->conformResult = ostra_timecode_conform(timecode, OSTRA_FRAME_RATE_FILM24,
                                              OSTRA_TIME_DISPLAY_TIMECODE24, conformed);
  Note(f, ostra_timecode_get_string(conformed, out->conformed.text, CHOST_CAPACITY,
                                    &out->conformed.length));
  Note(f, ostra_timecode_destroy(conformed));
  Note(f, ostra_timecode_destroy(copy));
  Note(f, ostra_timecode_destroy(timecode));
}

static void Stamp(double reading, CHostStamp* out) {
  double now = 0, start = 0;
  out->failure = OSTRA_SUCCESS;
  Note(&out->failure, ostra_time_stamp_elapsed_milliseconds(reading, &out->milliseconds));
  Note(&out->failure, ostra_time_stamp_elapsed_microseconds(reading, &out->microseconds));
  Note(&out->failure, ostra_time_stamp_elapsed_seconds(reading, &out->seconds));
  Note(&out->failure,
       ostra_time_stamp_parts(reading, &out->parts[0], &out->parts[1], &out->parts[2]));
  Note(&out->failure, ostra_time_stamp_start(&start));
  Note(&out->failure, ostra_time_stamp_now(&now));
  if (now < start) Note(&out->failure, OSTRA_E_UNKNOWN);
}

/* --------------------------------------------------------------- files */

/* A host's block cache of C callbacks: a small table of blocks by offset,
   each kept with its own reference. */
typedef struct HostCache {
  struct {
    ostra_block* block;
    uint64_t offset;
  } slots[64];
  int count;
  uint64_t creates, adds, hits, releases, factoryReleases;
} HostCache;

static ostra_result HostCreate(void* context, void** outBuffer) {
  HostCache* cache = (HostCache*)context;
  ++cache->creates;
  *outBuffer = cache;
  return OSTRA_SUCCESS;
}
static void HostAdd(void* buffer, ostra_block* block, uint64_t offset) {
  HostCache* cache = (HostCache*)buffer;
  ++cache->adds;
  if (cache->count < 64 && OSTRA_SUCCEEDED(ostra_block_retain(block))) {
    cache->slots[cache->count].block = block;
    cache->slots[cache->count].offset = offset;
    ++cache->count;
  }
}
static ostra_result HostGet(void* buffer, uint64_t offset, uint32_t size, ostra_block** outBlock) {
  HostCache* cache = (HostCache*)buffer;
  int i;
  const void* data = NULL;
  uint64_t blockSize = 0;
  for (i = 0; i < cache->count; ++i) {
    if (cache->slots[i].offset != offset) continue;
    if (OSTRA_FAILED(ostra_block_data(cache->slots[i].block, &data, &blockSize)) ||
        blockSize != size || OSTRA_FAILED(ostra_block_retain(cache->slots[i].block)))
      return OSTRA_E_UNKNOWN;
    ++cache->hits;
    *outBlock = cache->slots[i].block;
    return OSTRA_SUCCESS;
  }
  return OSTRA_E_FILE_NOT_FOUND;
}
static void HostReleaseBuffer(void* buffer) { ++((HostCache*)buffer)->releases; }
static void HostReleaseFactory(void* context) { ++((HostCache*)context)->factoryReleases; }

static int32_t CountProgress(float fraction, void* context) {
  (void)fraction;
  ++*(int32_t*)context;
  return 1;
}
static int32_t CancelProgress(float fraction, void* context) {
  (void)fraction;
  (void)context;
  return 0;
}

static uint64_t Checksum(const uint8_t* data, uint32_t size, uint64_t offset) {
  uint64_t hash = 1469598103934665603u ^ offset;
  uint32_t i;
  for (i = 0; i < size; ++i) hash = (hash ^ data[i]) * 1099511628211u;
  return hash;
}

/* Reads the whole file (plain reads, or read_at when shared) in odd-sized
   pieces, so pieces cross block edges. */
static uint64_t ReadAll(ostra_file* file, int shared, ostra_result* failure) {
  static uint8_t piece[40000];
  uint64_t sum = 0, offset = 0;
  uint32_t read = 0;
  for (;;) {
    const ostra_result result =
        shared ? ostra_file_read_at(file, piece, (int64_t)offset, sizeof piece, &read)
               : ostra_file_read(file, piece, sizeof piece, &read);
    Note(failure, result);
    if (OSTRA_FAILED(result) || read == 0) return sum;
    sum += Checksum(piece, read, offset);
    offset += read;
  }
}

static void Files(const uint16_t* path, const uint16_t* copyPath, uint32_t size,
                  CHostFiles* out) {
  static uint8_t chunk[65536];
  static HostCache host;
  ostra_result* f = &out->failure;
  ostra_file* file = NULL;
  ostra_block_cache* cache = NULL;
  ostra_file_buffer_callbacks callbacks;
  uint32_t written = 0, done = 0, i;
  int32_t isOpen = 0, type = -1;
  int64_t position = -1;
  void* handle = NULL;
  memset(out, 0, sizeof *out);
  memset(&host, 0, sizeof host);
  out->swappedAway = NewText();

  Note(f, ostra_file_new(OSTRA_FILE_PLAIN, &file));
  Note(f, ostra_file_create(file, path, OSTRA_ACCESS_WRITE, OSTRA_SHARE_READ, OSTRA_CREATE_ALWAYS,
                            OSTRA_ATTRIBUTE_NORMAL, 0));
  while (done < size && OSTRA_SUCCEEDED(*f)) {
    const uint32_t count = size - done < sizeof chunk ? size - done : (uint32_t)sizeof chunk;
    for (i = 0; i < count; ++i) chunk[i] = (uint8_t)((done + i) * 7 + (done + i) / 251);
    Note(f, ostra_file_write(file, chunk, count, &written));
    done += written;
  }
  Note(f, ostra_file_flush(file));
  Note(f, ostra_file_get_pointer(file, &position));
  if (position != (int64_t)size) Note(f, OSTRA_E_UNKNOWN);
  Note(f, ostra_file_set_pointer(file, 0, OSTRA_SEEK_END));
  Note(f, ostra_file_set_end_of_file(file));
  Note(f, ostra_file_get_platform_handle(file, &handle));
  Note(f, ostra_file_get_file_system_type(file, &type));
  if (!handle || type != 0) Note(f, OSTRA_E_UNKNOWN);
  Note(f, ostra_file_close(file));
  Note(f, ostra_file_is_open(file, &isOpen));
  if (isOpen) Note(f, OSTRA_E_UNKNOWN);

  /* Twice through the library's block cache: the second pass hits. Files
     share the blocks of a file only once its last change is 2 s old: a
     younger one could share its time stamps with a later version. */
  Sleep(2100);
  Note(f, ostra_block_cache_new(1u << 20, &cache));
  Note(f, ostra_block_cache_set_byte_budget(cache, 8u << 20));
  Note(f, ostra_block_cache_get_byte_budget(cache, &out->budget));
  Note(f, ostra_block_cache_install(cache));
  for (i = 0; i < 2; ++i) {
    ostra_block_cache_statistics* statistics = i == 0 ? &out->first : &out->second;
    Note(f, ostra_file_set_buffer_size(file, 65536));
    Note(f, ostra_file_set_multi_buffer_count(file, 2));
    Note(f, ostra_file_set_read_ahead(file, i));
    Note(f, ostra_file_create(file, path, OSTRA_ACCESS_READ, OSTRA_SHARE_READ,
                              OSTRA_OPEN_EXISTING, OSTRA_ATTRIBUTE_NORMAL, 0));
    if (i == 0) {
      Note(f, ostra_file_size_on_disk(file, &out->sizeOnDisk));
      Note(f, ostra_file_get_last_modification_time(file, &out->modificationTime));
      Note(f, ostra_file_get_creation_time(file, &out->creationTime));
    }
    *(i == 0 ? &out->checksumFirst : &out->checksumSecond) = ReadAll(file, 0, f);
    Note(f, ostra_file_close(file));
    statistics->struct_size = sizeof *statistics;
    Note(f, ostra_block_cache_get_statistics(cache, statistics));
  }
  Note(f, ostra_block_cache_reset_counters(cache));
  Note(f, ostra_block_cache_clear(cache));
  Note(f, ostra_block_cache_destroy(cache));
  Note(f, ostra_file_destroy(file));

  /* Through the host's cache, as a shared file read at offsets. */
  memset(&callbacks, 0, sizeof callbacks);
  callbacks.struct_size = sizeof callbacks;
  callbacks.context = &host;
  callbacks.create_buffer = HostCreate;
  callbacks.add_block = HostAdd;
  callbacks.get_block = HostGet;
  callbacks.release_buffer = HostReleaseBuffer;
  callbacks.release_factory = HostReleaseFactory;
  Note(f, ostra_file_buffer_factory_install(&callbacks));
  Note(f, ostra_file_new(OSTRA_FILE_SHARED, &file));
  for (i = 0; i < 2; ++i) {
    Note(f, ostra_file_open(file, path, OSTRA_ACCESS_READ, 0));
    out->checksumShared = ReadAll(file, 0, f); /* Open shares writing: uncached */
    Note(f, ostra_file_close(file));
    Note(f, ostra_file_create(file, path, OSTRA_ACCESS_READ, OSTRA_SHARE_READ,
                              OSTRA_OPEN_EXISTING, OSTRA_ATTRIBUTE_NORMAL, 0));
    out->checksumHostCache = ReadAll(file, 1, f);
    Note(f, ostra_file_close(file));
  }
  Note(f, ostra_file_destroy(file));
  Note(f, ostra_file_buffer_factory_uninstall());
  for (i = 0; i < (uint32_t)host.count; ++i) Note(f, ostra_block_release(host.slots[i].block));
  out->hostCreates = host.creates;
  out->hostAdds = host.adds;
  out->hostHits = host.hits;
  out->hostReleases = host.releases;
  out->hostFactoryReleases = host.factoryReleases;

  /* By path: a copy with progress (and one cancelled), a temporary copy
     swapped over the original. */
  Note(f, ostra_file_copy_with_progress(path, copyPath, CountProgress, &out->progressReports));
  out->cancelResult = ostra_file_copy_with_progress(path, copyPath, CancelProgress, NULL);
  Note(f, ostra_file_make_unique_temp_path(path, 1, out->swappedAway.text, CHOST_CAPACITY,
                                           &out->swappedAway.length));
  Note(f, ostra_file_copy(copyPath, out->swappedAway.text));
  Note(f, ostra_file_delete(copyPath));
  Note(f, ostra_file_move(out->swappedAway.text, copyPath));
  Note(f, ostra_file_swap_temp_file(copyPath, path));
}

/* -------------------------------------------------- asynchronous reader */

typedef struct AsyncRun {
  uint64_t checksum;
  ostra_result failure;
} AsyncRun;

static void OnRead(ostra_async_reader* reader, uint64_t offset, uint32_t requested,
                   uint32_t read, void* buffer, void* context, ostra_result result) {
  AsyncRun* run = (AsyncRun*)context;
  (void)reader;
  (void)requested;
  Note(&run->failure, result);
  run->checksum += Checksum((const uint8_t*)buffer, read, offset);
}

static uint64_t AsyncRead(const uint16_t* path, uint32_t chunk, ostra_result* outFailure) {
  static uint8_t memory[8 * 65536 + 4096];
  uint8_t* aligned = memory + (4096 - (uintptr_t)memory % 4096) % 4096;
  ostra_async_reader* reader = NULL;
  AsyncRun run;
  uint32_t sector = 0;
  uint64_t size = 0, offset;
  int slot = 0;
  run.checksum = 0;
  run.failure = OSTRA_SUCCESS;
  *outFailure = OSTRA_SUCCESS;
  Note(outFailure, ostra_file_size_on_disk_of_path(path, &size));
  Note(outFailure, ostra_async_reader_new(&reader));
  Note(outFailure, ostra_async_reader_open(reader, path));
  Note(outFailure, ostra_async_reader_get_sector_size(reader, &sector));
  if (chunk > 65536 || sector == 0 || chunk % sector) Note(outFailure, OSTRA_E_INVALID_ARGUMENT);
  /* Eight buffers in turn; every eighth read waits for the earlier ones. */
  for (offset = 0; OSTRA_SUCCEEDED(*outFailure) && offset < size; offset += chunk) {
    Note(outFailure, ostra_async_reader_queue_read(reader, offset, chunk,
                                                   aligned + (size_t)slot * 65536, OnRead, &run));
    if (++slot == 8) {
      slot = 0;
      Note(outFailure, ostra_async_reader_wait_for_pending_reads(reader));
    }
  }
  Note(outFailure, ostra_async_reader_close(reader));
  Note(outFailure, ostra_async_reader_destroy(reader));
  Note(outFailure, run.failure);
  return run.checksum;
}

/* ---------------------------------------------------------- directories */

static int32_t StopAtOnce(void* context) {
  ++*(int*)context;
  return 1;
}

/* Joins a folder (with or without its trailing separator) and a name into
   out (room for 512 code units). */
static const uint16_t* Join(const uint16_t* folder, const uint16_t* name, uint16_t* out) {
  size_t n = 0, m = 0;
  while (folder[n] && n < 400) out[n] = folder[n], ++n;
  if (n == 0 || out[n - 1] != '\\') out[n++] = '\\';
  while (name[m] && n < 510) out[n++] = name[m++];
  out[n] = 0;
  return out;
}

static ostra_result Directories(const uint16_t* root, const uint16_t* copyRoot,
                                ostra_string_list* listings[9], CHostText* found) {
  static const uint16_t kSub[] = {'s', 'u', 'b', 0};
  static const uint16_t kEmpty[] = {'e', 'm', 'p', 't', 'y', 0};
  static const uint16_t kDoomed[] = {'d', 'o', 'o', 'm', 'e', 'd', 0};
  static const uint16_t kFiles[][12] = {{'a', '.', 't', 'x', 't', 0},
                                        {'s', 'u', 'b', '\\', 'b', '.', 'T', 'X', 'T', 0},
                                        {'s', 'u', 'b', '\\', 'c', '.', 'l', 'o', 'g', 0}};
  ostra_result failure = OSTRA_SUCCESS;
  ostra_directory* directory = NULL;
  ostra_directory* copy = NULL;
  ostra_file* file = NULL;
  uint16_t path[512], tree[512];
  int32_t answer = -1, cancelCalls = 0;
  size_t length = 0, i;
  uint64_t count = 0;
  Note(&failure, ostra_directory_create_on_disk(Join(root, kSub, path), 1));
  Note(&failure, ostra_directory_create_on_disk(Join(root, kEmpty, path), 0));
  Note(&failure, ostra_file_new(OSTRA_FILE_PLAIN, &file));
  for (i = 0; i < 3; ++i) {
    Note(&failure, ostra_file_create(file, Join(root, kFiles[i], path), OSTRA_ACCESS_WRITE, 0,
                                     OSTRA_CREATE_NEW, OSTRA_ATTRIBUTE_NORMAL, 0));
    Note(&failure, ostra_file_close(file));
  }
  Note(&failure, ostra_file_destroy(file));

  Note(&failure, ostra_directory_new(root, &directory));
  Note(&failure, ostra_directory_as_string(directory, tree, 512, &length));
  Note(&failure, ostra_directory_is_empty(directory, &answer));
  if (answer != 0) Note(&failure, OSTRA_E_UNKNOWN);
  Note(&failure, ostra_directory_is_writeable(directory, &answer));
  if (answer != 1) Note(&failure, OSTRA_E_UNKNOWN);
  Note(&failure, ostra_directory_get_contained_paths(directory, 1, OSTRA_NO_LIMIT, NULL, NULL,
                                                     listings[0]));
  Note(&failure, ostra_directory_get_contained_file_paths(directory, 1, OSTRA_NO_LIMIT, NULL,
                                                          NULL, listings[1]));
  Note(&failure, ostra_directory_get_contained_file_paths_filtered(
                     directory, L".txt", 1, OSTRA_NO_LIMIT, NULL, NULL, listings[2]));
  Note(&failure, ostra_directory_get_contained_paths(directory, 1, 2, NULL, NULL, listings[3]));
  Note(&failure, ostra_directory_get_contained_paths(directory, 1, OSTRA_NO_LIMIT, StopAtOnce,
                                                     &cancelCalls, listings[4]));
  if (cancelCalls != 1) Note(&failure, OSTRA_E_UNKNOWN);
  Note(&failure, ostra_directory_get_contained_file_and_directory_paths(
                     directory, 1, OSTRA_NO_LIMIT, NULL, NULL, listings[5], listings[6]));
  Note(&failure, ostra_directory_destroy(directory));
  for (i = 0; i < 5; ++i) {
    Note(&failure, ostra_string_list_get(listings[0], i, path, 512, &length));
    Note(&failure, ostra_string_list_append(listings[8], path));
  }
  Note(&failure, ostra_path_filter_hidden_files(listings[8]));
  Note(&failure, ostra_string_list_count(listings[8], &count));
  if (count != 5) Note(&failure, OSTRA_E_UNKNOWN);

  /* Tree copy, the shell's refusal of long paths, and deletion. */
  Note(&failure, ostra_directory_copy_contents(root, copyRoot));
  Note(&failure, ostra_directory_new(copyRoot, &copy));
  Note(&failure, ostra_directory_get_contained_paths(copy, 1, OSTRA_NO_LIMIT, NULL, NULL,
                                                     listings[7]));
  Note(&failure, ostra_directory_destroy(copy));
  if (ostra_directory_copy(L"\\\\?\\C:\\x", copyRoot) != OSTRA_E_PATH_NOT_FOUND ||
      ostra_directory_move(copyRoot, L"\\\\?\\C:\\y") != OSTRA_E_PATH_NOT_FOUND)
    Note(&failure, OSTRA_E_UNKNOWN);
  Note(&failure, ostra_directory_delete_not_empty(copyRoot));
  Note(&failure, ostra_path_prepare_for_write(Join(root, kDoomed, path), &answer));
  if (answer != 1) Note(&failure, OSTRA_E_UNKNOWN);
  Note(&failure, ostra_directory_delete(path));

  /* The directory registry, a reference resolved through another name. */
  *found = NewText();
  Note(&failure, ostra_directory_registry_register(root, L"CHostRoot"));
  Note(&failure, ostra_directory_registry_register(L"$(CHostRoot)sub", L"CHostSub"));
  Note(&failure,
       ostra_directory_registry_find(L"CHostSub", found->text, CHOST_CAPACITY, &found->length));
  Note(&failure, ostra_directory_registry_unregister(L"CHostRoot"));
  return failure;
}

/* -------------------------------------------------------------- registry */

static ostra_result Registry(const uint16_t* keyPath, CHostText* text, uint32_t* number,
                             uint64_t* wide, int32_t* flag, uint8_t bytes[4],
                             ostra_string_list* subKeys) {
  static const uint8_t kBytes[4] = {0x12, 0x34, 0x56, 0x78};
  ostra_result failure = OSTRA_SUCCESS;
  ostra_registry_key *key = NULL, *child = NULL, *copy = NULL, *other = NULL;
  ostra_registry_key* keys[8];
  uint16_t name[256];
  size_t count = 0, length = 0, i;
  uint32_t kept = 0;
  int32_t readOnly = 0;
  *text = NewText();
  Note(&failure, ostra_registry_key_new(&key));
  if (ostra_registry_key_create(key, OSTRA_REGISTRY_ROOT_USER, keyPath) != OSTRA_SUCCESS)
    Note(&failure, OSTRA_E_UNKNOWN);
  Note(&failure, ostra_registry_key_set_string_value(key, L"Text", L"C:\\Projects\\Demo.prj"));
  Note(&failure, ostra_registry_key_set_uint32_value(key, L"Number", 1280));
  Note(&failure, ostra_registry_key_set_uint64_value(key, L"Wide", UINT64_C(0x123456789AB)));
  Note(&failure, ostra_registry_key_set_boolean_value(key, L"Flag", 1));
  Note(&failure, ostra_registry_key_set_binary_value(key, L"Bytes", kBytes, 4));
  Note(&failure, ostra_registry_key_get_string_value(key, L"Text", text->text, CHOST_CAPACITY,
                                                     &text->length));
  Note(&failure, ostra_registry_key_get_uint32_value(key, L"Number", number));
  Note(&failure, ostra_registry_key_get_uint64_value(key, L"Wide", wide));
  Note(&failure, ostra_registry_key_get_boolean_value(key, L"Flag", flag));
  Note(&failure, ostra_registry_key_get_binary_value(key, L"Bytes", bytes, 4, &count));
  Note(&failure, ostra_registry_key_sync_app_prefs(key));

  /* A read-only value takes no writes, yet reports success. */
  Note(&failure, ostra_registry_key_set_read_only(key, L"Number"));
  Note(&failure, ostra_registry_key_is_read_only(key, L"Number", &readOnly));
  Note(&failure, ostra_registry_key_set_uint32_value(key, L"Number", 640));
  Note(&failure, ostra_registry_key_get_uint32_value(key, L"Number", &kept));
  if (!readOnly || kept != 1280) Note(&failure, OSTRA_E_UNKNOWN);
  Note(&failure, ostra_registry_key_delete_value(key, L"Flag"));

  /* Children: made under the key, found again by enumeration. */
  Note(&failure, ostra_registry_key_new(&child));
  Note(&failure, ostra_registry_key_create_under(child, key, L"First"));
  Note(&failure, ostra_registry_key_create_under(child, key, L"Second"));
  Note(&failure, ostra_registry_key_open_under(child, key, L"First"));
  Note(&failure, ostra_registry_key_get_parent_key_path(child, name, 256, &length));
  Note(&failure, ostra_registry_key_get_parent_key_path_last_part(child, name, 256, &length));
  if (ostra_registry_key_enumerate_sub_keys(key, NULL, 0, &count) != OSTRA_E_BUFFER_TOO_SMALL ||
      count > 8)
    Note(&failure, OSTRA_E_UNKNOWN);
  Note(&failure, ostra_registry_key_enumerate_sub_keys(key, keys, 8, &count));
  for (i = 0; i < count; ++i) {
    Note(&failure, ostra_registry_key_get_parent_key_path(keys[i], name, 256, &length));
    Note(&failure, ostra_string_list_append(subKeys, name));
    Note(&failure, ostra_registry_key_destroy(keys[i]));
  }
  Note(&failure, ostra_registry_key_copy(key, &copy));
  Note(&failure, ostra_registry_key_new(&other));
  Note(&failure, ostra_registry_key_open(other, OSTRA_REGISTRY_ROOT_USER, keyPath,
                                         OSTRA_REGISTRY_ACCESS_READ));
  Note(&failure, ostra_registry_key_swap(copy, other));
  Note(&failure, ostra_registry_key_delete_sub_key(copy, L"First"));
  Note(&failure, ostra_registry_key_destroy(other));
  Note(&failure, ostra_registry_key_destroy(copy));
  Note(&failure, ostra_registry_key_destroy(child));
  Note(&failure, ostra_registry_key_destroy(key));
  return failure;
}

/* --------------------------------------------------------------- modules */

static ostra_result Greetings(const uint16_t* path, int32_t id, const uint16_t* languages,
                              int count, CHostText* out, CHostText* firstPage,
                              CHostText* modulePath, int32_t* procAnswer) {
  ostra_result failure = OSTRA_SUCCESS;
  ostra_module *module = NULL, *program = NULL;
  const void* data = NULL;
  int32_t size = 0;
  uint16_t saved = 0;
  int i;
  void* native = NULL;
  ostra_proc proc = NULL;
  *firstPage = NewText();
  *modulePath = NewText();
  Note(&failure, ostra_language_get_id(&saved));
  Note(&failure, ostra_module_load(path, &module));
  for (i = 0; i < count && OSTRA_SUCCEEDED(failure); ++i) {
    out[i] = NewText();
    Note(&failure, ostra_language_set_id(languages[i]));
    Note(&failure, ostra_module_find_localized_resource(module, OSTRA_RESOURCE_ID(id),
                                                        L"GREETING", &data, &size));
    if (data) memcpy(out[i].text, data, (size_t)size < sizeof out[i].text ? (size_t)size : 0);
    out[i].length = data ? (size_t)size / 2 : 0;
  }
  Note(&failure, ostra_language_set_string(L"en_US"));
  Note(&failure, ostra_language_set_id(saved));
  Note(&failure, ostra_module_find_non_localized_resource(module, OSTRA_RESOURCE_ID(id),
                                                          L"GREETING", &data, &size));
  Note(&failure, ostra_module_load_resource(module, OSTRA_RESOURCE_ID(id), L"GREETING", &data,
                                            &size));
  Note(&failure, ostra_module_load_resource_by_id(module, (int16_t)id, L"GREETING", &data, &size));
  Note(&failure, ostra_module_unload_resource(module, data));
  Note(&failure, ostra_module_load_first_resource_of_type(module, L"PAGES", &data, &size));
  if (data && (size_t)size < sizeof firstPage->text) {
    memcpy(firstPage->text, data, (size_t)size);
    firstPage->length = (size_t)size / 2;
  }
  Note(&failure, ostra_module_get_proc_address(module, L"SampleAnswer", &proc));
  *procAnswer = proc ? ((int (*)(void))proc)() : -1;
  Note(&failure,
       ostra_module_get_path(module, modulePath->text, CHOST_CAPACITY, &modulePath->length));
  Note(&failure, ostra_module_get_native_handle(module, &native));
  Note(&failure, ostra_module_create(native, &program));
  Note(&failure, ostra_module_set_unload_on_destroy(program, 0));
  Note(&failure, ostra_module_destroy(program));
  Note(&failure, ostra_module_destroy(module));
  return failure;
}

/* ------------------------------------------- idle timer and automation */

typedef struct Heard {
  uint32_t* cookies;
  int32_t count;
} Heard;

static void OnMessage(void* context, int32_t kind, uint32_t cookie) {
  Heard* heard = (Heard*)context;
  if (kind == OSTRA_MESSAGE_IDLE_COUNTDOWN && heard->count < 4) heard->cookies[heard->count++] = cookie;
}

static ostra_result IdleTimer(uint32_t cookie, uint32_t* heardCookies, int32_t* heardCount) {
  ostra_result failure = OSTRA_SUCCESS;
  ostra_idle_timer* timer = NULL;
  ostra_listener* listener = NULL;
  uint16_t station[128];
  size_t length = 0;
  uint64_t count = 0;
  Heard heard;
  heard.cookies = heardCookies;
  heard.count = 0;
  Note(&failure, ostra_idle_timer_new(&timer));
  Note(&failure, ostra_idle_timer_get_station_id(timer, station, 128, &length));
  Note(&failure, ostra_listener_new(station, OnMessage, &heard, &listener));
  Note(&failure, ostra_idle_timer_set_duration(timer, 0));
  Note(&failure, ostra_idle_timer_set_cookie(timer, cookie));
  Note(&failure, ostra_idle_timer_arm(timer));
  Note(&failure, ostra_broadcast_application_idle(&count));
  Note(&failure, ostra_broadcast_application_idle(&count)); /* one-shot: heard once */
  Note(&failure, ostra_post_idle_countdown_message(station, cookie + 1));
  Note(&failure, ostra_run_main_thread_calls(&count));
  Note(&failure, ostra_listener_destroy(listener));
  Note(&failure, ostra_idle_timer_destroy(timer));
  *heardCount = heard.count;
  return failure;
}

static ostra_result Automation(const uint16_t* key, ostra_string_list* keys,
                               ostra_string_list* results, CHostText pair[2]) {
  ostra_result failure = OSTRA_SUCCESS;
  ostra_string_list *more = NULL, *none = NULL;
  pair[0] = NewText();
  pair[1] = NewText();
  Note(&failure, ostra_automation_clear());
  Note(&failure, ostra_automation_specify_performance_test(pair[0].text, CHOST_CAPACITY,
                                                           &pair[0].length, pair[1].text,
                                                           CHOST_CAPACITY, &pair[1].length));
  Note(&failure, ostra_automation_add_result(key, pair[0].text, pair[1].text));
  Note(&failure, ostra_string_list_new(&more));
  Note(&failure, ostra_string_list_append(more, L"frames"));
  Note(&failure, ostra_string_list_append(more, L"1800"));
  Note(&failure, ostra_automation_add_results(key, more));
  Note(&failure, ostra_string_list_new(&none));
  Note(&failure, ostra_automation_add_results(L"CHostEmpty", none));
  Note(&failure, ostra_string_list_destroy(none));
  Note(&failure, ostra_string_list_destroy(more));
  Note(&failure, ostra_automation_get_keys(keys));
  Note(&failure, ostra_automation_get_results(key, results));
  return failure;
}

/* ------------------------------------------------------- failure paths */

/* Whether the last error text begins with the function's name. */
static int32_t TextNames(const char* function) {
  uint16_t text[1024];
  size_t length = 0, i;
  if (OSTRA_FAILED(ostra_last_error_text(text, 1024, &length))) return 0;
  for (i = 0; function[i]; ++i)
    if (i >= length || text[i] != (uint16_t)function[i]) return 0;
  return text[i] == ':';
}

static int Failures(ostra_result* results, int32_t* textSet, int capacity) {
  int n = 0;
  ostra_file *file = NULL, *gone = NULL;
  ostra_directory* directory = NULL;
  ostra_module* program = NULL;
  ostra_proc proc = NULL;
  ostra_string_list* list = NULL;
  ostra_block_cache_statistics statistics;
  ostra_file_buffer_callbacks callbacks;
  uint16_t buffer[8] = {0x7777, 0x7777, 0x7777, 0x7777, 0x7777, 0x7777, 0x7777, 0x7777};
  uint16_t temp[512], folder[600], before[1024], after[1024];
  size_t length = 0, beforeLength = 0, afterLength = 0;
  uint32_t read = 0;
  int stack = 0;
#define CHOST_ROW(call, name)                      \
  do {                                             \
    if (n < capacity) {                            \
      results[n] = (call);                         \
      textSet[n] = TextNames(name);                \
    }                                              \
    ++n;                                           \
  } while (0)
  ostra_file_new(OSTRA_FILE_PLAIN, &file);
  ostra_file_new(OSTRA_FILE_PLAIN, &gone);
  ostra_file_destroy(gone);
  ostra_string_list_new(&list);
  ostra_path_get_temp_directory(temp, 512, &length);

  /* Bad handles: destroyed, of another kind, never made, null. */
  CHOST_ROW(ostra_file_read(gone, buffer, 8, &read), "ostra_file_read");
  CHOST_ROW(ostra_file_read((ostra_file*)list, buffer, 8, &read), "ostra_file_read");
  CHOST_ROW(ostra_file_read((ostra_file*)&stack, buffer, 8, &read), "ostra_file_read");
  CHOST_ROW(ostra_file_close(NULL), "ostra_file_close");
  /* Null pointers and undefined values. */
  CHOST_ROW(ostra_path_to_normalized(NULL, buffer, 8, &length), "ostra_path_to_normalized");
  CHOST_ROW(ostra_file_read(file, buffer, 8, NULL), "ostra_file_read");
  CHOST_ROW(ostra_file_new(7, &gone), "ostra_file_new");
  CHOST_ROW(ostra_file_create(file, temp, 0x100, 0, OSTRA_OPEN_EXISTING, OSTRA_ATTRIBUTE_NORMAL,
                              0),
            "ostra_file_create");
  CHOST_ROW(ostra_time_to_timecode(0, OSTRA_FRAME_RATE_FILM24, 200, 0, buffer, 8, &length),
            "ostra_time_to_timecode");
  CHOST_ROW(ostra_string_list_get(list, 0, buffer, 8, &length), "ostra_string_list_get");
  CHOST_ROW(ostra_file_read_at(file, buffer, 0, 8, &read), "ostra_file_read_at");
  statistics.struct_size = 4;
  CHOST_ROW(ostra_block_cache_get_statistics(NULL, &statistics),
            "ostra_block_cache_get_statistics");
  memset(&callbacks, 0, sizeof callbacks);
  callbacks.struct_size = sizeof callbacks;
  CHOST_ROW(ostra_file_buffer_factory_install(&callbacks), "ostra_file_buffer_factory_install");
  /* A buffer too small: the length is reported, the buffer untouched. */
  length = 0;
  CHOST_ROW(ostra_path_to_normalized(L"C:\\long", buffer, 8, &length),
            "ostra_path_to_normalized");
  if (n <= capacity) textSet[n - 1] = textSet[n - 1] && length == 11 && buffer[0] == 0x7777;
  /* Reading the last error with too small a buffer leaves it as it was. */
  ostra_last_error_text(before, 1024, &beforeLength);
  CHOST_ROW(ostra_last_error_text(buffer, 2, &length), "ostra_path_to_normalized");
  ostra_last_error_text(after, 1024, &afterLength);
  if (n <= capacity)
    textSet[n - 1] = beforeLength == afterLength && length == afterLength &&
                     memcmp(before, after, afterLength * sizeof(uint16_t)) == 0;
  /* Exceptions inside the library. */
  CHOST_ROW(ostra_directory_registry_register(L"", L"CHostName"),
            "ostra_directory_registry_register");
  CHOST_ROW(ostra_directory_registry_find(L"", buffer, 8, &length),
            "ostra_directory_registry_find");
  ostra_module_create(NULL, &program);
  CHOST_ROW(ostra_module_get_proc_address(program, L"", &proc), "ostra_module_get_proc_address");
  ostra_module_destroy(program);
  CHOST_ROW(ostra_directory_new(L"C:\\no such folder of the C host", &directory),
            "ostra_directory_new");
  Join(temp, L"CHostGone", folder);
  ostra_directory_create_on_disk(folder, 1);
  ostra_directory_new(folder, &directory);
  ostra_directory_delete(folder);
  CHOST_ROW(ostra_directory_is_empty(directory, &stack), "ostra_directory_is_empty");
  ostra_directory_destroy(directory);
  Join(temp, L"CHostOpen.bin", folder);
  ostra_file_create(file, folder, OSTRA_ACCESS_WRITE, 0, OSTRA_CREATE_ALWAYS,
                    OSTRA_ATTRIBUTE_NORMAL, 0);
  CHOST_ROW(ostra_file_create(file, folder, OSTRA_ACCESS_WRITE, 0, OSTRA_CREATE_ALWAYS,
                              OSTRA_ATTRIBUTE_NORMAL, 0),
            "ostra_file_create");
  ostra_file_close(file);
  ostra_file_delete(folder);
  /* A failure the library reports itself: a file that is not open. */
  CHOST_ROW(ostra_file_read(file, buffer, 8, &read), "ostra_file_read");
  CHOST_ROW(ostra_file_open(file, L"C:\\no such file of the C host", OSTRA_ACCESS_READ, 0),
            "ostra_file_open");
  ostra_file_destroy(file);
  ostra_string_list_destroy(list);
  return n;
#undef CHOST_ROW
}

const CHost CHOST_TABLE = {CHOST_STANDARD, Start, Stop, Text, Query, SplitAndMake, ExceptionReport,
                           Colors,         Times,       Stamp,     Files,        AsyncRead,
                           Directories,    Registry,    Greetings, IdleTimer,    Automation,
                           Failures};
