/** \file
 * The C interface of OstraFoundation: every family of the library for hosts
 * built by any compiler (MSVC, clang, MinGW gcc) and for any language with a
 * C foreign-function interface (C#, Python, Rust). It lives in
 * OstraFoundationC.dll, a thin layer over the C++ interface of
 * OstraFoundation.dll, and gives the same answers for the same inputs.
 *
 * The header is C99; it includes only <stddef.h> and <stdint.h> and never
 * <windows.h>. Every name begins with `ostra_` (macros `OSTRA_`).
 *
 * \section ostra_c_rules The rules of every function
 *
 * - **Results.** Every function but ostra_version_string() returns an
 *   ::ostra_result, a signed 32-bit code: zero or positive is success
 *   (OSTRA_SUCCEEDED()), negative is failure. Test with OSTRA_SUCCEEDED(),
 *   never against ::OSTRA_SUCCESS: some calls fail with -1, which has no
 *   name, and ostra_registry_key_create() succeeds with
 *   ::OSTRA_KEY_ALREADY_EXISTS. Answers come back through pointer arguments
 *   named `out_...`; on failure they are left untouched unless a function
 *   says otherwise.
 * - **Failures of the boundary.** Beside the codes each function lists,
 *   every function returns ::OSTRA_E_INVALID_ARGUMENT for a null pointer the
 *   documentation does not allow (only arguments documented "may be null"
 *   accept null) and for a flag or enumeration value it does not define,
 *   ::OSTRA_E_INVALID_HANDLE for a handle that is null, destroyed or of
 *   another type, ::OSTRA_E_BUFFER_TOO_SMALL under the output rule below,
 *   ::OSTRA_E_OUT_OF_MEMORY when memory runs out, and
 *   ::OSTRA_E_CONTRACT_VIOLATION when the library's own precondition check
 *   refuses the call (it has then reported the broken condition to its
 *   dialog hook, which writes to the debugger output and standard error).
 * - **No exception crosses.** No C++ exception ever leaves a function of
 *   this header: each becomes a code (::OSTRA_E_NOT_A_DIRECTORY,
 *   ::OSTRA_E_DIRECTORY_GONE, ::OSTRA_E_CONTRACT_VIOLATION,
 *   ::OSTRA_E_OUT_OF_MEMORY, else ::OSTRA_E_EXCEPTION). Whenever a function
 *   fails, the calling thread's last error text names the function and
 *   says why, the exception's message included; ostra_last_error_text()
 *   reads it. Successful calls leave it as it is.
 * - **Texts in** are UTF-16, `const uint16_t*`, ended by a NUL. On Windows
 *   a wide literal `L"C:\\x"` is such a text in C; C++ callers cast their
 *   `wchar_t` pointers. A text ends at its first NUL.
 * - **Texts out** go into the caller's buffer: `(uint16_t* out, size_t
 *   capacity, size_t* out_length)`. The capacity counts code units with
 *   room for the terminating NUL. `*out_length` (when out_length is not
 *   null) receives the length of the whole text without its NUL, on
 *   success and on ::OSTRA_E_BUFFER_TOO_SMALL. When the capacity is not
 *   more than that length the function returns ::OSTRA_E_BUFFER_TOO_SMALL
 *   and writes nothing into the buffer, so a call with a null buffer and a
 *   capacity of 0 asks only for the length. A null buffer together with a
 *   null out_length means the text is not wanted. Byte outputs (registry
 *   binary values) follow the same rule without the NUL. A call whose
 *   answer may change between calls (a temporary name, a listing)
 *   answers anew on the second call.
 * - **Lists of texts** (listings, automation results) go into an
 *   ::ostra_string_list the caller made; the call replaces its contents.
 * - **Handles** are opaque pointers made by `ostra_<kind>_new` (or a
 *   function named for how it makes one) and released by
 *   `ostra_<kind>_destroy`, which accepts null. Handles are looked up,
 *   never trusted: a destroyed one is refused as long as no new handle of
 *   its kind has taken its address. A handle must not be destroyed while
 *   another thread uses it.
 * - **Integers** have stated widths; truth values are `int32_t`, 0 for
 *   false and 1 for true (any non-zero value counts as true on input);
 *   flags and enumerations are plain integers with the `OSTRA_` macros
 *   below. Structures begin with `struct_size`, which the caller sets to
 *   `sizeof` the structure it was compiled with.
 * - **Callbacks** carry the caller's `void* context` back unchanged. They
 *   are called on the thread each function names and must not unwind
 *   (longjmp, or a C++ exception) through the library.
 * - **Threads.** Each family states its rule, as the C++ interface does:
 *   a handle belongs to one thread at a time unless its family says
 *   otherwise; functions without a handle are thread-safe unless said.
 *
 * \section ostra_c_start Start and stop
 * Call ostra_initialize() on the application's main thread before any
 * other function (ostra_version_string(), ostra_result_text() and
 * ostra_last_error_text() excepted) and ostra_terminate() once for each
 * ostra_initialize(). Destroy every asynchronous reader before the last
 * ostra_terminate().
 */
#ifndef OSTRA_OSTRA_H
#define OSTRA_OSTRA_H

#include <stddef.h>
#include <stdint.h>

/** Marks the functions OstraFoundationC.dll exports. */
#if defined(_WIN32)
#  if defined(OSTRA_C_EXPORTS)
#    define OSTRA_C_API __declspec(dllexport)
#  else
#    define OSTRA_C_API __declspec(dllimport)
#  endif
#else
#  define OSTRA_C_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* ==================================================================== */
/** \defgroup ostra_c_results Results, the library and its error texts
 * Result codes and their texts, the version, start and stop, the last
 * error text of the calling thread, and readable texts of system errors.
 *
 * Threading: all thread-safe; ostra_initialize() and ostra_terminate()
 * take the library's lock.
 * @{ */

/** A signed 32-bit code: zero or positive succeeds, negative fails. */
typedef int32_t ostra_result;

/** Whether a result is success (zero or an informational code). */
#define OSTRA_SUCCEEDED(result) ((result) >= 0)
/** Whether a result is a failure. */
#define OSTRA_FAILED(result) ((result) < 0)

/** Success. Test with OSTRA_SUCCEEDED(), not against this. */
#define OSTRA_SUCCESS ((ostra_result)0)
/** Success: the registry key already existed and was opened. */
#define OSTRA_KEY_ALREADY_EXISTS ((ostra_result)0x200F0001)
/** Any failure without a more specific code; also a bad state. */
#define OSTRA_E_UNKNOWN ((ostra_result)0xA00F0001u)
/** No space left on the volume. */
#define OSTRA_E_DISK_FULL ((ostra_result)0xA00F0002u)
/** The file was not found; also an operation on a file that is not open. */
#define OSTRA_E_FILE_NOT_FOUND ((ostra_result)0xA00F0003u)
/** The path or a folder on it does not exist, or it is not absolute. */
#define OSTRA_E_PATH_NOT_FOUND ((ostra_result)0xA00F0004u)
/** The system refused the access. */
#define OSTRA_E_ACCESS_DENIED ((ostra_result)0xA00F0005u)
/** Memory ran out. */
#define OSTRA_E_OUT_OF_MEMORY ((ostra_result)0xA00F0006u)
/** A callback asked to stop. */
#define OSTRA_E_CANCELED ((ostra_result)0xA00F0007u)
/** Any failure of a registry operation. */
#define OSTRA_E_OPERATION_FAILED ((ostra_result)0xA00F0008u)
/** Another open of the file does not share the access asked for. */
#define OSTRA_E_SHARING_VIOLATION ((ostra_result)0xA00F0009u)
/** The system's "already exists". */
#define OSTRA_E_FILE_ALREADY_EXISTS ((ostra_result)0xA00F000Au)
/** Plain failure without a family code. */
#define OSTRA_E_FAILURE ((ostra_result)0x80000000u)
/** A null pointer where none is allowed, or a value the call does not define. */
#define OSTRA_E_INVALID_ARGUMENT ((ostra_result)0xA00F0101u)
/** The handle is null, destroyed or of another kind. */
#define OSTRA_E_INVALID_HANDLE ((ostra_result)0xA00F0102u)
/** The caller's buffer cannot hold the answer; its length was reported. */
#define OSTRA_E_BUFFER_TOO_SMALL ((ostra_result)0xA00F0103u)
/** The library's own precondition check refused the call. */
#define OSTRA_E_CONTRACT_VIOLATION ((ostra_result)0xA00F0104u)
/** The path is not an existing directory (ostra_directory_new()). */
#define OSTRA_E_NOT_A_DIRECTORY ((ostra_result)0xA00F0105u)
/** The directory, or one below it during a listing, no longer exists. */
#define OSTRA_E_DIRECTORY_GONE ((ostra_result)0xA00F0106u)
/** Any other C++ exception; ostra_last_error_text() gives its message. */
#define OSTRA_E_EXCEPTION ((ostra_result)0xA00F0107u)

/** The version of the OstraFoundation.dll loaded, "major.minor.patch": a
 * string that lives as long as the DLL. Never fails. */
OSTRA_C_API const char* ostra_version_string(void);

/** The name and meaning of a result, such as "OSTRA_E_FILE_NOT_FOUND: the
 * file was not found"; for a code without a name, its hexadecimal value and
 * whether it succeeds. Fails only by the output rule. */
OSTRA_C_API ostra_result ostra_result_text(ostra_result result, uint16_t* out, size_t capacity,
                                           size_t* out_length);

/** The calling thread's last error text: "<function>: <what happened>" for
 * the most recent call on this thread that failed; empty when none has.
 * Reading it, or failing to, never changes it. */
OSTRA_C_API ostra_result ostra_last_error_text(uint16_t* out, size_t capacity,
                                               size_t* out_length);

/** Starts the library. The first call starts the asynchronous file
 * operations, makes the calling thread the application's main thread and
 * registers the six message stations; later calls only count. Call
 * ostra_terminate() once for each call. */
OSTRA_C_API ostra_result ostra_initialize(void);

/** Ends one ostra_initialize(); the last ends the main-thread registration
 * and stops the asynchronous file operations (every reader must be
 * destroyed by then). Stations stay registered and the installed file
 * buffer factory stays installed. A call without its ostra_initialize() is
 * not caught. */
OSTRA_C_API ostra_result ostra_terminate(void);

/** Runs the calls waiting for the main thread (deferred messages among
 * them); call it on the main thread from the idle handler or message loop.
 * out_count receives how many ran. */
OSTRA_C_API ostra_result ostra_run_main_thread_calls(uint64_t* out_count);

/** The Result of a Windows error (GetLastError) of a call that failed: file
 * or path not found, access denied, sharing violation, disk full (39, 112)
 * and already exists (183) have their codes, everything else, 0 included,
 * is ::OSTRA_E_UNKNOWN. */
OSTRA_C_API ostra_result ostra_system_error_to_result(uint32_t system_error,
                                                      ostra_result* out_result);

/** The system's message for a Win32 error in the user's language, with its
 * line end, or "There was an error converting this Win32 error to a
 * message!" when the system has none. */
OSTRA_C_API ostra_result ostra_win32_error_message(uint32_t error_code, uint16_t* out,
                                                   size_t capacity, size_t* out_length);

/** "EXCEPTION_ACCESS_VIOLATION (...)" and the like for the common
 * structured-exception codes; "!!! Unknown Exception type !!!" for others. */
OSTRA_C_API ostra_result ostra_win32_exception_code_text(uint32_t exception_code, uint16_t* out,
                                                         size_t capacity, size_t* out_length);

/** A report of four lines, five for an access violation, each ending in
 * "\r\n", of the system's EXCEPTION_RECORD that `exception_record` points
 * to (as a structured-exception filter receives it). */
OSTRA_C_API ostra_result ostra_exception_record_report(const void* exception_record,
                                                       uint16_t* out, size_t capacity,
                                                       size_t* out_length);

/** @} */

/* ==================================================================== */
/** \defgroup ostra_c_lists Lists of texts
 * A growable list of UTF-16 texts: what listings and collections fill in,
 * and what functions taking several texts read.
 *
 * Threading: a list belongs to one thread at a time.
 * @{ */

/** A list of texts; ostra_string_list_new() makes one. */
typedef struct ostra_string_list ostra_string_list;

/** Makes an empty list. */
OSTRA_C_API ostra_result ostra_string_list_new(ostra_string_list** out_list);
/** Releases the list; null is ignored. */
OSTRA_C_API ostra_result ostra_string_list_destroy(ostra_string_list* list);
/** How many texts the list holds. */
OSTRA_C_API ostra_result ostra_string_list_count(const ostra_string_list* list,
                                                 uint64_t* out_count);
/** The text at index (from 0); ::OSTRA_E_INVALID_ARGUMENT past the end. */
OSTRA_C_API ostra_result ostra_string_list_get(const ostra_string_list* list, uint64_t index,
                                               uint16_t* out, size_t capacity,
                                               size_t* out_length);
/** Appends a copy of the text. */
OSTRA_C_API ostra_result ostra_string_list_append(ostra_string_list* list,
                                                  const uint16_t* text);

/** @} */

/* ==================================================================== */
/** \defgroup ostra_c_paths Paths
 * Windows paths: splitting and joining path strings, the long-path normal
 * form (`\\?\`) every file-system call of the library receives, relative
 * paths, and queries of paths on disk with their shell display names.
 * '\' is the separator; '/' is accepted wherever a separator is looked for.
 *
 * The string functions never touch the disk and never fail on bad input:
 * empty input gives the stated empty, false or unchanged answer. The disk
 * queries answer false for paths the system cannot take (relative ones).
 *
 * Threading: all thread-safe.
 * @{ */

/** \name Which text ostra_path_constant() gives */
/**@{*/
#define OSTRA_PATH_CONSTANT_SEPARATOR 0           /**< "\" */
#define OSTRA_PATH_CONSTANT_OPPOSITE_SEPARATOR 1  /**< "/" */
#define OSTRA_PATH_CONSTANT_EXTENSION 2           /**< "." */
#define OSTRA_PATH_CONSTANT_SHORT_UNC_PREFIX 3    /**< two backslashes */
#define OSTRA_PATH_CONSTANT_LONG_UNC_PREFIX 4     /**< `\\?\UNC`, no trailing '\' */
/** `\ / : * ? " < > |`, for showing to the user */
#define OSTRA_PATH_CONSTANT_ILLEGAL_FILENAME_CHARACTERS_DISPLAY 5
/** The same without the leading "\ " */
#define OSTRA_PATH_CONSTANT_ILLEGAL_PATH_CHARACTERS_DISPLAY 6
/**@}*/

/** One of the path constants (OSTRA_PATH_CONSTANT_...). */
OSTRA_C_API ostra_result ostra_path_constant(int32_t which, uint16_t* out, size_t capacity,
                                             size_t* out_length);
/** The system's classic path limit in characters (260). */
OSTRA_C_API ostra_result ostra_path_max_path(int32_t* out_length_limit);
/** "\" */
OSTRA_C_API ostra_result ostra_path_get_separator(uint16_t* out, size_t capacity,
                                                  size_t* out_length);
/** One '\' appended when the path does not end in a separator; "" stays "". */
OSTRA_C_API ostra_result ostra_path_add_trailing_slash(const uint16_t* path, uint16_t* out,
                                                       size_t capacity, size_t* out_length);
/** The path without its trailing separators. */
OSTRA_C_API ostra_result ostra_path_remove_trailing_slash(const uint16_t* path, uint16_t* out,
                                                          size_t capacity, size_t* out_length);
/** Whether the path ends in '\' or '/'. */
OSTRA_C_API ostra_result ostra_path_has_trailing_slash(const uint16_t* path, int32_t* out_answer);
/** Whether the name is not empty and free of \ / : * ? " < > |. */
OSTRA_C_API ostra_result ostra_path_is_valid_file_name(const uint16_t* name,
                                                       int32_t* out_answer);
/** True for any non-empty path; nothing else is checked. */
OSTRA_C_API ostra_result ostra_path_is_valid_path(const uint16_t* path, int32_t* out_answer);
/** Whether the code unit is one of the 52 ASCII letters. */
OSTRA_C_API ostra_result ostra_path_is_win_drive_letter(uint16_t character,
                                                        int32_t* out_answer);

/** The four parts of a path:
 * ```
 *   C:\dir\sub\name.ext  =>  "C:"  "\dir\sub\"  "name"  ".ext"
 *   dir.d\file           =>  ""    "dir.d\"     "file"  ""
 *   C:\a\.hidden         =>  "C:"  "\a\"        ""      ".hidden"
 * ```
 * Each part follows the output rule; a part whose buffer and length
 * pointer are both null is skipped. When any wanted part does not fit,
 * every length is reported and no buffer is written. */
OSTRA_C_API ostra_result ostra_path_split(const uint16_t* path, uint16_t* out_drive,
                                          size_t drive_capacity, size_t* out_drive_length,
                                          uint16_t* out_directory, size_t directory_capacity,
                                          size_t* out_directory_length, uint16_t* out_file,
                                          size_t file_capacity, size_t* out_file_length,
                                          uint16_t* out_extension, size_t extension_capacity,
                                          size_t* out_extension_length);
/** The drive part of ostra_path_split(). */
OSTRA_C_API ostra_result ostra_path_get_drive_part(const uint16_t* path, uint16_t* out,
                                                   size_t capacity, size_t* out_length);
/** The directory part of ostra_path_split(). */
OSTRA_C_API ostra_result ostra_path_get_directory_part(const uint16_t* path, uint16_t* out,
                                                       size_t capacity, size_t* out_length);
/** The file name without its extension. */
OSTRA_C_API ostra_result ostra_path_get_file_part(const uint16_t* path, uint16_t* out,
                                                  size_t capacity, size_t* out_length);
/** The extension with its dot. */
OSTRA_C_API ostra_result ostra_path_get_extension_part(const uint16_t* path, uint16_t* out,
                                                       size_t capacity, size_t* out_length);
/** File name and extension. */
OSTRA_C_API ostra_result ostra_path_get_full_file_part(const uint16_t* path, uint16_t* out,
                                                       size_t capacity, size_t* out_length);
/** The whole path cut before its last dot, wherever that dot is:
 * `C:\a\b.txt` => `C:\a\b`, `C:\ver1.2\readme` => `C:\ver1`. */
OSTRA_C_API ostra_result ostra_path_get_file_name_part(const uint16_t* path, uint16_t* out,
                                                       size_t capacity, size_t* out_length);
/** Joins the parts as the C runtime's _wmakepath does; empty when their
 * lengths plus 5 exceed 2048. */
OSTRA_C_API ostra_result ostra_path_make(const uint16_t* drive, const uint16_t* directory,
                                         const uint16_t* file, const uint16_t* extension,
                                         uint16_t* out, size_t capacity, size_t* out_length);
/** The same as ostra_path_make(). */
OSTRA_C_API ostra_result ostra_path_make_full(const uint16_t* drive, const uint16_t* directory,
                                              const uint16_t* file, const uint16_t* extension,
                                              uint16_t* out, size_t capacity,
                                              size_t* out_length);
/** Whether the path's extension is `extension`, given with or without its
 * dot; case-sensitive; false when either is empty. */
OSTRA_C_API ostra_result ostra_path_file_has_extension(const uint16_t* path,
                                                       const uint16_t* extension,
                                                       int32_t* out_answer);
/** The name without the characters that are illegal in a file name;
 * out_removed (may be null) tells whether any was removed. */
OSTRA_C_API ostra_result ostra_path_remove_illegal_file_name_characters(
    const uint16_t* name, uint16_t* out, size_t capacity, size_t* out_length,
    int32_t* out_removed);

/** The long-path form: `C:\a` => `\\?\C:\a`, `C:` => `\\?\C:\`,
 * `\\srv\share` => `\\?\UNC\srv\share`; normal and relative paths come back
 * unchanged. Nothing else changes. */
OSTRA_C_API ostra_result ostra_path_to_normalized(const uint16_t* path, uint16_t* out,
                                                  size_t capacity, size_t* out_length);
/** True for paths that begin with `\\?\`, except the drive root `\\?\C:`. */
OSTRA_C_API ostra_result ostra_path_is_normalized(const uint16_t* path, int32_t* out_answer);
/** Removes the long-path prefix of `\\?\C:\...` and `\\?\UNC\...`; anything
 * else comes back unchanged. */
OSTRA_C_API ostra_result ostra_path_strip_unc(const uint16_t* path, uint16_t* out,
                                              size_t capacity, size_t* out_length);
/** Whether the path begins with two backslashes or a drive letter and ':'. */
OSTRA_C_API ostra_result ostra_path_is_win_api_acceptable(const uint16_t* path,
                                                          int32_t* out_answer);
/** `more` joined to `base` by the shell, resolving '.' and '..'; empty when
 * `base` is not acceptable or the result would exceed 260 characters. */
OSTRA_C_API ostra_result ostra_path_combine(const uint16_t* base, const uint16_t* more,
                                            uint16_t* out, size_t capacity, size_t* out_length);
/** Drive and directory part: `C:\dir\file.txt` => `C:\dir\`. */
OSTRA_C_API ostra_result ostra_path_get_full_directory_part(const uint16_t* path, uint16_t* out,
                                                            size_t capacity,
                                                            size_t* out_length);
/** The directory of to_path relative to the directory of from_path:
 * `C:\a\b\file.txt`, `C:\a\c\` => `..\c`. *out_related is 0, and the text
 * output untouched, when either path is not acceptable or the two share no
 * first directory. */
OSTRA_C_API ostra_result ostra_path_relative(const uint16_t* from_path, const uint16_t* to_path,
                                             int32_t* out_related, uint16_t* out,
                                             size_t capacity, size_t* out_length);

/** Whether the path exists: with use_find by listing it, otherwise by its
 * attributes. False for empty and relative paths. */
OSTRA_C_API ostra_result ostra_path_exists_on_disk(const uint16_t* path, int32_t use_find,
                                                   int32_t* out_answer);
/** Whether the path names an existing directory. */
OSTRA_C_API ostra_result ostra_path_is_directory(const uint16_t* path, int32_t* out_answer);
/** True for the empty path; false for relative and missing paths and files. */
OSTRA_C_API ostra_result ostra_path_is_directory_empty(const uint16_t* path,
                                                       int32_t* out_answer);
/** Whether the path cannot be written: a directory by creating a probe file
 * in it, anything else by its read-only attribute. A path that cannot be
 * read counts as read-only; empty and relative paths do not. */
OSTRA_C_API ostra_result ostra_path_is_read_only(const uint16_t* path, int32_t* out_answer);
/** The system's temporary directory, ending in '\'. */
OSTRA_C_API ostra_result ostra_path_get_temp_directory(uint16_t* out, size_t capacity,
                                                       size_t* out_length);
/** Bytes free to the calling user on the path's volume; 0 on failure. */
OSTRA_C_API ostra_result ostra_path_get_free_drive_space(const uint16_t* path,
                                                         uint64_t* out_bytes);
/** Creates the path as a directory with its missing parents; *out_done is
 * 0 for relative paths and on failure. */
OSTRA_C_API ostra_result ostra_path_prepare_for_write(const uint16_t* path, int32_t* out_done);
/** Removes from the list, keeping the order of the rest, every path whose
 * name begins with '.' or that carries the hidden attribute. */
OSTRA_C_API ostra_result ostra_path_filter_hidden_files(ostra_string_list* paths);
/** The text to show the user for a normalised path: the prefix removed and
 * the components of a local drive given their shell display names. Other
 * paths come back without the shell's names. Initialises COM on the
 * calling thread. */
OSTRA_C_API ostra_result ostra_path_get_display_string(const uint16_t* path, uint16_t* out,
                                                       size_t capacity, size_t* out_length);
/** The display name of the last component of a normalised path; other
 * paths come back unchanged. */
OSTRA_C_API ostra_result ostra_path_get_leaf_display_string(const uint16_t* path, uint16_t* out,
                                                            size_t capacity,
                                                            size_t* out_length);

/** @} */

/* ==================================================================== */
/** \defgroup ostra_c_disks Disks
 * Questions about the volume a path lies on. Each first reduces the path
 * to the root of its volume, so it may name a file or folder that does not
 * exist yet. Threading: all thread-safe.
 * @{ */

/** The size reads and writes on the volume should be a multiple of: its
 * sector size rounded up to a power of two (4096 when it reports 0).
 * Fails with the mapped system error. */
OSTRA_C_API ostra_result ostra_disk_get_efficient_buffer_size(const uint16_t* path,
                                                              uint32_t* out_size);
/** Bytes the calling user may still write to the volume; 0 means a full
 * disk or a failure. */
OSTRA_C_API ostra_result ostra_disk_get_free_space(const uint16_t* path, uint64_t* out_bytes);
/** The largest file that fits on the volume now: the free space, capped at
 * 0xFFFFFFFF on FAT volumes. Fails with the mapped system error. */
OSTRA_C_API ostra_result ostra_disk_get_max_file_size(const uint16_t* path,
                                                      uint64_t* out_size);
/** A byte count as a memory size with two decimals: "1.50 GB". */
OSTRA_C_API ostra_result ostra_disk_space_string(uint64_t bytes, uint16_t* out, size_t capacity,
                                                 size_t* out_length);

/** @} */

/* ==================================================================== */
/** \defgroup ostra_c_directories Directories and the directory registry
 * An ::ostra_directory names an existing directory by its path, as given,
 * and lists what it contains: in post-order (a directory after its
 * contents), under a limit counted over every level, stopping as soon as
 * the cancel callback answers non-zero. The other functions work on
 * directories by path.
 *
 * Threading: distinct handles may be used on different threads, and two
 * listings of one directory may run at once; the cancel callback runs on
 * the listing's thread. The directory registry has no lock of its own:
 * register during start-up, before lookups from other threads begin, or
 * serialise the calls.
 *
 * Failures: a listing of a directory that has gone, or during which a
 * directory below it goes, fails with ::OSTRA_E_DIRECTORY_GONE.
 * @{ */

/** An existing directory; ostra_directory_new() makes one. */
typedef struct ostra_directory ostra_directory;

/** Asked between entries of a listing; non-zero stops it, keeping the
 * entries found so far. */
typedef int32_t (*ostra_cancel_callback)(void* context);

/** No limit for a listing. */
#define OSTRA_NO_LIMIT 0xFFFFFFFFu

/** A directory for an existing directory path, kept exactly as given;
 * ::OSTRA_E_NOT_A_DIRECTORY for a file, a missing path or the empty text. */
OSTRA_C_API ostra_result ostra_directory_new(const uint16_t* path,
                                             ostra_directory** out_directory);
/** Releases the handle; null is ignored. */
OSTRA_C_API ostra_result ostra_directory_destroy(ostra_directory* directory);
/** The path as given to ostra_directory_new(). */
OSTRA_C_API ostra_result ostra_directory_as_string(const ostra_directory* directory,
                                                   uint16_t* out, size_t capacity,
                                                   size_t* out_length);
/** Whether the directory holds nothing; ::OSTRA_E_DIRECTORY_GONE once it is
 * gone. */
OSTRA_C_API ostra_result ostra_directory_is_empty(const ostra_directory* directory,
                                                  int32_t* out_answer);
/** Whether a hidden probe file can be created and written in it (it is
 * deleted when closed); any failure answers 0. */
OSTRA_C_API ostra_result ostra_directory_is_writeable(const ostra_directory* directory,
                                                      int32_t* out_answer);
/** Every entry into out_paths. `limit` counts files and directories
 * together over all levels (::OSTRA_NO_LIMIT: none, 0: nothing); cancel
 * may be null. */
OSTRA_C_API ostra_result ostra_directory_get_contained_paths(const ostra_directory* directory,
                                                             int32_t recursive, uint32_t limit,
                                                             ostra_cancel_callback cancel,
                                                             void* context,
                                                             ostra_string_list* out_paths);
/** Files only; the limit still counts directories. */
OSTRA_C_API ostra_result ostra_directory_get_contained_file_paths(
    const ostra_directory* directory, int32_t recursive, uint32_t limit,
    ostra_cancel_callback cancel, void* context, ostra_string_list* out_paths);
/** Entries whose extension is `extension`, given with its dot (".txt";
 * ASCII letters match regardless of case); directories named like files
 * match too. An empty extension is ::OSTRA_E_CONTRACT_VIOLATION. */
OSTRA_C_API ostra_result ostra_directory_get_contained_file_paths_filtered(
    const ostra_directory* directory, const uint16_t* extension, int32_t recursive,
    uint32_t limit, ostra_cancel_callback cancel, void* context, ostra_string_list* out_paths);
/** The entries of ostra_directory_get_contained_paths() split into files
 * and directories. */
OSTRA_C_API ostra_result ostra_directory_get_contained_file_and_directory_paths(
    const ostra_directory* directory, int32_t recursive, uint32_t limit,
    ostra_cancel_callback cancel, void* context, ostra_string_list* out_files,
    ostra_string_list* out_directories);

/** Creates the directory and its missing parents; an existing directory is
 * success, the empty text ::OSTRA_E_UNKNOWN. create_parents is accepted
 * and ignored. */
OSTRA_C_API ostra_result ostra_directory_create_on_disk(const uint16_t* path,
                                                        int32_t create_parents);
/** Removes an empty directory; the mapped system error on failure. */
OSTRA_C_API ostra_result ostra_directory_delete(const uint16_t* path);
/** Deletes everything in the directory, then the directory. */
OSTRA_C_API ostra_result ostra_directory_delete_not_empty(const uint16_t* path);
/** Copies the source's contents into the destination through the shell.
 * Long-path forms (`\\?\...`) and empty paths give ::OSTRA_E_PATH_NOT_FOUND;
 * any failure of the shell is ::OSTRA_E_UNKNOWN. */
OSTRA_C_API ostra_result ostra_directory_copy(const uint16_t* source,
                                              const uint16_t* destination);
/** As ostra_directory_copy(), then deletes what is left in the source (the
 * source directory itself stays). */
OSTRA_C_API ostra_result ostra_directory_move(const uint16_t* source,
                                              const uint16_t* destination);
/** Copies every file of the source tree to the same relative place under
 * the destination, file by file; files that cannot be copied are passed
 * over and empty directories are not reproduced. ::OSTRA_E_FILE_NOT_FOUND
 * for a missing source, else the destination's creation failure. */
OSTRA_C_API ostra_result ostra_directory_copy_contents(const uint16_t* source,
                                                       const uint16_t* destination);

/** Registers the path, unexpanded, under a symbolic name, replacing an
 * earlier one. A path may refer to other names as $(name). An empty path
 * or name fails with ::OSTRA_E_EXCEPTION, whose text is the permission
 * error naming the application; the table is then unchanged. */
OSTRA_C_API ostra_result ostra_directory_registry_register(const uint16_t* path,
                                                           const uint16_t* name);
/** Removes the name; an unknown name is no error, an empty one
 * ::OSTRA_E_CONTRACT_VIOLATION. */
OSTRA_C_API ostra_result ostra_directory_registry_unregister(const uint16_t* name);
/** The name's path with its $(name) references expanded and a trailing
 * separator; empty when the name is not registered. An empty name is
 * ::OSTRA_E_CONTRACT_VIOLATION. Names are case-sensitive; a name that
 * refers to itself recurses without end. */
OSTRA_C_API ostra_result ostra_directory_registry_find(const uint16_t* name, uint16_t* out,
                                                       size_t capacity, size_t* out_length);

/** @} */

/* ==================================================================== */
/** \defgroup ostra_c_files Files
 * An ::ostra_file owns one open Windows file. A file opened for reading
 * only (and not shared with writers, unless ::OSTRA_ATTRIBUTE_ALLOW_CACHING
 * says so) is read block by block through the installed block cache
 * (\ref ostra_c_cache); every other file goes straight to the system. The
 * functions by path copy, move, delete, swap and measure files.
 *
 * Threading: a file belongs to one thread at a time, except that
 * ostra_file_read_at() of a file made with ::OSTRA_FILE_SHARED may run on
 * several threads at once (and nothing else on that file meanwhile). The
 * functions by path are thread-safe; the copy progress callback runs on
 * the copying thread.
 *
 * Failures: Windows failures come back as their mapped results, never as
 * exceptions. An operation on a file that is not open reports a once-only
 * assertion to the dialog hook and fails with ::OSTRA_E_FILE_NOT_FOUND
 * (the size and file-system queries answer 0 instead).
 * @{ */

/** A file; ostra_file_new() makes one, not open. */
typedef struct ostra_file ostra_file;

/** \name File kinds for ostra_file_new() */
/**@{*/
#define OSTRA_FILE_PLAIN 0u   /**< a file for one thread at a time */
#define OSTRA_FILE_SHARED 1u  /**< a file ostra_file_read_at() may read from several threads */
/**@}*/

/** \name Access of ostra_file_create() (bits) */
/**@{*/
#define OSTRA_ACCESS_READ 1u     /**< GENERIC_READ */
#define OSTRA_ACCESS_WRITE 2u    /**< GENERIC_WRITE */
#define OSTRA_ACCESS_EXECUTE 4u  /**< GENERIC_EXECUTE */
/**@}*/

/** \name Share mode of ostra_file_create() (bits, as the system's) */
/**@{*/
#define OSTRA_SHARE_READ 1u    /**< FILE_SHARE_READ */
#define OSTRA_SHARE_WRITE 2u   /**< FILE_SHARE_WRITE */
#define OSTRA_SHARE_DELETE 4u  /**< FILE_SHARE_DELETE */
/**@}*/

/** \name Disposition of ostra_file_create() (give exactly one) */
/**@{*/
#define OSTRA_CREATE_NEW 1u          /**< CREATE_NEW */
#define OSTRA_CREATE_ALWAYS 2u       /**< CREATE_ALWAYS */
#define OSTRA_OPEN_ALWAYS 4u         /**< OPEN_ALWAYS */
#define OSTRA_OPEN_EXISTING 8u       /**< OPEN_EXISTING */
#define OSTRA_TRUNCATE_EXISTING 16u  /**< TRUNCATE_EXISTING */
/**@}*/

/** \name Attributes of ostra_file_create() (bits) */
/**@{*/
#define OSTRA_ATTRIBUTE_NORMAL 1u            /**< FILE_ATTRIBUTE_NORMAL */
#define OSTRA_ATTRIBUTE_SEQUENTIAL_SCAN 2u   /**< FILE_FLAG_SEQUENTIAL_SCAN */
#define OSTRA_ATTRIBUTE_NO_BUFFERING 4u      /**< FILE_FLAG_NO_BUFFERING */
#define OSTRA_ATTRIBUTE_BACKUP_SEMANTICS 8u  /**< FILE_FLAG_BACKUP_SEMANTICS */
/** Use the block cache although the share mode lets others write. */
#define OSTRA_ATTRIBUTE_ALLOW_CACHING 16u
/**@}*/

/** \name Where ostra_file_set_pointer() counts from */
/**@{*/
#define OSTRA_SEEK_BEGIN 0    /**< FILE_BEGIN */
#define OSTRA_SEEK_CURRENT 1  /**< FILE_CURRENT */
#define OSTRA_SEEK_END 2      /**< FILE_END */
/**@}*/

/** Called by ostra_file_copy_with_progress() with the fraction copied so
 * far (0 to 1; not a number for an empty file); return 0 to cancel. */
typedef int32_t (*ostra_copy_progress_callback)(float fraction, void* context);

/** A file that is not open, of kind ::OSTRA_FILE_PLAIN or
 * ::OSTRA_FILE_SHARED. */
OSTRA_C_API ostra_result ostra_file_new(uint32_t kind, ostra_file** out_file);
/** Closes the file and releases the handle; null is ignored. */
OSTRA_C_API ostra_result ostra_file_destroy(ostra_file* file);
/** Opens or creates an absolute path (a drive letter and ':', or two
 * backslashes) and decides whether reads go through the block cache. A
 * relative path gives ::OSTRA_E_PATH_NOT_FOUND, a directory
 * ::OSTRA_E_UNKNOWN unless allow_directory; an open file
 * ::OSTRA_E_CONTRACT_VIOLATION. */
OSTRA_C_API ostra_result ostra_file_create(ostra_file* file, const uint16_t* path,
                                           uint32_t access, uint32_t share_mode,
                                           uint32_t disposition, uint32_t attributes,
                                           int32_t allow_directory);
/** Opens an existing file with every share mode. A path that does not
 * exist (ostra_path_exists_on_disk() with exists_check) fails with -1. */
OSTRA_C_API ostra_result ostra_file_open(ostra_file* file, const uint16_t* path, uint32_t access,
                                         int32_t exists_check);
/** Reads up to `count` bytes at the current position; at or past the end:
 * success with *out_read 0. */
OSTRA_C_API ostra_result ostra_file_read(ostra_file* file, void* buffer, uint32_t count,
                                         uint32_t* out_read);
/** Reads up to `count` bytes at `offset` of a ::OSTRA_FILE_SHARED file
 * without using its position; past the end: success with *out_read 0; a
 * negative offset ::OSTRA_E_UNKNOWN; a plain file
 * ::OSTRA_E_INVALID_ARGUMENT. */
OSTRA_C_API ostra_result ostra_file_read_at(ostra_file* file, void* buffer, int64_t offset,
                                            uint32_t count, uint32_t* out_read);
/** Writes at the Windows file pointer, never through the cache;
 * *out_written is set whenever the file is open, also on failure. */
OSTRA_C_API ostra_result ostra_file_write(ostra_file* file, const void* buffer, uint32_t count,
                                          uint32_t* out_written);
/** Cached: moves the position, clamped to the file; ::OSTRA_SEEK_END
 * counts back from the end for either sign. Uncached: moves the Windows
 * file pointer and reports success whatever happened. */
OSTRA_C_API ostra_result ostra_file_set_pointer(ostra_file* file, int64_t distance,
                                                int32_t method);
/** The position; uncached, a failed query gives 0 and success. */
OSTRA_C_API ostra_result ostra_file_get_pointer(const ostra_file* file, int64_t* out_position);
/** Writes the system's buffers for the file to the disk. */
OSTRA_C_API ostra_result ostra_file_flush(ostra_file* file);
/** Ends the file at the Windows file pointer: 0, or -1 on failure. */
OSTRA_C_API ostra_result ostra_file_set_end_of_file(ostra_file* file);
/** Closes the file and unpins the blocks it kept resident. */
OSTRA_C_API ostra_result ostra_file_close(ostra_file* file);
/** Whether the file is open. */
OSTRA_C_API ostra_result ostra_file_is_open(const ostra_file* file, int32_t* out_answer);
/** The Windows HANDLE of the file. */
OSTRA_C_API ostra_result ostra_file_get_platform_handle(ostra_file* file, void** out_handle);
/** Fixes the block size of cached reads (at least 64 KiB when the file is
 * opened) instead of asking the disk. */
OSTRA_C_API ostra_result ostra_file_set_buffer_size(ostra_file* file, uint32_t size);
/** Keeps the `count` most recently loaded blocks pinned in the cache, while
 * the debug option "Ostra.UseNonPurgeable" is "true". */
OSTRA_C_API ostra_result ostra_file_set_multi_buffer_count(ostra_file* file, int32_t count);
/** Reads up to `blocks` blocks ahead of a cached file read sequentially (0:
 * none); what ostra_file_read() returns never changes. */
OSTRA_C_API ostra_result ostra_file_set_read_ahead(ostra_file* file, uint32_t blocks);
/** The creation time of the open file, a FILETIME value. */
OSTRA_C_API ostra_result ostra_file_get_creation_time(const ostra_file* file,
                                                      uint64_t* out_time);
/** The last write time of the open file, a FILETIME value. */
OSTRA_C_API ostra_result ostra_file_get_last_modification_time(const ostra_file* file,
                                                               uint64_t* out_time);
/** The size in bytes; a cached file keeps the first non-zero size it saw. */
OSTRA_C_API ostra_result ostra_file_size_on_disk(const ostra_file* file, uint64_t* out_size);
/** The kind of file system: always 0 (unknown) on this platform. */
OSTRA_C_API ostra_result ostra_file_get_file_system_type(const ostra_file* file,
                                                         int32_t* out_type);

/** Copies a file, overwriting `to`; paths pass to Windows unchanged. */
OSTRA_C_API ostra_result ostra_file_copy(const uint16_t* from, const uint16_t* to);
/** Copies with progress reports: ::OSTRA_E_FILE_NOT_FOUND,
 * ::OSTRA_E_PATH_NOT_FOUND, ::OSTRA_E_ACCESS_DENIED, ::OSTRA_E_CANCELED,
 * and ::OSTRA_E_DISK_FULL for every other error. */
OSTRA_C_API ostra_result ostra_file_copy_with_progress(const uint16_t* from, const uint16_t* to,
                                                       ostra_copy_progress_callback callback,
                                                       void* context);
/** Moves or renames a file; an existing `to` is not replaced. */
OSTRA_C_API ostra_result ostra_file_move(const uint16_t* from, const uint16_t* to);
/** Deletes a file. */
OSTRA_C_API ostra_result ostra_file_delete(const uint16_t* path);
/** Replaces target_path by temp_path, retrying once; on failure the target
 * keeps its contents and the temporary file stays. */
OSTRA_C_API ostra_result ostra_file_swap_temp_file(const uint16_t* temp_path,
                                                   const uint16_t* target_path);
/** `<folder>\<file>~<GUID>[<extension>]`, a path that does not exist yet;
 * each call gives another. */
OSTRA_C_API ostra_result ostra_file_make_unique_temp_path(const uint16_t* path,
                                                          int32_t keep_extension, uint16_t* out,
                                                          size_t capacity, size_t* out_length);
/** The creation time of the file at path, a FILETIME value; a relative
 * path gives ::OSTRA_E_PATH_NOT_FOUND, a folder ::OSTRA_E_FILE_NOT_FOUND. */
OSTRA_C_API ostra_result ostra_file_get_creation_time_of_path(const uint16_t* path,
                                                              uint64_t* out_time);
/** The last write time of the file at path, as above. */
OSTRA_C_API ostra_result ostra_file_get_last_modification_time_of_path(const uint16_t* path,
                                                                       uint64_t* out_time);
/** The last write time of the folder at path; a file gives
 * ::OSTRA_E_FILE_NOT_FOUND. */
OSTRA_C_API ostra_result ostra_file_get_last_modification_time_of_folder(const uint16_t* path,
                                                                         uint64_t* out_time);
/** The size of the file at path; a folder succeeds with its attribute
 * data size (normally 0). */
OSTRA_C_API ostra_result ostra_file_size_on_disk_of_path(const uint16_t* path,
                                                         uint64_t* out_size);

/** @} */

/* ==================================================================== */
/** \defgroup ostra_c_cache Block caches
 * Cached files read whole blocks through the file buffer factory the host
 * installs: the library's own ::ostra_block_cache (one pool of blocks under
 * a byte budget, least recently used unpinned blocks evicted first), or
 * the host's own cache given as a table of C callbacks
 * (::ostra_file_buffer_callbacks). Files opened from then on use it; open
 * files keep the cache they have. The library keeps its own reference to
 * the installed factory until another is installed; ostra_terminate() does
 * not release it.
 *
 * Threading: every function here is thread-safe. A host's callbacks are
 * called on the threads that call the file (create, read, read_at, close),
 * never on a thread of the library's own; with ostra_file_read_at() on
 * several threads they must accept concurrent calls. No callback is called
 * for a file after its ostra_file_close().
 *
 * Failures: nothing in a block cache fails: a block that cannot be kept is
 * simply not cached and is read from disk again.
 * @{ */

/** The library's block cache; ostra_block_cache_new() makes one. */
typedef struct ostra_block_cache ostra_block_cache;

/** What a block cache has done and holds (ostra_block_cache_get_statistics()). */
typedef struct ostra_block_cache_statistics {
  uint32_t struct_size;    /**< set by the caller: sizeof(ostra_block_cache_statistics) */
  uint32_t reserved;       /**< 0 */
  uint64_t hits;           /**< lookups that found their block, since made or reset */
  uint64_t misses;         /**< lookups that did not */
  uint64_t additions;      /**< blocks handed to the cache */
  uint64_t evictions;      /**< blocks dropped for the budget */
  uint64_t blocks;         /**< blocks held now */
  uint64_t bytes;          /**< bytes held now */
  uint64_t pinned_blocks;  /**< blocks with at least one pin */
  uint64_t pinned_bytes;   /**< bytes of those blocks */
  uint64_t byte_budget;    /**< the budget in bytes */
  double hit_rate;         /**< hits as a share of lookups, 0 to 1; 0 before any */
} ostra_block_cache_statistics;

/** A new, empty pool that holds at most `byte_budget` bytes of blocks
 * (beyond that only pinned ones). */
OSTRA_C_API ostra_result ostra_block_cache_new(uint64_t byte_budget,
                                               ostra_block_cache** out_cache);
/** Releases the host's handle; the pool lives on while it is installed or
 * a file uses it. Null is ignored. */
OSTRA_C_API ostra_result ostra_block_cache_destroy(ostra_block_cache* cache);
/** A new budget; a lower one evicts unpinned blocks before returning. */
OSTRA_C_API ostra_result ostra_block_cache_set_byte_budget(ostra_block_cache* cache,
                                                           uint64_t byte_budget);
/** The budget in bytes, as last set. */
OSTRA_C_API ostra_result ostra_block_cache_get_byte_budget(const ostra_block_cache* cache,
                                                           uint64_t* out_byte_budget);
/** A snapshot of the counters and the state; under concurrent use its
 * fields may be a moment apart. */
OSTRA_C_API ostra_result ostra_block_cache_get_statistics(
    const ostra_block_cache* cache, ostra_block_cache_statistics* out_statistics);
/** Zeroes the hit, miss, addition and eviction counters. */
OSTRA_C_API ostra_result ostra_block_cache_reset_counters(ostra_block_cache* cache);
/** Evicts every unpinned block. */
OSTRA_C_API ostra_result ostra_block_cache_clear(ostra_block_cache* cache);
/** Installs the block cache as the file buffer factory. */
OSTRA_C_API ostra_result ostra_block_cache_install(ostra_block_cache* cache);

/** A block of file data, shared by reference count between files and
 * caches: exactly the file's block size, page-aligned. */
typedef struct ostra_block ostra_block;

/** Adds a reference to the block, for a cache that keeps it. */
OSTRA_C_API ostra_result ostra_block_retain(ostra_block* block);
/** Drops a reference; the last one frees the block. */
OSTRA_C_API ostra_result ostra_block_release(ostra_block* block);
/** The block's bytes and their count. */
OSTRA_C_API ostra_result ostra_block_data(const ostra_block* block, const void** out_data,
                                          uint64_t* out_size);

/** A host's block cache as callbacks. The table is copied when it is
 * installed. `buffer` is the per-file context create_buffer made. */
typedef struct ostra_file_buffer_callbacks {
  uint32_t struct_size;  /**< set by the caller: sizeof(ostra_file_buffer_callbacks) */
  uint32_t reserved;     /**< 0 */
  void* context;         /**< the factory's own, given to create_buffer and release_factory */
  /** Required: a cache for one file opened for cached reading, in
   * *out_buffer; a failure or a null buffer reads the file uncached. */
  ostra_result (*create_buffer)(void* context, void** out_buffer);
  /** May be null: which file, and which version of it (FILETIME of the last
   * write, size), the buffer serves; called once after the file opened.
   * The path lives for the call only. */
  void (*set_file)(void* buffer, uint64_t last_write_time, const uint16_t* path, uint64_t size);
  /** Required: a block freshly read at `offset`; it lives for the call
   * unless the cache takes a reference with ostra_block_retain(). */
  void (*add_block)(void* buffer, ostra_block* block, uint64_t offset);
  /** Required: the block at `offset` of `size` bytes into *out_block, with
   * a reference the library takes over (ostra_block_retain() it first); a
   * failure, or a block of another size, is a miss. */
  ostra_result (*get_block)(void* buffer, uint64_t offset, uint32_t size,
                            ostra_block** out_block);
  /** May be null: the file no longer needs the block resident. */
  void (*unpin_block)(void* buffer, uint64_t offset, uint32_t size);
  /** May be null: keep the block resident until it is unpinned. */
  void (*pin_block)(void* buffer, uint64_t offset, uint32_t size);
  /** May be null: the buffer's last file has let it go. */
  void (*release_buffer)(void* buffer);
  /** May be null: the factory is no longer installed and no buffer of it is
   * left; no callback of this table is called afterwards. */
  void (*release_factory)(void* context);
} ostra_file_buffer_callbacks;

/** Installs the host's cache as the file buffer factory. */
OSTRA_C_API ostra_result ostra_file_buffer_factory_install(
    const ostra_file_buffer_callbacks* callbacks);
/** Uninstalls the factory: files opened from now on are uncached. */
OSTRA_C_API ostra_result ostra_file_buffer_factory_uninstall(void);

/** @} */

/* ==================================================================== */
/** \defgroup ostra_c_async Asynchronous reader
 * Unbuffered, overlapped reads of one file without blocking the caller.
 * The process shares one completion port, one completion thread, one read
 * thread and a pool of 2048 requests, which exist between ostra_initialize()
 * and the last ostra_terminate(). Offsets, sizes and buffer addresses must
 * be multiples of ostra_async_reader_get_sector_size(); misaligned reads
 * fail and the error reaches the callback.
 *
 * Threading: ostra_async_reader_queue_read() may be called from any
 * thread, callbacks included. The callbacks of one reader run one at a
 * time, in completion order, on a thread of the library's CPU pool, never
 * on the caller's thread. Open, close and destroy belong to the reader's
 * owner and must not be called from one of its callbacks.
 *
 * Failures: a read's failure reaches its callback as a result, with 0
 * bytes when the read never started.
 * @{ */

/** A reader of one file; ostra_async_reader_new() makes one. */
typedef struct ostra_async_reader ostra_async_reader;

/** Called when a read has finished: the reader, the read's offset, the
 * bytes asked for and read, the buffer, the caller's context and the
 * read's result. */
typedef void (*ostra_async_read_callback)(ostra_async_reader* reader, uint64_t offset,
                                          uint32_t requested_size, uint32_t bytes_read,
                                          void* buffer, void* context, ostra_result result);

/** A reader that was never opened. */
OSTRA_C_API ostra_result ostra_async_reader_new(ostra_async_reader** out_reader);
/** Closes as ostra_async_reader_close() does and releases the handle; null
 * is ignored. */
OSTRA_C_API ostra_result ostra_async_reader_destroy(ostra_async_reader* reader);
/** Opens an existing file for unbuffered reading into a reader that was
 * never opened: -1 for a missing path, a directory or a file the system
 * refuses (the reader may be opened again); otherwise the result of finding
 * the volume's sector size. ::OSTRA_E_CONTRACT_VIOLATION for a reader
 * opened before, and before ostra_initialize(). */
OSTRA_C_API ostra_result ostra_async_reader_open(ostra_async_reader* reader,
                                                 const uint16_t* path);
/** Queues a read of `size` bytes at `offset` into `buffer` and returns at
 * once; `callback` (may be null) runs when it has finished. Blocks, in
 * steps of 10 ms, while 2048 reads are outstanding in the process. A
 * reader that is not open gives ::OSTRA_E_CONTRACT_VIOLATION. */
OSTRA_C_API ostra_result ostra_async_reader_queue_read(ostra_async_reader* reader,
                                                       uint64_t offset, uint32_t size,
                                                       void* buffer,
                                                       ostra_async_read_callback callback,
                                                       void* context);
/** Returns when every read queued so far has completed and its callback
 * has run. */
OSTRA_C_API ostra_result ostra_async_reader_wait_for_pending_reads(ostra_async_reader* reader);
/** Waits as above, then closes the file; nothing when it is not open. A
 * closed reader cannot be opened again. */
OSTRA_C_API ostra_result ostra_async_reader_close(ostra_async_reader* reader);
/** Bytes, a power of two found by ostra_async_reader_open() (4096 when the
 * volume reports none). */
OSTRA_C_API ostra_result ostra_async_reader_get_sector_size(const ostra_async_reader* reader,
                                                            uint32_t* out_size);

/** @} */

/* ==================================================================== */
/** \defgroup ostra_c_registry Registry keys, application paths and language
 * An ::ostra_registry_key opens or creates a key of the Windows registry
 * under one of two roots, reads and writes typed values, deletes values and
 * whole sub-trees, and lists sub-keys. Copies (ostra_registry_key_copy())
 * share one open handle, which closes when the last of them goes. A
 * process-wide list of read-only values makes writes to them report
 * success while writing nothing.
 *
 * The application's key paths are built once from the client name and
 * version the core library reports and are relative to a root. The
 * user-interface language is a Windows LANGID (primary language in the low
 * 10 bits), read once from the string value "Language" under the base key
 * (1033 when there is none) and may be overridden for the process.
 *
 * Threading: a key and its copies belong to one thread at a time; the
 * read-only list, the key paths and the language may be used from any
 * thread.
 *
 * Failures: nothing here fails by exception. Value reads report every
 * problem (missing value, wrong type, bad string) as
 * ::OSTRA_E_OPERATION_FAILED; only opening and deleting keys tell a missing
 * key (::OSTRA_E_FILE_NOT_FOUND).
 * @{ */

/** A registry key; ostra_registry_key_new() makes a closed one. */
typedef struct ostra_registry_key ostra_registry_key;

/** \name Roots; any value but 1 opens under HKEY_CURRENT_USER */
/**@{*/
#define OSTRA_REGISTRY_ROOT_USER 0         /**< HKEY_CURRENT_USER */
#define OSTRA_REGISTRY_ROOT_APPLICATION 1  /**< HKEY_LOCAL_MACHINE */
/**@}*/

/** \name Access; only the two low bits count */
/**@{*/
#define OSTRA_REGISTRY_ACCESS_ALL 0         /**< KEY_ALL_ACCESS */
#define OSTRA_REGISTRY_ACCESS_READ 1        /**< KEY_READ */
#define OSTRA_REGISTRY_ACCESS_WRITE 2       /**< KEY_WRITE */
#define OSTRA_REGISTRY_ACCESS_READ_WRITE 3  /**< KEY_READ and KEY_WRITE */
/**@}*/

/** The largest binary value ostra_registry_key_set_binary_value() writes. */
#define OSTRA_REGISTRY_MAX_BINARY_VALUE_SIZE 4096u

/** A closed key: root user, empty path, full access for later opens. */
OSTRA_C_API ostra_result ostra_registry_key_new(ostra_registry_key** out_key);
/** Releases the handle; the key closes when its last sharer goes. Null is
 * ignored. */
OSTRA_C_API ostra_result ostra_registry_key_destroy(ostra_registry_key* key);
/** A new key sharing the handle, path and root of `key`, with full access
 * for the keys opened under it later. */
OSTRA_C_API ostra_result ostra_registry_key_copy(const ostra_registry_key* key,
                                                 ostra_registry_key** out_copy);
/** Exchanges the shared handles and paths of the two keys; roots and
 * access stay. */
OSTRA_C_API ostra_result ostra_registry_key_swap(ostra_registry_key* key,
                                                 ostra_registry_key* other);
/** Opens path under a root with an access (OSTRA_REGISTRY_...). Path, root
 * and access are stored first, so they change even when the call fails; a
 * failed open keeps the handle the key had. A missing key gives
 * ::OSTRA_E_FILE_NOT_FOUND, any other failure ::OSTRA_E_OPERATION_FAILED. */
OSTRA_C_API ostra_result ostra_registry_key_open(ostra_registry_key* key, int32_t root,
                                                 const uint16_t* path, int32_t access);
/** Opens path under the parent's handle with the parent's access and root. */
OSTRA_C_API ostra_result ostra_registry_key_open_under(ostra_registry_key* key,
                                                       ostra_registry_key* parent,
                                                       const uint16_t* path);
/** Opens the key if it exists (::OSTRA_KEY_ALREADY_EXISTS), else creates it
 * (::OSTRA_SUCCESS); ::OSTRA_E_OPERATION_FAILED when neither works. */
OSTRA_C_API ostra_result ostra_registry_key_create(ostra_registry_key* key, int32_t root,
                                                   const uint16_t* path);
/** As ostra_registry_key_create() under the parent's handle. */
OSTRA_C_API ostra_result ostra_registry_key_create_under(ostra_registry_key* key,
                                                         ostra_registry_key* parent,
                                                         const uint16_t* path);
/** A REG_BINARY value into the caller's bytes, by the output rule without
 * a NUL: *out_size receives its size. An empty name is the key's default
 * value (as for every value function). */
OSTRA_C_API ostra_result ostra_registry_key_get_binary_value(const ostra_registry_key* key,
                                                             const uint16_t* name, void* out,
                                                             size_t capacity,
                                                             size_t* out_size);
/** A REG_DWORD as a truth value; *out_value is 0 on any failure. */
OSTRA_C_API ostra_result ostra_registry_key_get_boolean_value(const ostra_registry_key* key,
                                                              const uint16_t* name,
                                                              int32_t* out_value);
/** A REG_SZ or REG_EXPAND_SZ (unexpanded) up to its first NUL; a stored
 * string with an odd byte count or no terminating NUL fails. */
OSTRA_C_API ostra_result ostra_registry_key_get_string_value(const ostra_registry_key* key,
                                                             const uint16_t* name, uint16_t* out,
                                                             size_t capacity,
                                                             size_t* out_length);
/** A REG_DWORD. */
OSTRA_C_API ostra_result ostra_registry_key_get_uint32_value(const ostra_registry_key* key,
                                                             const uint16_t* name,
                                                             uint32_t* out_value);
/** A REG_QWORD. It is read straight into *out_value, so a REG_DWORD
 * overwrites its low half before the type check fails. */
OSTRA_C_API ostra_result ostra_registry_key_get_uint64_value(const ostra_registry_key* key,
                                                             const uint16_t* name,
                                                             uint64_t* out_value);
/** Writes a REG_BINARY of at most ::OSTRA_REGISTRY_MAX_BINARY_VALUE_SIZE
 * bytes (data may be null when size is 0). A read-only value (as for every
 * writer) reports success and nothing is written; any failure is
 * ::OSTRA_E_OPERATION_FAILED. */
OSTRA_C_API ostra_result ostra_registry_key_set_binary_value(ostra_registry_key* key,
                                                             const uint16_t* name,
                                                             const void* data, size_t size);
/** Writes a REG_DWORD 1 or 0. */
OSTRA_C_API ostra_result ostra_registry_key_set_boolean_value(ostra_registry_key* key,
                                                              const uint16_t* name,
                                                              int32_t value);
/** Writes a REG_SZ. */
OSTRA_C_API ostra_result ostra_registry_key_set_string_value(ostra_registry_key* key,
                                                             const uint16_t* name,
                                                             const uint16_t* value);
/** Writes a REG_DWORD. */
OSTRA_C_API ostra_result ostra_registry_key_set_uint32_value(ostra_registry_key* key,
                                                             const uint16_t* name,
                                                             uint32_t value);
/** Writes a REG_QWORD. */
OSTRA_C_API ostra_result ostra_registry_key_set_uint64_value(ostra_registry_key* key,
                                                             const uint16_t* name,
                                                             uint64_t value);
/** Deletes a value, read-only or not; any failure, a missing value
 * included, is ::OSTRA_E_OPERATION_FAILED. */
OSTRA_C_API ostra_result ostra_registry_key_delete_value(ostra_registry_key* key,
                                                         const uint16_t* name);
/** Deletes the sub-key and everything below it: ::OSTRA_E_FILE_NOT_FOUND
 * when it is missing, ::OSTRA_E_OPERATION_FAILED otherwise. */
OSTRA_C_API ostra_result ostra_registry_key_delete_sub_key(ostra_registry_key* key,
                                                           const uint16_t* name);
/** One new, open key per sub-key into out_keys (each reports its leaf name
 * as its path; destroy each), by the output rule counted in keys:
 * *out_count receives how many there are, and no key is made when they do
 * not fit. */
OSTRA_C_API ostra_result ostra_registry_key_enumerate_sub_keys(ostra_registry_key* key,
                                                               ostra_registry_key** out_keys,
                                                               size_t capacity,
                                                               size_t* out_count);
/** The path given to the last open or create, relative to what the key was
 * opened under. */
OSTRA_C_API ostra_result ostra_registry_key_get_parent_key_path(const ostra_registry_key* key,
                                                                uint16_t* out, size_t capacity,
                                                                size_t* out_length);
/** The same whole path, not its last component. */
OSTRA_C_API ostra_result ostra_registry_key_get_parent_key_path_last_part(
    const ostra_registry_key* key, uint16_t* out, size_t capacity, size_t* out_length);
/** Declares value `name` of this key read-only for the rest of the process;
 * a value is known by root, stored path and name run together. */
OSTRA_C_API ostra_result ostra_registry_key_set_read_only(ostra_registry_key* key,
                                                          const uint16_t* name);
/** Whether value `name` of this key was declared read-only. */
OSTRA_C_API ostra_result ostra_registry_key_is_read_only(const ostra_registry_key* key,
                                                         const uint16_t* name,
                                                         int32_t* out_answer);
/** Does nothing: every change reaches the registry when it is made. */
OSTRA_C_API ostra_result ostra_registry_key_sync_app_prefs(ostra_registry_key* key);
/** Whether changes reach the registry at once: always 1. */
OSTRA_C_API ostra_result ostra_registry_should_flush_every_change_immediately(
    int32_t* out_answer);

/** `Software\Corvane\<client>\<version>\` */
OSTRA_C_API ostra_result ostra_registry_base_key(uint16_t* out, size_t capacity,
                                                 size_t* out_length);
/** `Software\Corvane\<client>\CurrentVersion`, without a trailing separator. */
OSTRA_C_API ostra_result ostra_registry_current_version_key(uint16_t* out, size_t capacity,
                                                            size_t* out_length);
/** The base key followed by "Help\". */
OSTRA_C_API ostra_result ostra_registry_help_key(uint16_t* out, size_t capacity,
                                                 size_t* out_length);
/** The base key followed by "Settings\". */
OSTRA_C_API ostra_result ostra_registry_settings_key(uint16_t* out, size_t capacity,
                                                     size_t* out_length);

/** The process's language identifier; the registry is read on the first
 * call only, and not at all once a setter has run. */
OSTRA_C_API ostra_result ostra_language_get_id(uint16_t* out_language_id);
/** The language identifier without its sub-language. */
OSTRA_C_API ostra_result ostra_language_get_primary_id(uint16_t* out_language_id);
/** Sets the identifier for this process only. */
OSTRA_C_API ostra_result ostra_language_set_id(uint16_t language_id);
/** The locale code of the identifier ("ja_JP"); "en_US" for an identifier
 * without one of the sixteen known codes. */
OSTRA_C_API ostra_result ostra_language_get_string(uint16_t* out, size_t capacity,
                                                   size_t* out_length);
/** Sets the identifier from one of the sixteen locale codes or else from
 * the decimal number the text starts with; text that is neither gives 0. */
OSTRA_C_API ostra_result ostra_language_set_string(const uint16_t* locale_code);

/** @} */

/* ==================================================================== */
/** \defgroup ostra_c_modules Modules and localised resources
 * An ::ostra_module is one loaded executable module (a DLL or the program
 * itself): it finds exported functions, reports its file path, and finds
 * and maps its embedded resources, optionally in the user-interface
 * language. Resource names and types are texts or integer ids made with
 * OSTRA_RESOURCE_ID(). Resource pointers belong to the module and stay
 * valid while it is loaded; a resource that is not found gives a null
 * pointer and success, with its size untouched.
 *
 * Threading: lookups may run on several threads at once;
 * ostra_module_get_path() and ostra_module_set_unload_on_destroy() need one
 * thread at a time.
 * @{ */

/** A module; ostra_module_load() or ostra_module_create() makes one. */
typedef struct ostra_module ostra_module;

/** An exported function as the system finds it; cast it to its real type. */
typedef void (*ostra_proc)(void);

/** An integer resource name or type, as MAKEINTRESOURCEW makes it. */
#define OSTRA_RESOURCE_ID(id) ((const uint16_t*)(uintptr_t)(uint16_t)(id))

/** Loads the module (LoadLibraryW); destroying the handle frees it unless
 * told otherwise. The translated loader error on failure (a missing
 * module, error 126, is ::OSTRA_E_UNKNOWN); an empty path
 * ::OSTRA_E_CONTRACT_VIOLATION. */
OSTRA_C_API ostra_result ostra_module_load(const uint16_t* path, ostra_module** out_module);
/** Wraps a module handle (an HMODULE) the caller has, without ever freeing
 * it; null (may be null) stands for the program's own executable. */
OSTRA_C_API ostra_result ostra_module_create(void* module_handle, ostra_module** out_module);
/** Releases the handle, freeing a module loaded to be freed; null is
 * ignored. */
OSTRA_C_API ostra_result ostra_module_destroy(ostra_module* module);
/** The copy in the user-interface language, else the one the system
 * chooses for the neutral language. */
OSTRA_C_API ostra_result ostra_module_find_localized_resource(const ostra_module* module,
                                                              const uint16_t* name,
                                                              const uint16_t* type,
                                                              const void** out_data,
                                                              int32_t* out_size);
/** The English (United States) copy only. */
OSTRA_C_API ostra_result ostra_module_find_non_localized_resource(const ostra_module* module,
                                                                  const uint16_t* name,
                                                                  const uint16_t* type,
                                                                  const void** out_data,
                                                                  int32_t* out_size);
/** The copy the system chooses (FindResourceW). */
OSTRA_C_API ostra_result ostra_module_load_resource(const ostra_module* module,
                                                    const uint16_t* name, const uint16_t* type,
                                                    const void** out_data, int32_t* out_size);
/** ostra_module_load_resource() with the integer name `id`. */
OSTRA_C_API ostra_result ostra_module_load_resource_by_id(ostra_module* module, int16_t id,
                                                          const uint16_t* type,
                                                          const void** out_data,
                                                          int32_t* out_size);
/** The first integer-named resource of the type, localised if possible;
 * *out_size is 0 when there is none. */
OSTRA_C_API ostra_result ostra_module_load_first_resource_of_type(const ostra_module* module,
                                                                  const uint16_t* type,
                                                                  const void** out_data,
                                                                  int32_t* out_size);
/** Does nothing: mapped resources need no release. */
OSTRA_C_API ostra_result ostra_module_unload_resource(const ostra_module* module,
                                                      const void* resource);
/** The exported function of that name, or null in *out_proc. An empty name
 * is ::OSTRA_E_CONTRACT_VIOLATION. */
OSTRA_C_API ostra_result ostra_module_get_proc_address(const ostra_module* module,
                                                       const uint16_t* name,
                                                       ostra_proc* out_proc);
/** The full path of the module's file, looked up once and then kept. */
OSTRA_C_API ostra_result ostra_module_get_path(ostra_module* module, uint16_t* out,
                                               size_t capacity, size_t* out_length);
/** The module handle (HMODULE) loaded or adopted. */
OSTRA_C_API ostra_result ostra_module_get_native_handle(const ostra_module* module,
                                                        void** out_module_handle);
/** Whether destroying the handle frees the module (FreeLibrary). */
OSTRA_C_API ostra_result ostra_module_set_unload_on_destroy(ostra_module* module,
                                                            int32_t unload_on_destroy);

/** @} */

/* ==================================================================== */
/** \defgroup ostra_c_color Colour conversions
 * Conversions between 8-bit RGB, HSL and HSV as shown to users (whole
 * degrees and percent), normalised floating-point RGB, HSL and HSV,
 * studio-range 8-bit YUV (BT.601), Y'PbPr and YIQ, the analogue video
 * measures IRE and millivolts, and two restrictions to safe colours. They
 * reproduce fixed formulas exactly, oddities included: the HSL saturation
 * is the chroma, an HSL hue of a full turn gives black. Every output
 * pointer is read before the call and written after it, so an output a
 * conversion does not write keeps the caller's value; the `..._written`
 * flags, which may be null, say which were written.
 *
 * Threading: pure functions, safe from any thread. They fail only by the
 * boundary's rules.
 * @{ */

/** 8-bit RGB to hue (0..360), saturation and lightness (0..100). The
 * lightness is always written, the saturation only when the lightness is
 * not 0, the hue only when the saturation is not 0 either. */
OSTRA_C_API ostra_result ostra_color_rgb_to_hsl(uint8_t red, uint8_t green, uint8_t blue,
                                                uint32_t* io_hue, uint32_t* io_saturation,
                                                uint32_t* out_lightness,
                                                int32_t* out_hue_written,
                                                int32_t* out_saturation_written);
/** 8-bit RGB to hue, saturation and value, written as for HSL. */
OSTRA_C_API ostra_result ostra_color_rgb_to_hsv(uint8_t red, uint8_t green, uint8_t blue,
                                                uint32_t* io_hue, uint32_t* io_saturation,
                                                uint32_t* out_value, int32_t* out_hue_written,
                                                int32_t* out_saturation_written);
/** HSL to 8-bit RGB; a hue of 360 gives black. */
OSTRA_C_API ostra_result ostra_color_hsl_to_rgb(uint32_t hue, uint32_t saturation,
                                                uint32_t lightness, uint8_t* io_red,
                                                uint8_t* io_green, uint8_t* io_blue);
/** HSV to 8-bit RGB; a hue of 360 is taken as 0. */
OSTRA_C_API ostra_result ostra_color_hsv_to_rgb(uint32_t hue, uint32_t saturation,
                                                uint32_t value, uint8_t* io_red,
                                                uint8_t* io_green, uint8_t* io_blue);
/** HSL to HSV; the hue passes through, and for black the saturation comes
 * back unchanged. */
OSTRA_C_API ostra_result ostra_color_hsl_to_hsv(uint32_t hue, uint32_t saturation,
                                                uint32_t lightness, uint32_t* io_hue,
                                                uint32_t* io_saturation, uint32_t* io_value);
/** HSV to HSL. */
OSTRA_C_API ostra_result ostra_color_hsv_to_hsl(uint32_t hue, uint32_t saturation,
                                                uint32_t value, uint32_t* io_hue,
                                                uint32_t* io_saturation,
                                                uint32_t* io_lightness);
/** 8-bit RGB to studio-range Y (16..235) and U, V centred on 0. */
OSTRA_C_API ostra_result ostra_color_rgb_to_yuv(uint8_t red, uint8_t green, uint8_t blue,
                                                uint8_t* io_y, int8_t* io_u, int8_t* io_v);
/** YUV to 8-bit RGB, each channel clamped to 0..255; *out_in_range is 1
 * when at least one channel needed no clamping. */
OSTRA_C_API ostra_result ostra_color_yuv_to_rgb(uint8_t y, int8_t u, int8_t v, uint8_t* io_red,
                                                uint8_t* io_green, uint8_t* io_blue,
                                                int32_t* out_in_range);
/** The same in single precision; channels rounded half away from zero,
 * then clamped. */
OSTRA_C_API ostra_result ostra_color_yuv_to_rgb_f(float y, float u, float v, uint8_t* io_red,
                                                  uint8_t* io_green, uint8_t* io_blue);
/** HSL to YUV. */
OSTRA_C_API ostra_result ostra_color_hsl_to_yuv(uint32_t hue, uint32_t saturation,
                                                uint32_t lightness, uint8_t* io_y,
                                                int8_t* io_u, int8_t* io_v);
/** HSV to YUV. */
OSTRA_C_API ostra_result ostra_color_hsv_to_yuv(uint32_t hue, uint32_t saturation,
                                                uint32_t value, uint8_t* io_y, int8_t* io_u,
                                                int8_t* io_v);
/** YUV to HSL; outputs the RGB-to-HSL step does not write keep their values. */
OSTRA_C_API ostra_result ostra_color_yuv_to_hsl(uint8_t y, int8_t u, int8_t v, uint32_t* io_hue,
                                                uint32_t* io_saturation,
                                                uint32_t* io_lightness);
/** YUV to HSV, as above. */
OSTRA_C_API ostra_result ostra_color_yuv_to_hsv(uint8_t y, int8_t u, int8_t v, uint32_t* io_hue,
                                                uint32_t* io_saturation, uint32_t* io_value);
/** RGB in 0..1 to Y' (0..1), Pb and Pr (-0.5..0.5). */
OSTRA_C_API ostra_result ostra_color_rgb_to_ypbpr(float red, float green, float blue,
                                                  float* io_y, float* io_pb, float* io_pr);
/** Y'PbPr to RGB in 0..1. */
OSTRA_C_API ostra_result ostra_color_ypbpr_to_rgb(float y, float pb, float pr, float* io_red,
                                                  float* io_green, float* io_blue);
/** Y'PbPr to YIQ: I and Q are Pr and Pb rotated by 33 degrees. */
OSTRA_C_API ostra_result ostra_color_ypbpr_to_yiq(float y, float pb, float pr, float* io_y,
                                                  float* io_i, float* io_q);
/** Y'PbPr to normalised HSL; outputs not written keep their values. */
OSTRA_C_API ostra_result ostra_color_ypbpr_to_hsl(float y, float pb, float pr, float* io_hue,
                                                  float* io_saturation, float* io_lightness);
/** The hue of a colour difference, 0..1. */
OSTRA_C_API ostra_result ostra_color_pbpr_to_hue(float pb, float pr, float* io_hue);
/** Luma and chroma of RGB in 0..1 in IRE units (100 IRE = white). */
OSTRA_C_API ostra_result ostra_color_rgb_to_ire(float red, float green, float blue,
                                                float* io_luma, float* io_chroma);
/** Luma and chroma of RGB in 0..1 in millivolts (7.142857 mV per IRE). */
OSTRA_C_API ostra_result ostra_color_rgb_to_mv(float red, float green, float blue,
                                               float* io_luma, float* io_chroma);
/** Luma and chroma of Y'PbPr in IRE units. */
OSTRA_C_API ostra_result ostra_color_ypbpr_to_ire(float y, float pb, float pr, float* io_luma,
                                                  float* io_chroma);
/** Luma and chroma of Y'PbPr in millivolts. */
OSTRA_C_API ostra_result ostra_color_ypbpr_to_mv(float y, float pb, float pr, float* io_luma,
                                                 float* io_chroma);
/** Normalised RGB to HSL, everything in 0..1, written as the 8-bit form. */
OSTRA_C_API ostra_result ostra_color_normalized_rgb_to_hsl(float red, float green, float blue,
                                                           float* io_hue, float* io_saturation,
                                                           float* out_lightness,
                                                           int32_t* out_hue_written,
                                                           int32_t* out_saturation_written);
/** Normalised RGB to HSV, everything in 0..1, written as the 8-bit form. */
OSTRA_C_API ostra_result ostra_color_normalized_rgb_to_hsv(float red, float green, float blue,
                                                           float* io_hue, float* io_saturation,
                                                           float* out_value,
                                                           int32_t* out_hue_written,
                                                           int32_t* out_saturation_written);
/** Normalised HSL to RGB; a hue of 1 gives black. */
OSTRA_C_API ostra_result ostra_color_normalized_hsl_to_rgb(float hue, float saturation,
                                                           float lightness, float* io_red,
                                                           float* io_green, float* io_blue);
/** Normalised HSV to RGB; a hue of 1 is taken as 0, a hue outside 0..1
 * leaves the outputs untouched. */
OSTRA_C_API ostra_result ostra_color_normalized_hsv_to_rgb(float hue, float saturation,
                                                           float value, float* io_red,
                                                           float* io_green, float* io_blue);
/** Copies the colour unchanged with *out_was_safe 1: no colour is restricted. */
OSTRA_C_API ostra_result ostra_color_make_rgb_ntsc_safe(uint8_t red, uint8_t green,
                                                        uint8_t blue, uint8_t* io_red,
                                                        uint8_t* io_green, uint8_t* io_blue,
                                                        int32_t* out_was_safe);
/** Clears the low five bits of each channel; *out_was_safe is 1 when the
 * colour was already safe. */
OSTRA_C_API ostra_result ostra_color_make_rgb_web_safe(uint8_t red, uint8_t green, uint8_t blue,
                                                       uint8_t* io_red, uint8_t* io_green,
                                                       uint8_t* io_blue, int32_t* out_was_safe);

/** @} */

/* ==================================================================== */
/** \defgroup ostra_c_time Time stamps, timecode and time display
 * Time stamps are readings of the C runtime's process clock (one tick a
 * millisecond) reported relative to the moment the library was loaded: a
 * stamp is its clock reading, a double.
 *
 * Media time is a signed 64-bit count of ticks, ::OSTRA_TICKS_PER_SECOND to
 * the second, and a frame rate is the length of one frame in ticks
 * (OSTRA_FRAME_RATE_...). A display format (OSTRA_TIME_DISPLAY_...) fixes
 * how many frames a second shows and the text layout: "HH:MM:SS:FF",
 * drop-frame "HH:MM:SS;FF", a frame count "1234", feet and frames
 * "0012+07". An ::ostra_timecode is a time tied to the rate and format it
 * is shown in, with a style of writing (::ostra_timecode_style).
 *
 * Threading: all functions are safe from any thread; a timecode handle
 * belongs to one thread at a time. Failures: nothing here fails but by the
 * boundary's rules or where a function says so; text that cannot be read
 * gives time zero, a rate that is not valid empty text.
 * @{ */

/** The clock reading now: a stamp, in clock ticks (milliseconds). */
OSTRA_C_API ostra_result ostra_time_stamp_now(double* out_clock_reading);
/** The clock reading taken when the library was loaded. */
OSTRA_C_API ostra_result ostra_time_stamp_start(double* out_clock_reading);
/** Milliseconds from the start time to the stamp (negative for a stamp
 * before it). */
OSTRA_C_API ostra_result ostra_time_stamp_elapsed_milliseconds(double clock_reading,
                                                               double* out_milliseconds);
/** The elapsed time in microseconds. */
OSTRA_C_API ostra_result ostra_time_stamp_elapsed_microseconds(double clock_reading,
                                                               double* out_microseconds);
/** The elapsed time in seconds. */
OSTRA_C_API ostra_result ostra_time_stamp_elapsed_seconds(double clock_reading,
                                                          double* out_seconds);
/** The elapsed time split into whole seconds and the remaining whole
 * milliseconds, truncated toward zero with the sign of the elapsed time;
 * the microseconds part is always 0. */
OSTRA_C_API ostra_result ostra_time_stamp_parts(double clock_reading, int32_t* out_seconds,
                                                int32_t* out_milliseconds,
                                                int32_t* out_microseconds);

/** Ticks of media time in one second. */
#define OSTRA_TICKS_PER_SECOND INT64_C(254016000000)
/** \name Frame rates, in ticks per frame */
/**@{*/
#define OSTRA_FRAME_RATE_NONE INT64_MAX                 /**< no rate */
#define OSTRA_FRAME_RATE_FILM24 INT64_C(10584000000)    /**< 24 */
#define OSTRA_FRAME_RATE_FILM_NTSC INT64_C(10594584000) /**< 24000/1001 */
#define OSTRA_FRAME_RATE_VIDEO_PAL INT64_C(10160640000) /**< 25 */
#define OSTRA_FRAME_RATE_VIDEO30 INT64_C(8467200000)    /**< 30 */
#define OSTRA_FRAME_RATE_VIDEO_NTSC INT64_C(8475667200) /**< 30000/1001 */
#define OSTRA_FRAME_RATE_VIDEO50 INT64_C(5080320000)    /**< 50 */
#define OSTRA_FRAME_RATE_VIDEO_NTSC60 INT64_C(4237833600) /**< 60000/1001 */
#define OSTRA_FRAME_RATE_VIDEO60 INT64_C(4233600000)    /**< 60 */
/**@}*/

/** \name Display formats */
/**@{*/
#define OSTRA_TIME_DISPLAY_TIMECODE24 100              /**< 24 */
#define OSTRA_TIME_DISPLAY_TIMECODE25 101              /**< 25 */
#define OSTRA_TIME_DISPLAY_TIMECODE_NTSC_DROP 102      /**< 30000/1001 drop-frame */
#define OSTRA_TIME_DISPLAY_TIMECODE_NTSC_NON_DROP 103  /**< 30000/1001, every label */
#define OSTRA_TIME_DISPLAY_TIMECODE30 104              /**< 30 */
#define OSTRA_TIME_DISPLAY_TIMECODE50 105              /**< 50 */
#define OSTRA_TIME_DISPLAY_TIMECODE_NTSC60_DROP 106    /**< 60000/1001 drop-frame */
#define OSTRA_TIME_DISPLAY_TIMECODE_NTSC60_NON_DROP 107 /**< 60000/1001, every label */
#define OSTRA_TIME_DISPLAY_TIMECODE60 108              /**< 60 */
#define OSTRA_TIME_DISPLAY_FRAME_COUNT 109             /**< a plain frame count */
#define OSTRA_TIME_DISPLAY_TIMECODE_FILM_NTSC 110      /**< 24000/1001, every label */
#define OSTRA_TIME_DISPLAY_FEET_FRAMES40 111           /**< 40 frames to the foot */
#define OSTRA_TIME_DISPLAY_FEET_FRAMES16 112           /**< 16 frames to the foot */
/**@}*/

/** \name Timecode flags (bits) of ostra_time_to_timecode() and
 * ostra_timecode_to_time() */
/**@{*/
#define OSTRA_TIMECODE_NO_LEADING_ZEROS 0x1u      /**< the leading field not zero-padded */
#define OSTRA_TIMECODE_NO_DROP_FRAME_SEPARATOR 0x2u /**< drop-frame written with ':' */
#define OSTRA_TIMECODE_SIGNED_NEGATIVE 0x4u       /**< '-' instead of a 24-hour wrap */
#define OSTRA_TIMECODE_UNWRAPPED_HOURS 0x8u       /**< hours of 24 or more */
#define OSTRA_TIMECODE_SIGNED_POSITIVE 0x20u      /**< '+' before times of zero or more */
/**@}*/

/** The rate of numerator / denominator frames per second (30000, 1001 for
 * NTSC video) in ticks per frame; ::OSTRA_FRAME_RATE_NONE when either is
 * not positive or the frame is shorter than a tick. */
OSTRA_C_API ostra_result ostra_frame_rate_from_frames_per_second(int64_t numerator,
                                                                 int64_t denominator,
                                                                 int64_t* out_frame_rate);
/** The number of the frame of the rate that contains the time; 0 when the
 * rate is not valid. */
OSTRA_C_API ostra_result ostra_time_to_frames(int64_t time, int64_t frame_rate,
                                              int64_t* out_frame);
/** The start of the frame, saturating at the ends of the range. */
OSTRA_C_API ostra_result ostra_frames_to_time(int64_t frame, int64_t frame_rate,
                                              int64_t* out_time);
/** The text of the frame that contains the time in the format, written with
 * the flags (OSTRA_TIMECODE_...). Formats other than those above give
 * empty text; values outside 0..127 are ::OSTRA_E_INVALID_ARGUMENT. */
OSTRA_C_API ostra_result ostra_time_to_timecode(int64_t time, int64_t frame_rate,
                                                int32_t format, uint32_t flags, uint16_t* out,
                                                size_t capacity, size_t* out_length);
/** The start of the frame the text names; text that cannot be read gives 0. */
OSTRA_C_API ostra_result ostra_timecode_to_time(const uint16_t* text, int64_t frame_rate,
                                                int32_t format, uint32_t flags,
                                                int64_t* out_time);
/** The fields of the frame that contains the time (drop-frame labels for
 * drop-frame formats) and whether it is negative. */
OSTRA_C_API ostra_result ostra_time_to_hmsf(int64_t time, int64_t frame_rate, int32_t format,
                                            uint32_t* out_hours, uint32_t* out_minutes,
                                            uint32_t* out_seconds, uint64_t* out_frames,
                                            int32_t* out_negative);
/** The start of the frame with the fields, negated when `negative`. */
OSTRA_C_API ostra_result ostra_hmsf_to_time(uint32_t hours, uint32_t minutes, uint32_t seconds,
                                            uint64_t frames, int32_t negative,
                                            int64_t frame_rate, int32_t format,
                                            int64_t* out_time);
/** Whether the format shows hours, minutes, seconds and frames; without
 * count_drop_frame the drop-frame formats are left out. */
OSTRA_C_API ostra_result ostra_time_display_is_hmsf(int32_t format, int32_t count_drop_frame,
                                                    int32_t* out_answer);
/** Whether the format is one of the two drop-frame formats. */
OSTRA_C_API ostra_result ostra_time_display_is_drop_frame(int32_t format, int32_t* out_answer);
/** The frames a second shows in an HMSF format; 0 for the others. */
OSTRA_C_API ostra_result ostra_time_display_nominal_frames_per_second(
    int32_t format, uint32_t* out_frames_per_second);

/** A timecode; ostra_timecode_new() makes one. */
typedef struct ostra_timecode ostra_timecode;

/** How a timecode is written; each field drives one timecode flag. */
typedef struct ostra_timecode_style {
  uint32_t struct_size;     /**< set by the caller: sizeof(ostra_timecode_style) */
  uint32_t style_value;     /**< 0: the leading field is not zero-padded; default 1 */
  int32_t option_a;         /**< drop-frame formats written with ':' throughout */
  int32_t allow_negative;   /**< '-' for negative times, no 24-hour wrap of ostra_timecode_get_hmsf() */
  int32_t option_b;         /**< hours do not wrap at 24, also when parsing */
  int32_t option_c;         /**< '+' before times of zero or more */
} ostra_timecode_style;

/** A timecode of the time, rate and format, in the style (may be null: the
 * default style). */
OSTRA_C_API ostra_result ostra_timecode_new(int64_t time, int64_t frame_rate, int32_t format,
                                            const ostra_timecode_style* style,
                                            ostra_timecode** out_timecode);
/** Releases the handle; null is ignored. */
OSTRA_C_API ostra_result ostra_timecode_destroy(ostra_timecode* timecode);
/** An independent copy. */
OSTRA_C_API ostra_result ostra_timecode_copy(const ostra_timecode* timecode,
                                             ostra_timecode** out_copy);
/** The time in ticks. */
OSTRA_C_API ostra_result ostra_timecode_get_time(const ostra_timecode* timecode,
                                                 int64_t* out_time);
/** Sets the time in ticks. */
OSTRA_C_API ostra_result ostra_timecode_set_time(ostra_timecode* timecode, int64_t time);
/** The frame rate in ticks per frame. */
OSTRA_C_API ostra_result ostra_timecode_get_frame_rate(const ostra_timecode* timecode,
                                                       int64_t* out_frame_rate);
/** The display format. */
OSTRA_C_API ostra_result ostra_timecode_get_format(const ostra_timecode* timecode,
                                                   int32_t* out_format);
/** Sets the format and the rate together. */
OSTRA_C_API ostra_result ostra_timecode_set_format(ostra_timecode* timecode, int32_t format,
                                                   int64_t frame_rate);
/** The style into *out_style (struct_size set by the caller). */
OSTRA_C_API ostra_result ostra_timecode_get_style(const ostra_timecode* timecode,
                                                  ostra_timecode_style* out_style);
/** Sets the style. */
OSTRA_C_API ostra_result ostra_timecode_set_style(ostra_timecode* timecode,
                                                  const ostra_timecode_style* style);
/** The timecode flags a style gives for writing. */
OSTRA_C_API ostra_result ostra_timecode_style_formatting_flags(const ostra_timecode_style* style,
                                                               uint32_t* out_flags);
/** The timecode flags a style gives for reading. */
OSTRA_C_API ostra_result ostra_timecode_style_parsing_flags(const ostra_timecode_style* style,
                                                            uint32_t* out_flags);
/** The timecode text in the format and style. */
OSTRA_C_API ostra_result ostra_timecode_get_string(const ostra_timecode* timecode, uint16_t* out,
                                                   size_t capacity, size_t* out_length);
/** Sets the time from text at the stored rate and format; text that cannot
 * be read sets time zero. */
OSTRA_C_API ostra_result ostra_timecode_set_string(ostra_timecode* timecode,
                                                   const uint16_t* text);
/** The time of the text at a rate and format; unwrapped_hours accepts hours
 * of 24 or more. */
OSTRA_C_API ostra_result ostra_timecode_string_to_time(const uint16_t* text, int64_t frame_rate,
                                                       int32_t format, int32_t unwrapped_hours,
                                                       int64_t* out_time);
/** The displayed fields. A negative time without allow_negative reads as 23
 * - hours with the magnitude's other fields. ::OSTRA_E_FAILURE, with
 * nothing written, when the format is not an HMSF format. */
OSTRA_C_API ostra_result ostra_timecode_get_hmsf(const ostra_timecode* timecode,
                                                 int32_t* out_hours, int32_t* out_minutes,
                                                 int32_t* out_seconds, int64_t* out_frames);
/** Moves the time by the fields; the move is backwards when any field is
 * negative, by the fields' magnitudes taken together. */
OSTRA_C_API ostra_result ostra_timecode_increment_hmsf(ostra_timecode* timecode, int32_t hours,
                                                       int32_t minutes, int32_t seconds,
                                                       int32_t frames);
/** Moves the time by feet and frames: 16 frames to the foot in the 16-frame
 * feet format, 40 in every other. */
OSTRA_C_API ostra_result ostra_timecode_increment_feet_frames(ostra_timecode* timecode,
                                                              int32_t feet, int32_t frames);
/** Sets `target` to `source` re-expressed at the rate and format keeping
 * its HMSF reading, frames scaled by the ratio of the rates. A copy of the
 * source and ::OSTRA_E_FAILURE when either format is not HMSF. */
OSTRA_C_API ostra_result ostra_timecode_conform(const ostra_timecode* source, int64_t frame_rate,
                                                int32_t format, ostra_timecode* target);

/** @} */

/* ==================================================================== */
/** \defgroup ostra_c_services Idle timer, stations and automation results
 * The library's six message stations, listeners of C callbacks on them,
 * the idle countdown timer, and the process-wide collector of automation
 * results.
 *
 * An ::ostra_idle_timer, once armed, waits for the application's idle
 * messages (ostra_broadcast_application_idle()) and, at the first one at or
 * after the deadline (now + duration), stops listening and broadcasts an
 * idle-countdown message carrying its cookie on its own station. It is
 * one-shot: arm it again, also from inside a listener of its message.
 *
 * Threading: stations and listeners may be used from any thread; a
 * broadcast calls the listeners on the broadcasting thread. A timer takes
 * no locks and belongs to the thread that broadcasts the idle messages
 * (the main thread in normal use). The automation collector takes no lock
 * either: feed it from one thread at a time.
 * @{ */

/** \name Stations (ostra_station_id()) */
/**@{*/
#define OSTRA_STATION_IDLE 0          /**< "ostra.idle" */
#define OSTRA_STATION_REPEAT 1        /**< "ostra.repeat" */
#define OSTRA_STATION_APP_SUSPEND 2   /**< "ostra.app.suspend" */
#define OSTRA_STATION_APP_RESUME 3    /**< "ostra.app.resume" */
#define OSTRA_STATION_ABOUT_DIALOG 4  /**< "ostra.aboutdialog" */
#define OSTRA_STATION_STATUS_BAR 5    /**< "ostra.app.status.bar" */
/**@}*/

/** \name Kinds of message a listener receives */
/**@{*/
#define OSTRA_MESSAGE_OTHER 0             /**< a message of another kind */
#define OSTRA_MESSAGE_APPLICATION_IDLE 1  /**< the application is idle */
#define OSTRA_MESSAGE_IDLE_COUNTDOWN 2    /**< an idle timer fired; the cookie is its */
/**@}*/

/** The name of one of the six stations (OSTRA_STATION_...). */
OSTRA_C_API ostra_result ostra_station_id(int32_t which, uint16_t* out, size_t capacity,
                                          size_t* out_length);

/** A listener on one station; ostra_listener_new() makes one. */
typedef struct ostra_listener ostra_listener;

/** Receives each message broadcast on the listener's station: its kind
 * (OSTRA_MESSAGE_...) and, for an idle countdown, the timer's cookie (0
 * otherwise). */
typedef void (*ostra_message_callback)(void* context, int32_t message_kind, uint32_t cookie);

/** Attaches a listener to a registered station; ::OSTRA_E_INVALID_ARGUMENT
 * when the station is not registered. */
OSTRA_C_API ostra_result ostra_listener_new(const uint16_t* station,
                                            ostra_message_callback callback, void* context,
                                            ostra_listener** out_listener);
/** Detaches the listener and releases it; null is ignored. It must not be
 * destroyed while another thread broadcasts to it. */
OSTRA_C_API ostra_result ostra_listener_destroy(ostra_listener* listener);
/** Announces idle time: broadcasts the application idle message on the
 * idle station now, on this thread; out_count receives how many listeners
 * heard it. */
OSTRA_C_API ostra_result ostra_broadcast_application_idle(uint64_t* out_count);
/** Posts an idle-countdown message with the cookie for broadcast on the
 * station when the main thread next runs its calls
 * (ostra_run_main_thread_calls()). */
OSTRA_C_API ostra_result ostra_post_idle_countdown_message(const uint16_t* station,
                                                           uint32_t cookie);

/** An idle countdown timer; ostra_idle_timer_new() makes one. */
typedef struct ostra_idle_timer ostra_idle_timer;

/** A timer that is not armed, with a station of its own. */
OSTRA_C_API ostra_result ostra_idle_timer_new(ostra_idle_timer** out_timer);
/** Detaches the timer from the idle station, disposes of its station and
 * releases it; null is ignored. */
OSTRA_C_API ostra_result ostra_idle_timer_destroy(ostra_idle_timer* timer);
/** Milliseconds; takes effect at the next ostra_idle_timer_arm(). */
OSTRA_C_API ostra_result ostra_idle_timer_set_duration(ostra_idle_timer* timer,
                                                       uint32_t milliseconds);
/** The cookie sent when the timer fires (the one current then). */
OSTRA_C_API ostra_result ostra_idle_timer_set_cookie(ostra_idle_timer* timer, uint32_t cookie);
/** Sets the deadline to now + duration and listens for idle messages; when
 * already armed, only moves the deadline. Deadlines are milliseconds of
 * library uptime in 32 bits: they wrap after about 49.7 days. */
OSTRA_C_API ostra_result ostra_idle_timer_arm(ostra_idle_timer* timer);
/** The station where the timer's message is broadcast. */
OSTRA_C_API ostra_result ostra_idle_timer_get_station_id(const ostra_idle_timer* timer,
                                                         uint16_t* out, size_t capacity,
                                                         size_t* out_length);

/** \name Reserved names of the automation collector (ostra_automation_tag()) */
/**@{*/
#define OSTRA_AUTOMATION_ERROR_TAG 0        /**< "__Error" */
#define OSTRA_AUTOMATION_PERFORMANCE_TAG 1  /**< "__Performance" */
#define OSTRA_AUTOMATION_RESULTS_TAG 2      /**< "__Results" */
#define OSTRA_AUTOMATION_SUCCESS_TAG 3      /**< "__Success" */
/**@}*/

/** One of the reserved names (OSTRA_AUTOMATION_..._TAG). */
OSTRA_C_API ostra_result ostra_automation_tag(int32_t which, uint16_t* out, size_t capacity,
                                              size_t* out_length);
/** Appends the result (name, value) under the key. */
OSTRA_C_API ostra_result ostra_automation_add_result(const uint16_t* key, const uint16_t* name,
                                                     const uint16_t* value);
/** Appends results given as a list of names and values in turn (name,
 * value, name, value, ...) under the key, which exists afterwards even when
 * the list is empty; a list of odd length is ::OSTRA_E_INVALID_ARGUMENT. */
OSTRA_C_API ostra_result ostra_automation_add_results(const uint16_t* key,
                                                      const ostra_string_list* names_and_values);
/** Forgets every key and result. */
OSTRA_C_API ostra_result ostra_automation_clear(void);
/** The keys collected, in string order. */
OSTRA_C_API ostra_result ostra_automation_get_keys(ostra_string_list* out_keys);
/** The results under the key, names and values in turn, in the order they
 * were added; empty for a key not collected. */
OSTRA_C_API ostra_result ostra_automation_get_results(const uint16_t* key,
                                                      ostra_string_list* out_names_and_values);
/** The pair ("__Performance", "True") that marks a run as a performance
 * test; file it with ostra_automation_add_result(). Records nothing. */
OSTRA_C_API ostra_result ostra_automation_specify_performance_test(
    uint16_t* out_name, size_t name_capacity, size_t* out_name_length, uint16_t* out_value,
    size_t value_capacity, size_t* out_value_length);

/** @} */

#ifdef __cplusplus
}  /* extern "C" */
#endif

#endif /* OSTRA_OSTRA_H */
