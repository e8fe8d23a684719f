// Paths, disks, directories and the directory registry.
#include "Boundary.h"
#include "Ostra/Directory.h"
#include "Ostra/DirectoryRegistry.h"
#include "Ostra/DiskUtils.h"
#include "Ostra/PathUtils.h"

using namespace OstraC;
namespace PathUtils = Ostra::PathUtils;

struct ostra_directory {
  static constexpr HandleKind kKind = HandleKind::kDirectory;
  explicit ostra_directory(const Ostra::Directory& inDirectory) : mDirectory(inDirectory) {}
  Ostra::Directory mDirectory;
};

namespace {

// A path string function of one text, its answer copied out.
template <class Function>
ostra_result PathText(const char* inFunction, Function inFunctionOfPath, const uint16_t* inPath,
                      uint16_t* outText, size_t inCapacity, size_t* outLength) {
  return Call(inFunction, [&] {
    return Out(inFunctionOfPath(Text(inPath, "path is null")), outText, inCapacity, outLength);
  });
}

// A path query of one text, its truth value stored.
template <class Function>
ostra_result PathQuery(const char* inFunction, Function inQuery, const uint16_t* inPath,
                       int32_t* outAnswer) {
  return Call(inFunction, [&] {
    int32_t& answer = OSTRA_C_REF(outAnswer);
    answer = inQuery(Text(inPath, "path is null")) ? 1 : 0;
  });
}

Ostra::Directory::CancelFunction Cancel(ostra_cancel_callback inCancel, void* inContext) {
  if (!inCancel) return Ostra::Directory::CancelFunction();
  return [inCancel, inContext] { return inCancel(inContext) != 0; };
}

}  // namespace

extern "C" {

// ----------------------------------------------------------- path strings

OSTRA_C_API ostra_result ostra_path_constant(int32_t which, uint16_t* out, size_t capacity,
                                             size_t* out_length) {
  return Call(__func__, [&] {
    const UTF16String* const constants[] = {
        &PathUtils::kPathSeparator,      &PathUtils::kOppositePlatformPathSeparator,
        &PathUtils::kExtension,          &PathUtils::kShortUNCPathPrefix,
        &PathUtils::kLongUNCPathPrefix,  &PathUtils::kIllegalFilenameCharactersDisplay,
        &PathUtils::kIllegalPathCharactersDisplay};
    const int32_t index = EnumArg<int32_t>(which, 6, "which is no path constant");
    return Out(*constants[index], out, capacity, out_length);
  });
}

OSTRA_C_API ostra_result ostra_path_max_path(int32_t* out_length_limit) {
  return Call(__func__, [&] { OSTRA_C_REF(out_length_limit) = Ostra::OSTRA_MAX_PATH; });
}

OSTRA_C_API ostra_result ostra_path_get_separator(uint16_t* out, size_t capacity,
                                                  size_t* out_length) {
  return Call(__func__, [&] { return Out(PathUtils::GetPathSeparator(), out, capacity, out_length); });
}

OSTRA_C_API ostra_result ostra_path_add_trailing_slash(const uint16_t* path, uint16_t* out,
                                                       size_t capacity, size_t* out_length) {
  return PathText(__func__, PathUtils::AddTrailingSlash, path, out, capacity, out_length);
}

OSTRA_C_API ostra_result ostra_path_remove_trailing_slash(const uint16_t* path, uint16_t* out,
                                                          size_t capacity, size_t* out_length) {
  return PathText(__func__, PathUtils::RemoveTrailingSlash, path, out, capacity, out_length);
}

OSTRA_C_API ostra_result ostra_path_has_trailing_slash(const uint16_t* path, int32_t* out_answer) {
  return PathQuery(__func__, PathUtils::HasTrailingSlash, path, out_answer);
}

OSTRA_C_API ostra_result ostra_path_is_valid_file_name(const uint16_t* name,
                                                       int32_t* out_answer) {
  return PathQuery(__func__, PathUtils::IsValidFileName, name, out_answer);
}

OSTRA_C_API ostra_result ostra_path_is_valid_path(const uint16_t* path, int32_t* out_answer) {
  return PathQuery(__func__, PathUtils::IsValidPath, path, out_answer);
}

OSTRA_C_API ostra_result ostra_path_is_win_drive_letter(uint16_t character,
                                                        int32_t* out_answer) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_answer) = PathUtils::IsWinDriveLetter(static_cast<wchar_t>(character));
  });
}

OSTRA_C_API ostra_result ostra_path_split(const uint16_t* path, uint16_t* out_drive,
                                          size_t drive_capacity, size_t* out_drive_length,
                                          uint16_t* out_directory, size_t directory_capacity,
                                          size_t* out_directory_length, uint16_t* out_file,
                                          size_t file_capacity, size_t* out_file_length,
                                          uint16_t* out_extension, size_t extension_capacity,
                                          size_t* out_extension_length) {
  return Call(__func__, [&] {
    UTF16String drive, directory, file, extension;
    PathUtils::SplitPath(OSTRA_C_TEXT(path), &drive, &directory, &file, &extension);
    return Out({{drive, out_drive, drive_capacity, out_drive_length},
                {directory, out_directory, directory_capacity, out_directory_length},
                {file, out_file, file_capacity, out_file_length},
                {extension, out_extension, extension_capacity, out_extension_length}});
  });
}

OSTRA_C_API ostra_result ostra_path_get_drive_part(const uint16_t* path, uint16_t* out,
                                                   size_t capacity, size_t* out_length) {
  return PathText(__func__, PathUtils::GetDrivePart, path, out, capacity, out_length);
}

OSTRA_C_API ostra_result ostra_path_get_directory_part(const uint16_t* path, uint16_t* out,
                                                       size_t capacity, size_t* out_length) {
  return PathText(__func__, PathUtils::GetDirectoryPart, path, out, capacity, out_length);
}

OSTRA_C_API ostra_result ostra_path_get_file_part(const uint16_t* path, uint16_t* out,
                                                  size_t capacity, size_t* out_length) {
  return PathText(__func__, PathUtils::GetFilePart, path, out, capacity, out_length);
}

OSTRA_C_API ostra_result ostra_path_get_extension_part(const uint16_t* path, uint16_t* out,
                                                       size_t capacity, size_t* out_length) {
  return PathText(__func__, PathUtils::GetExtensionPart, path, out, capacity, out_length);
}

OSTRA_C_API ostra_result ostra_path_get_full_file_part(const uint16_t* path, uint16_t* out,
                                                       size_t capacity, size_t* out_length) {
  return PathText(__func__, PathUtils::GetFullFilePart, path, out, capacity, out_length);
}

OSTRA_C_API ostra_result ostra_path_get_file_name_part(const uint16_t* path, uint16_t* out,
                                                       size_t capacity, size_t* out_length) {
  return PathText(__func__, PathUtils::GetFileNamePart, path, out, capacity, out_length);
}

OSTRA_C_API ostra_result ostra_path_make(const uint16_t* drive, const uint16_t* directory,
                                         const uint16_t* file, const uint16_t* extension,
                                         uint16_t* out, size_t capacity, size_t* out_length) {
  return Call(__func__, [&] {
    return Out(PathUtils::MakePath(OSTRA_C_TEXT(drive), OSTRA_C_TEXT(directory),
                                   OSTRA_C_TEXT(file), OSTRA_C_TEXT(extension)),
               out, capacity, out_length);
  });
}

OSTRA_C_API ostra_result ostra_path_make_full(const uint16_t* drive, const uint16_t* directory,
                                              const uint16_t* file, const uint16_t* extension,
                                              uint16_t* out, size_t capacity,
                                              size_t* out_length) {
  return Call(__func__, [&] {
    return Out(PathUtils::MakeFullPath(OSTRA_C_TEXT(drive), OSTRA_C_TEXT(directory),
                                       OSTRA_C_TEXT(file), OSTRA_C_TEXT(extension)),
               out, capacity, out_length);
  });
}

OSTRA_C_API ostra_result ostra_path_file_has_extension(const uint16_t* path,
                                                       const uint16_t* extension,
                                                       int32_t* out_answer) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_answer) =
        PathUtils::FileHasExtension(OSTRA_C_TEXT(path), OSTRA_C_TEXT(extension));
  });
}

OSTRA_C_API ostra_result ostra_path_remove_illegal_file_name_characters(
    const uint16_t* name, uint16_t* out, size_t capacity, size_t* out_length,
    int32_t* out_removed) {
  return Call(__func__, [&] {
    UTF16String cleaned = OSTRA_C_TEXT(name);
    const bool removed = PathUtils::RemoveIllegalFileNameCharacters(cleaned);
    const ostra_result result = Out(cleaned, out, capacity, out_length);
    if (result >= 0) SetOptionalFlag(out_removed, removed);
    return result;
  });
}

// ------------------------------------------------ normal form and relations

OSTRA_C_API ostra_result ostra_path_to_normalized(const uint16_t* path, uint16_t* out,
                                                  size_t capacity, size_t* out_length) {
  return PathText(__func__, PathUtils::ToNormalizedPath, path, out, capacity, out_length);
}

OSTRA_C_API ostra_result ostra_path_is_normalized(const uint16_t* path, int32_t* out_answer) {
  return PathQuery(__func__, PathUtils::IsNormalizedPath, path, out_answer);
}

OSTRA_C_API ostra_result ostra_path_strip_unc(const uint16_t* path, uint16_t* out,
                                              size_t capacity, size_t* out_length) {
  return PathText(__func__, PathUtils::Win::StripUNC, path, out, capacity, out_length);
}

OSTRA_C_API ostra_result ostra_path_is_win_api_acceptable(const uint16_t* path,
                                                          int32_t* out_answer) {
  return PathQuery(__func__, PathUtils::IsWinAPIAcceptablePath, path, out_answer);
}

OSTRA_C_API ostra_result ostra_path_combine(const uint16_t* base, const uint16_t* more,
                                            uint16_t* out, size_t capacity, size_t* out_length) {
  return Call(__func__, [&] {
    return Out(PathUtils::CombinePaths(OSTRA_C_TEXT(base), OSTRA_C_TEXT(more)), out, capacity,
               out_length);
  });
}

OSTRA_C_API ostra_result ostra_path_get_full_directory_part(const uint16_t* path, uint16_t* out,
                                                            size_t capacity,
                                                            size_t* out_length) {
  return PathText(__func__, PathUtils::GetFullDirectoryPart, path, out, capacity, out_length);
}

OSTRA_C_API ostra_result ostra_path_relative(const uint16_t* from_path, const uint16_t* to_path,
                                             int32_t* out_related, uint16_t* out,
                                             size_t capacity, size_t* out_length) {
  return Call(__func__, [&] {
    int32_t& related = OSTRA_C_REF(out_related);
    UTF16String relative;
    const bool found =
        PathUtils::ArePathsRelative(OSTRA_C_TEXT(from_path), OSTRA_C_TEXT(to_path), relative);
    const ostra_result result = found ? Out(relative, out, capacity, out_length) : OSTRA_SUCCESS;
    if (result >= 0) related = found ? 1 : 0;
    return result;
  });
}

// ---------------------------------------------------------- queries on disk

OSTRA_C_API ostra_result ostra_path_exists_on_disk(const uint16_t* path, int32_t use_find,
                                                   int32_t* out_answer) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_answer) = PathUtils::ExistsOnDisk(OSTRA_C_TEXT(path), use_find != 0);
  });
}

OSTRA_C_API ostra_result ostra_path_is_directory(const uint16_t* path, int32_t* out_answer) {
  return PathQuery(__func__, PathUtils::IsDirectory, path, out_answer);
}

OSTRA_C_API ostra_result ostra_path_is_directory_empty(const uint16_t* path,
                                                       int32_t* out_answer) {
  return PathQuery(__func__, PathUtils::IsDirectoryEmpty, path, out_answer);
}

OSTRA_C_API ostra_result ostra_path_is_read_only(const uint16_t* path, int32_t* out_answer) {
  return PathQuery(__func__, PathUtils::IsReadOnly, path, out_answer);
}

OSTRA_C_API ostra_result ostra_path_get_temp_directory(uint16_t* out, size_t capacity,
                                                       size_t* out_length) {
  return Call(__func__, [&] { return Out(PathUtils::GetTempDirectory(), out, capacity, out_length); });
}

OSTRA_C_API ostra_result ostra_path_get_free_drive_space(const uint16_t* path,
                                                         uint64_t* out_bytes) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_bytes) = PathUtils::GetFreeDriveSpace(OSTRA_C_TEXT(path));
  });
}

OSTRA_C_API ostra_result ostra_path_prepare_for_write(const uint16_t* path, int32_t* out_done) {
  return PathQuery(__func__, PathUtils::PreparePathForWrite, path, out_done);
}

OSTRA_C_API ostra_result ostra_path_filter_hidden_files(ostra_string_list* paths) {
  return Call(__func__, [&] { PathUtils::FilterHiddenFiles(Use(paths).mItems); });
}

OSTRA_C_API ostra_result ostra_path_get_display_string(const uint16_t* path, uint16_t* out,
                                                       size_t capacity, size_t* out_length) {
  return PathText(__func__, PathUtils::GetDisplayStringFromPath, path, out, capacity,
                  out_length);
}

OSTRA_C_API ostra_result ostra_path_get_leaf_display_string(const uint16_t* path, uint16_t* out,
                                                            size_t capacity,
                                                            size_t* out_length) {
  return PathText(__func__, PathUtils::GetLeafDisplayStringFromPath, path, out, capacity,
                  out_length);
}

// ------------------------------------------------------------------- disks

OSTRA_C_API ostra_result ostra_disk_get_efficient_buffer_size(const uint16_t* path,
                                                              uint32_t* out_size) {
  return Call(__func__, [&] {
    uint32_t& size = OSTRA_C_REF(out_size);
    return Ostra::DiskUtils::GetEfficientDiskBufferSizeFromPath(OSTRA_C_TEXT(path), size);
  });
}

OSTRA_C_API ostra_result ostra_disk_get_free_space(const uint16_t* path, uint64_t* out_bytes) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_bytes) = Ostra::DiskUtils::GetFreeSpaceFromPath(OSTRA_C_TEXT(path));
  });
}

OSTRA_C_API ostra_result ostra_disk_get_max_file_size(const uint16_t* path,
                                                      uint64_t* out_size) {
  return Call(__func__, [&] {
    uint64_t& size = OSTRA_C_REF(out_size);
    return Ostra::DiskUtils::GetMaxFileSize(OSTRA_C_TEXT(path), size);
  });
}

OSTRA_C_API ostra_result ostra_disk_space_string(uint64_t bytes, uint16_t* out, size_t capacity,
                                                 size_t* out_length) {
  return Call(__func__, [&] {
    return Out(Ostra::DiskUtils::MakeDiskSpaceString(bytes), out, capacity, out_length);
  });
}

// ------------------------------------------------------------- directories

OSTRA_C_API ostra_result ostra_directory_new(const uint16_t* path,
                                             ostra_directory** out_directory) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_directory);
    New(out_directory, Ostra::Directory::ConstructDirectory(OSTRA_C_TEXT(path)));
  });
}

OSTRA_C_API ostra_result ostra_directory_destroy(ostra_directory* directory) {
  return Call(__func__, [&] { Destroy(directory); });
}

OSTRA_C_API ostra_result ostra_directory_as_string(const ostra_directory* directory,
                                                   uint16_t* out, size_t capacity,
                                                   size_t* out_length) {
  return Call(__func__, [&] {
    return Out(Use(directory).mDirectory.AsString(), out, capacity, out_length);
  });
}

OSTRA_C_API ostra_result ostra_directory_is_empty(const ostra_directory* directory,
                                                  int32_t* out_answer) {
  return Call(__func__, [&] {
    const Ostra::Directory& found = Use(directory).mDirectory;
    OSTRA_C_REF(out_answer) = found.IsDirectoryEmpty();
  });
}

OSTRA_C_API ostra_result ostra_directory_is_writeable(const ostra_directory* directory,
                                                      int32_t* out_answer) {
  return Call(__func__, [&] {
    const Ostra::Directory& found = Use(directory).mDirectory;
    OSTRA_C_REF(out_answer) = found.IsDirectoryWriteable();
  });
}

OSTRA_C_API ostra_result ostra_directory_get_contained_paths(const ostra_directory* directory,
                                                             int32_t recursive, uint32_t limit,
                                                             ostra_cancel_callback cancel,
                                                             void* context,
                                                             ostra_string_list* out_paths) {
  return Call(__func__, [&] {
    const Ostra::Directory& found = Use(directory).mDirectory;
    found.GetContainedPaths(Use(out_paths).mItems, recursive != 0, limit,
                            Cancel(cancel, context));
  });
}

OSTRA_C_API ostra_result ostra_directory_get_contained_file_paths(
    const ostra_directory* directory, int32_t recursive, uint32_t limit,
    ostra_cancel_callback cancel, void* context, ostra_string_list* out_paths) {
  return Call(__func__, [&] {
    const Ostra::Directory& found = Use(directory).mDirectory;
    found.GetContainedFilePaths(Use(out_paths).mItems, recursive != 0, limit,
                                Cancel(cancel, context));
  });
}

OSTRA_C_API ostra_result ostra_directory_get_contained_file_paths_filtered(
    const ostra_directory* directory, const uint16_t* extension, int32_t recursive,
    uint32_t limit, ostra_cancel_callback cancel, void* context, ostra_string_list* out_paths) {
  return Call(__func__, [&] {
    const Ostra::Directory& found = Use(directory).mDirectory;
    found.GetContainedFilePaths(OSTRA_C_TEXT(extension), Use(out_paths).mItems, recursive != 0,
                                limit, Cancel(cancel, context));
  });
}

OSTRA_C_API ostra_result ostra_directory_get_contained_file_and_directory_paths(
    const ostra_directory* directory, int32_t recursive, uint32_t limit,
    ostra_cancel_callback cancel, void* context, ostra_string_list* out_files,
    ostra_string_list* out_directories) {
  return Call(__func__, [&] {
    const Ostra::Directory& found = Use(directory).mDirectory;
    std::vector<UTF16String>& files = Use(out_files).mItems;
    std::vector<UTF16String>& directoryPaths = Use(out_directories).mItems;
    if (&files == &directoryPaths) Fail(OSTRA_E_INVALID_ARGUMENT, "the two lists are one");
    std::vector<Ostra::Directory> directories;
    found.GetContainedFileAndDirectoryPaths(files, directories, recursive != 0, limit,
                                            Cancel(cancel, context));
    directoryPaths.clear();
    for (const Ostra::Directory& each : directories) directoryPaths.push_back(each.AsString());
  });
}

OSTRA_C_API ostra_result ostra_directory_create_on_disk(const uint16_t* path,
                                                        int32_t create_parents) {
  return Call(__func__, [&] {
    return Ostra::Directory::CreateOnDisk(OSTRA_C_TEXT(path), create_parents != 0);
  });
}

OSTRA_C_API ostra_result ostra_directory_delete(const uint16_t* path) {
  return Call(__func__, [&] { return Ostra::Directory::Delete(OSTRA_C_TEXT(path)); });
}

OSTRA_C_API ostra_result ostra_directory_delete_not_empty(const uint16_t* path) {
  return Call(__func__, [&] { return Ostra::Directory::DeleteNotEmpty(OSTRA_C_TEXT(path)); });
}

OSTRA_C_API ostra_result ostra_directory_copy(const uint16_t* source,
                                              const uint16_t* destination) {
  return Call(__func__, [&] {
    return Ostra::Directory::Copy(OSTRA_C_TEXT(source), OSTRA_C_TEXT(destination));
  });
}

OSTRA_C_API ostra_result ostra_directory_move(const uint16_t* source,
                                              const uint16_t* destination) {
  return Call(__func__, [&] {
    return Ostra::Directory::Move(OSTRA_C_TEXT(source), OSTRA_C_TEXT(destination));
  });
}

OSTRA_C_API ostra_result ostra_directory_copy_contents(const uint16_t* source,
                                                       const uint16_t* destination) {
  return Call(__func__, [&] {
    return Ostra::Directory::CopyContents(OSTRA_C_TEXT(source), OSTRA_C_TEXT(destination));
  });
}

// ---------------------------------------------------- directory registry

OSTRA_C_API ostra_result ostra_directory_registry_register(const uint16_t* path,
                                                           const uint16_t* name) {
  return Call(__func__, [&] {
    Ostra::DirectoryRegistry::RegisterDirectory(OSTRA_C_TEXT(path), OSTRA_C_TEXT(name));
  });
}

OSTRA_C_API ostra_result ostra_directory_registry_unregister(const uint16_t* name) {
  return Call(__func__,
              [&] { Ostra::DirectoryRegistry::UnregisterDirectory(OSTRA_C_TEXT(name)); });
}

OSTRA_C_API ostra_result ostra_directory_registry_find(const uint16_t* name, uint16_t* out,
                                                       size_t capacity, size_t* out_length) {
  return Call(__func__, [&] {
    return Out(Ostra::DirectoryRegistry::FindDirectory(OSTRA_C_TEXT(name)), out, capacity,
               out_length);
  });
}

}  // extern "C"
