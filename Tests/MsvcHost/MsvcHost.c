/* A host built for the MSVC ABI (clang --target=x86_64-pc-windows-msvc,
   linked by lld-link against lib/msvc/OstraFoundationC.lib) without any C
   runtime: its own entry point, and only the C interface and kernel32.
   It runs the demo host's scenarios (files through the block cache, the
   asynchronous reader, a directory tree, the directory registry, registry
   keys, a module's localised strings, timecode), checks their results and
   exits with the number of failed checks. */
#include <stddef.h>
#include <stdint.h>

#include "SampleResourceIds.h"
#include "ostra/ostra.h"

/* ------------------------------------------- what a C runtime would give */

__declspec(dllimport) void* __stdcall GetStdHandle(uint32_t which);
__declspec(dllimport) int __stdcall WriteFile(void* file, const void* data, uint32_t size,
                                              uint32_t* written, void* overlapped);
__declspec(dllimport) __declspec(noreturn) void __stdcall ExitProcess(uint32_t code);
__declspec(dllimport) void __stdcall Sleep(uint32_t milliseconds);

/* The compiler may emit calls to these for copies and clears of structures. */
void* memset(void* destination, int value, size_t size);
void* memcpy(void* destination, const void* source, size_t size);
void* memset(void* destination, int value, size_t size) {
  volatile uint8_t* d = (volatile uint8_t*)destination;
  while (size--) *d++ = (uint8_t)value;
  return destination;
}
void* memcpy(void* destination, const void* source, size_t size) {
  volatile uint8_t* d = (volatile uint8_t*)destination;
  const uint8_t* s = (const uint8_t*)source;
  while (size--) *d++ = *s++;
  return destination;
}
/* Marks a program that uses floating point, as the MSVC runtime would. */
int _fltused = 0;

static void Print(const char* text) {
  uint32_t size = 0, written = 0;
  while (text[size]) ++size;
  WriteFile(GetStdHandle((uint32_t)-11), text, size, &written, NULL);
}

static void PrintNumber(uint64_t value) {
  char digits[24];
  int at = 23;
  digits[at] = 0;
  do {
    digits[--at] = (char)('0' + value % 10);
    value /= 10;
  } while (value);
  Print(digits + at);
}

/* UTF-16 as ASCII, '?' for the rest. */
static void PrintText(const uint16_t* text, size_t length) {
  char line[256];
  size_t i;
  for (i = 0; i < length && i < 255; ++i) line[i] = text[i] < 128 ? (char)text[i] : '?';
  line[i] = 0;
  Print(line);
}

static int sFailures;

static void Check(int condition, const char* what) {
  Print(condition ? "  ok      " : "  FAILED  ");
  Print(what);
  Print("\r\n");
  if (!condition) ++sFailures;
}

/* A call that must succeed; on failure the last error text is shown. */
static int Ok(ostra_result result, const char* what) {
  if (OSTRA_SUCCEEDED(result)) return 1;
  {
    uint16_t text[512];
    size_t length = 0;
    Print("  FAILED  ");
    Print(what);
    Print(": ");
    if (OSTRA_SUCCEEDED(ostra_last_error_text(text, 512, &length))) PrintText(text, length);
    Print("\r\n");
    ++sFailures;
  }
  return 0;
}

static int Same(const uint16_t* a, size_t length, const char* b) {
  size_t i;
  for (i = 0; i < length; ++i)
    if (!b[i] || a[i] != (uint16_t)b[i]) return 0;
  return b[length] == 0;
}

/* Appends an ASCII name to a UTF-16 folder path (with or without its
   trailing separator). */
static const uint16_t* Join(const uint16_t* folder, const char* name, uint16_t* out) {
  size_t n = 0, m = 0;
  while (folder[n] && n < 400) out[n] = folder[n], ++n;
  if (n && out[n - 1] != '\\') out[n++] = '\\';
  while (name[m] && n < 510) out[n++] = (uint16_t)name[m++];
  out[n] = 0;
  return out;
}

static uint8_t Pattern(uint64_t offset) { return (uint8_t)(offset * 7 + offset / 251); }

/* A checksum that does not depend on the order of the pieces. */
static uint64_t Checksum(const uint8_t* data, uint32_t size, uint64_t offset) {
  uint64_t hash = 1469598103934665603u ^ offset;
  uint32_t i;
  for (i = 0; i < size; ++i) hash = (hash ^ data[i]) * 1099511628211u;
  return hash;
}

#define CHUNK 65536u
#define FILE_SIZE (48u * CHUNK)
__declspec(align(4096)) static uint8_t sChunk[8 * CHUNK];
static uint16_t sTemp[512], sFile[512];
static uint64_t sPatternSum;

/* ------------------------------------------------------------- scenarios */

static void Files(void) {
  ostra_file* file = NULL;
  ostra_block_cache* cache = NULL;
  ostra_block_cache_statistics statistics;
  uint64_t offset, sums[2] = {0, 0}, size = 0;
  uint32_t i, written = 0, read = 0;
  int pass;
  size_t length = 0;
  Print("Files through the block cache\r\n");
  Ok(ostra_file_make_unique_temp_path(Join(sTemp, "MsvcHost.bin", sFile), 1, sFile, 512,
                                      &length),
     "a temporary name");
  Ok(ostra_file_new(OSTRA_FILE_PLAIN, &file), "a file");
  Ok(ostra_file_create(file, sFile, OSTRA_ACCESS_WRITE, OSTRA_SHARE_READ, OSTRA_CREATE_ALWAYS,
                       OSTRA_ATTRIBUTE_NORMAL, 0),
     "creating the sample file");
  for (offset = 0; offset < FILE_SIZE; offset += CHUNK) {
    for (i = 0; i < CHUNK; ++i) sChunk[i] = Pattern(offset + i);
    sPatternSum += Checksum(sChunk, CHUNK, offset);
    Ok(ostra_file_write(file, sChunk, CHUNK, &written), "writing");
  }
  Ok(ostra_file_close(file), "closing");
  /* Files share the blocks of a file only once its last change is 2 s old:
     a younger one could share its time stamps with a later version. */
  Sleep(2100);

  Ok(ostra_block_cache_new(32u << 20, &cache), "a block cache");
  Ok(ostra_block_cache_install(cache), "installing it");
  for (pass = 0; pass < 2; ++pass) {
    Ok(ostra_file_create(file, sFile, OSTRA_ACCESS_READ, OSTRA_SHARE_READ, OSTRA_OPEN_EXISTING,
                         OSTRA_ATTRIBUTE_NORMAL, 0),
       "opening for cached reads");
    for (offset = 0;; offset += read) {
      if (!Ok(ostra_file_read(file, sChunk, CHUNK, &read), "reading") || read == 0) break;
      sums[pass] += Checksum(sChunk, read, offset);
    }
    Ok(ostra_file_size_on_disk(file, &size), "the size");
    Ok(ostra_file_close(file), "closing");
  }
  statistics.struct_size = sizeof statistics;
  Ok(ostra_block_cache_get_statistics(cache, &statistics), "the cache's statistics");
  Ok(ostra_file_buffer_factory_uninstall(), "uninstalling the cache");
  Ok(ostra_block_cache_destroy(cache), "releasing the cache");
  Ok(ostra_file_destroy(file), "releasing the file");
  Check(size == FILE_SIZE, "the file has the size written");
  Check(sums[0] == sPatternSum && sums[1] == sPatternSum, "both passes read the bytes written");
  Check(statistics.misses > 0 && statistics.hits >= statistics.misses,
        "the second pass is served by the cache");
  Print("  cache hits ");
  PrintNumber(statistics.hits);
  Print(", misses ");
  PrintNumber(statistics.misses);
  Print("\r\n");
}

static uint64_t sAsyncSum;
static ostra_result sAsyncFailure;

static void OnRead(ostra_async_reader* reader, uint64_t offset, uint32_t requested,
                   uint32_t read, void* buffer, void* context, ostra_result result) {
  (void)reader;
  (void)context;
  if (OSTRA_FAILED(result) || read != requested) sAsyncFailure = OSTRA_E_UNKNOWN;
  sAsyncSum += Checksum((const uint8_t*)buffer, read, offset);
}

static void AsyncReader(void) {
  ostra_async_reader* reader = NULL;
  uint32_t sector = 0, slot = 0;
  uint64_t offset;
  Print("Asynchronous reader\r\n");
  Ok(ostra_async_reader_new(&reader), "a reader");
  Ok(ostra_async_reader_open(reader, sFile), "opening the sample file");
  Ok(ostra_async_reader_get_sector_size(reader, &sector), "its sector size");
  for (offset = 0; offset < FILE_SIZE; offset += CHUNK) {
    Ok(ostra_async_reader_queue_read(reader, offset, CHUNK, sChunk + slot * CHUNK, OnRead, NULL),
       "queueing a read");
    if (++slot == 8) {
      slot = 0;
      Ok(ostra_async_reader_wait_for_pending_reads(reader), "waiting for the reads");
    }
  }
  Ok(ostra_async_reader_close(reader), "closing");
  Ok(ostra_async_reader_destroy(reader), "releasing the reader");
  Check(sector > 0 && CHUNK % sector == 0, "reads are aligned to the sector size");
  Check(OSTRA_SUCCEEDED(sAsyncFailure) && sAsyncSum == sPatternSum,
        "the reads deliver the bytes written");
  Ok(ostra_file_delete(sFile), "deleting the sample file");
}

static void Directories(void) {
  static const char* const kFiles[] = {"Takes\\Take1\\clip1.wav", "Takes\\Take1\\take.log",
                                       "Takes\\Take2\\clip1.wav", "Takes\\Take2\\clip2.wav"};
  uint16_t root[512], path[512], found[512];
  ostra_directory* directory = NULL;
  ostra_string_list* list = NULL;
  ostra_file* file = NULL;
  uint64_t all = 0, waves = 0;
  size_t length = 0, i;
  Print("A directory tree and the directory registry\r\n");
  Ok(ostra_file_make_unique_temp_path(Join(sTemp, "MsvcHostTree", root), 0, root, 512, &length),
     "a temporary name");
  Ok(ostra_directory_create_on_disk(Join(root, "Takes\\Take1", path), 1), "creating folders");
  Ok(ostra_directory_create_on_disk(Join(root, "Takes\\Take2", path), 1), "creating folders");
  Ok(ostra_file_new(OSTRA_FILE_PLAIN, &file), "a file");
  for (i = 0; i < 4; ++i) {
    Ok(ostra_file_create(file, Join(root, kFiles[i], path), OSTRA_ACCESS_WRITE, 0,
                         OSTRA_CREATE_NEW, OSTRA_ATTRIBUTE_NORMAL, 0),
       "creating a file");
    Ok(ostra_file_close(file), "closing it");
  }
  Ok(ostra_file_destroy(file), "releasing the file");
  Ok(ostra_string_list_new(&list), "a list");
  Ok(ostra_directory_new(root, &directory), "the tree's directory");
  Ok(ostra_directory_get_contained_paths(directory, 1, OSTRA_NO_LIMIT, NULL, NULL, list),
     "listing the tree");
  Ok(ostra_string_list_count(list, &all), "counting");
  Ok(ostra_directory_get_contained_file_paths_filtered(directory, L".WAV", 1, OSTRA_NO_LIMIT,
                                                       NULL, NULL, list),
     "listing the sound files");
  Ok(ostra_string_list_count(list, &waves), "counting");
  Check(all == 7, "the tree holds 4 files in 3 folders");
  Check(waves == 3, "3 of them end in .wav");

  Ok(ostra_directory_registry_register(root, L"MsvcRoot"), "registering the tree");
  Ok(ostra_directory_registry_register(L"$(MsvcRoot)Takes\\Take2", L"MsvcTake"),
     "registering a take through it");
  Ok(ostra_directory_registry_find(L"MsvcTake", found, 512, &length), "finding the take");
  Join(root, "Takes\\Take2\\", path);
  for (i = 0; path[i] && i < length && found[i] == path[i]; ++i) continue;
  Check(i == length && path[i] == 0, "$(MsvcRoot)Takes\\Take2 resolves through the root");
  Ok(ostra_directory_registry_unregister(L"MsvcTake"), "unregistering");
  Ok(ostra_directory_registry_unregister(L"MsvcRoot"), "unregistering");
  Ok(ostra_directory_destroy(directory), "releasing the directory");
  Ok(ostra_string_list_destroy(list), "releasing the list");
  Ok(ostra_directory_delete_not_empty(root), "deleting the tree");
}

static void Registry(void) {
  uint16_t settings[512], text[512];
  ostra_registry_key *key = NULL, *company = NULL;
  uint32_t width = 0;
  int32_t splash = 0;
  size_t length = 0;
  uint8_t bytes[4] = {0, 0, 0, 0};
  static const uint8_t kColours[3] = {0x12, 0x34, 0x56};
  Print("Registry keys\r\n");
  Ok(ostra_registry_settings_key(settings, 512, &length), "the settings key");
  Ok(ostra_registry_key_new(&key), "a key");
  Ok(ostra_registry_key_create(key, OSTRA_REGISTRY_ROOT_USER, settings), "creating it");
  Ok(ostra_registry_key_set_uint32_value(key, L"WindowWidth", 1280), "a number");
  Ok(ostra_registry_key_set_boolean_value(key, L"ShowSplash", 1), "a truth value");
  Ok(ostra_registry_key_set_string_value(key, L"LastProject", L"C:\\Projects\\Demo.prj"),
     "a text");
  Ok(ostra_registry_key_set_binary_value(key, L"RecentColours", kColours, 3), "bytes");
  Ok(ostra_registry_key_get_uint32_value(key, L"WindowWidth", &width), "reading the number");
  Ok(ostra_registry_key_get_boolean_value(key, L"ShowSplash", &splash), "reading the truth");
  Ok(ostra_registry_key_get_string_value(key, L"LastProject", text, 512, &length),
     "reading the text");
  Check(width == 1280 && splash == 1 && Same(text, length, "C:\\Projects\\Demo.prj"),
        "values read back as written");
  Check(ostra_registry_key_get_binary_value(key, L"RecentColours", bytes, 2, &length) ==
                OSTRA_E_BUFFER_TOO_SMALL &&
            length == 3,
        "too small a buffer reports the size needed");
  Ok(ostra_registry_key_get_binary_value(key, L"RecentColours", bytes, 4, &length),
     "reading the bytes");
  Check(length == 3 && bytes[0] == 0x12 && bytes[2] == 0x56, "the bytes read back");
  Check(ostra_registry_key_get_uint32_value(key, L"LastProject", &width) ==
            OSTRA_E_OPERATION_FAILED,
        "a text does not read as a number");
  Ok(ostra_registry_key_destroy(key), "releasing the key");
  /* Leave the host's keys behind no longer than the run. */
  Ok(ostra_registry_key_new(&company), "a key");
  Ok(ostra_registry_key_open(company, OSTRA_REGISTRY_ROOT_USER, L"Software\\Corvane",
                             OSTRA_REGISTRY_ACCESS_ALL),
     "opening the company key");
  Ok(ostra_registry_key_delete_sub_key(company, L"MsvcHost"), "removing the host's keys");
  Ok(ostra_registry_key_destroy(company), "releasing the key");
}

static void Modules(void) {
  static const struct {
    uint16_t language;
    const char* greeting;
  } kGreetings[] = {{1033, "Hello"}, {1041, "Konnichiwa"}, {1031, "Greetings"}};
  uint16_t path[512];
  ostra_module *program = NULL, *module = NULL;
  const void* text = NULL;
  int32_t size = 0;
  uint16_t saved = 0;
  size_t length = 0, i;
  ostra_proc answer = NULL;
  Print("A module's localised strings\r\n");
  /* The sample resource DLL sits beside this program. */
  Ok(ostra_module_create(NULL, &program), "the program as a module");
  Ok(ostra_module_get_path(program, path, 512, &length), "its path");
  Ok(ostra_module_destroy(program), "releasing it");
  while (length && path[length - 1] != '\\') --length;
  path[length] = 0;
  Ok(ostra_module_load(Join(path, "OstraSampleResources.dll", path), &module),
     "loading the sample resources");
  Ok(ostra_language_get_id(&saved), "the language");
  for (i = 0; i < 3; ++i) {
    Ok(ostra_language_set_id(kGreetings[i].language), "setting the language");
    Ok(ostra_module_find_localized_resource(module, OSTRA_RESOURCE_ID(SAMPLE_GREETING_ALL),
                                            L"GREETING", &text, &size),
       "the greeting");
    Check(text && Same((const uint16_t*)text, (size_t)size / 2 - 1, kGreetings[i].greeting),
          kGreetings[i].greeting);
  }
  Ok(ostra_language_set_id(saved), "the language back");
  Ok(ostra_module_get_proc_address(module, L"SampleAnswer", &answer), "the export");
  Check(answer && ((int (*)(void))answer)() == 42, "SampleAnswer() answers 42");
  Ok(ostra_module_destroy(module), "releasing the module");
}

static void Timecode(void) {
  ostra_timecode* timecode = NULL;
  uint16_t text[64];
  size_t length = 0;
  int64_t frames = 0, time = 0;
  int32_t h = 0, m = 0, s = 0;
  Print("Timecode\r\n");
  Ok(ostra_frames_to_time(1800, OSTRA_FRAME_RATE_VIDEO_NTSC, &time), "frame 1800");
  Ok(ostra_timecode_new(time, OSTRA_FRAME_RATE_VIDEO_NTSC, OSTRA_TIME_DISPLAY_TIMECODE_NTSC_DROP,
                        NULL, &timecode),
     "a timecode");
  Ok(ostra_timecode_get_string(timecode, text, 64, &length), "its text");
  Check(Same(text, length, "00:01:00;02"), "frame 1800 at 30000/1001 drop-frame is 00:01:00;02");
  Ok(ostra_timecode_set_string(timecode, L"01:00:00;00"), "one hour");
  Ok(ostra_timecode_get_time(timecode, &time), "its time");
  Ok(ostra_time_to_frames(time, OSTRA_FRAME_RATE_VIDEO_NTSC, &frames), "its frame");
  Check(frames == 107892, "one hour is frame 107,892");
  Ok(ostra_timecode_get_hmsf(timecode, &h, &m, &s, &frames), "its fields");
  Check(h == 1 && m == 0 && s == 0 && frames == 0, "its fields are 1, 0, 0, 0");
  Ok(ostra_timecode_destroy(timecode), "releasing the timecode");
}

int HostMain(void);
int HostMain(void) {
  size_t length = 0;
  Print("OstraFoundation from a host of the MSVC ABI, version ");
  Print(ostra_version_string());
  Print("\r\n");
  if (!Ok(ostra_initialize(), "initializing")) ExitProcess(1);
  Ok(ostra_path_get_temp_directory(sTemp, 512, &length), "the temporary folder");
  Files();
  AsyncReader();
  Directories();
  Registry();
  Modules();
  Timecode();
  Ok(ostra_terminate(), "terminating");
  Print(sFailures ? "FAILED\r\n" : "all checks passed\r\n");
  ExitProcess((uint32_t)sFailures);
}
