// Registry keys, the application's registry paths and language, and
// modules with their resources.
#include <boost/shared_ptr.hpp>

#include "Boundary.h"
#include "Ostra/Language.h"
#include "Ostra/Module.h"
#include "Ostra/RegistryKey.h"
#include "strata/String.h"

using namespace OstraC;
using Ostra::RegistryKey;

struct ostra_registry_key {
  static constexpr HandleKind kKind = HandleKind::kRegistryKey;
  ostra_registry_key() = default;
  explicit ostra_registry_key(const RegistryKey& inKey) : mKey(inKey) {}
  RegistryKey mKey;
};

struct ostra_module {
  static constexpr HandleKind kKind = HandleKind::kModule;
  explicit ostra_module(boost::shared_ptr<Ostra::Module> inModule)
      : mModule(std::move(inModule)) {}
  boost::shared_ptr<Ostra::Module> mModule;
};

namespace {

// Roots and access are enumerations of a fixed 32-bit type in C++: every
// value is defined there, so every value passes through.
Ostra::RegistryRootKeys::Type Root(int32_t inRoot) {
  return static_cast<Ostra::RegistryRootKeys::Type>(inRoot);
}

// A text that the library keeps (a registry path) copied out.
ostra_result KeyPath(const char* inFunction, const UTF16String& (*inPath)(), uint16_t* outText,
                     size_t inCapacity, size_t* outLength) {
  return Call(inFunction, [&] { return Out(inPath(), outText, inCapacity, outLength); });
}

// A resource lookup: the data pointer (null when not found) and its size.
template <class Lookup>
ostra_result Resource(const char* inFunction, Lookup inLookup, const void** outData,
                      int32_t* outSize) {
  return Call(inFunction, [&] {
    const void*& data = OSTRA_C_REF(outData);
    int& size = OSTRA_C_REF(outSize);
    data = inLookup(size);
  });
}

// A lookup by resource name and type, one of three members of Module.
typedef void* (Ostra::Module::*NamedLookup)(const wchar_t*, const wchar_t*, int&) const;
ostra_result NamedResource(const char* inFunction, NamedLookup inLookup,
                           const ostra_module* inModule, const uint16_t* inName,
                           const uint16_t* inType, const void** outData, int32_t* outSize) {
  return Resource(
      inFunction,
      [&](int& outFoundSize) {
        const Ostra::Module& module = *Use(inModule).mModule;
        return (module.*inLookup)(WideArg(inName, "name is null"), WideArg(inType, "type is null"),
                                  outFoundSize);
      },
      outData, outSize);
}

}  // namespace

extern "C" {

// ------------------------------------------------------------ registry keys

OSTRA_C_API ostra_result ostra_registry_key_new(ostra_registry_key** out_key) {
  return Call(__func__, [&] { New(out_key); });
}

OSTRA_C_API ostra_result ostra_registry_key_destroy(ostra_registry_key* key) {
  return Call(__func__, [&] { Destroy(key); });
}

OSTRA_C_API ostra_result ostra_registry_key_copy(const ostra_registry_key* key,
                                                 ostra_registry_key** out_copy) {
  return Call(__func__, [&] { New(out_copy, Use(key).mKey); });
}

OSTRA_C_API ostra_result ostra_registry_key_swap(ostra_registry_key* key,
                                                 ostra_registry_key* other) {
  return Call(__func__, [&] { Use(key).mKey.Swap(Use(other).mKey); });
}

OSTRA_C_API ostra_result ostra_registry_key_open(ostra_registry_key* key, int32_t root,
                                                 const uint16_t* path, int32_t access) {
  return Call(__func__, [&] {
    return Use(key).mKey.Open(Root(root), OSTRA_C_TEXT(path),
                              static_cast<Ostra::RegistryKeyAccess::Type>(access));
  });
}

OSTRA_C_API ostra_result ostra_registry_key_open_under(ostra_registry_key* key,
                                                       ostra_registry_key* parent,
                                                       const uint16_t* path) {
  return Call(__func__,
              [&] { return Use(key).mKey.Open(Use(parent).mKey, OSTRA_C_TEXT(path)); });
}

OSTRA_C_API ostra_result ostra_registry_key_create(ostra_registry_key* key, int32_t root,
                                                   const uint16_t* path) {
  return Call(__func__, [&] { return Use(key).mKey.Create(Root(root), OSTRA_C_TEXT(path)); });
}

OSTRA_C_API ostra_result ostra_registry_key_create_under(ostra_registry_key* key,
                                                         ostra_registry_key* parent,
                                                         const uint16_t* path) {
  return Call(__func__,
              [&] { return Use(key).mKey.Create(Use(parent).mKey, OSTRA_C_TEXT(path)); });
}

OSTRA_C_API ostra_result ostra_registry_key_get_binary_value(const ostra_registry_key* key,
                                                             const uint16_t* name, void* out,
                                                             size_t capacity,
                                                             size_t* out_size) {
  return Call(__func__, [&] {
    std::vector<char> data;
    const ostra_result result = Use(key).mKey.GetBinaryValue(OSTRA_C_TEXT(name), data);
    if (result < 0) return result;
    const ostra_result copied = OutBytes(data.data(), data.size(), out, capacity, out_size);
    return copied < 0 ? copied : result;
  });
}

OSTRA_C_API ostra_result ostra_registry_key_get_boolean_value(const ostra_registry_key* key,
                                                              const uint16_t* name,
                                                              int32_t* out_value) {
  return Call(__func__, [&] {
    int32_t& value = OSTRA_C_REF(out_value);
    bool answer = false;
    const ostra_result result = Use(key).mKey.GetBooleanValue(OSTRA_C_TEXT(name), answer);
    value = answer ? 1 : 0;
    return result;
  });
}

OSTRA_C_API ostra_result ostra_registry_key_get_string_value(const ostra_registry_key* key,
                                                             const uint16_t* name, uint16_t* out,
                                                             size_t capacity,
                                                             size_t* out_length) {
  return Call(__func__, [&] {
    UTF16String value;
    const ostra_result result = Use(key).mKey.GetStringValue(OSTRA_C_TEXT(name), value);
    return OutIfSucceeded(result, value, out, capacity, out_length);
  });
}

OSTRA_C_API ostra_result ostra_registry_key_get_uint32_value(const ostra_registry_key* key,
                                                             const uint16_t* name,
                                                             uint32_t* out_value) {
  return Call(__func__, [&] {
    return Use(key).mKey.GetUInt32Value(OSTRA_C_TEXT(name), OSTRA_C_REF(out_value));
  });
}

OSTRA_C_API ostra_result ostra_registry_key_get_uint64_value(const ostra_registry_key* key,
                                                             const uint16_t* name,
                                                             uint64_t* out_value) {
  return Call(__func__, [&] {
    return Use(key).mKey.GetUInt64Value(OSTRA_C_TEXT(name), OSTRA_C_REF(out_value));
  });
}

OSTRA_C_API ostra_result ostra_registry_key_set_binary_value(ostra_registry_key* key,
                                                             const uint16_t* name,
                                                             const void* data, size_t size) {
  return Call(__func__, [&] {
    if (!data && size) Fail(OSTRA_E_INVALID_ARGUMENT, "data is null");
    return Use(key).mKey.SetBinaryValue(OSTRA_C_TEXT(name), data, size);
  });
}

OSTRA_C_API ostra_result ostra_registry_key_set_boolean_value(ostra_registry_key* key,
                                                              const uint16_t* name,
                                                              int32_t value) {
  return Call(__func__,
              [&] { return Use(key).mKey.SetBooleanValue(OSTRA_C_TEXT(name), value != 0); });
}

OSTRA_C_API ostra_result ostra_registry_key_set_string_value(ostra_registry_key* key,
                                                             const uint16_t* name,
                                                             const uint16_t* value) {
  return Call(__func__, [&] {
    return Use(key).mKey.SetStringValue(OSTRA_C_TEXT(name), OSTRA_C_TEXT(value));
  });
}

OSTRA_C_API ostra_result ostra_registry_key_set_uint32_value(ostra_registry_key* key,
                                                             const uint16_t* name,
                                                             uint32_t value) {
  return Call(__func__, [&] { return Use(key).mKey.SetUInt32Value(OSTRA_C_TEXT(name), value); });
}

OSTRA_C_API ostra_result ostra_registry_key_set_uint64_value(ostra_registry_key* key,
                                                             const uint16_t* name,
                                                             uint64_t value) {
  return Call(__func__, [&] { return Use(key).mKey.SetUInt64Value(OSTRA_C_TEXT(name), value); });
}

OSTRA_C_API ostra_result ostra_registry_key_delete_value(ostra_registry_key* key,
                                                         const uint16_t* name) {
  return Call(__func__, [&] { return Use(key).mKey.DeleteValue(OSTRA_C_TEXT(name)); });
}

OSTRA_C_API ostra_result ostra_registry_key_delete_sub_key(ostra_registry_key* key,
                                                           const uint16_t* name) {
  return Call(__func__, [&] { return Use(key).mKey.DeleteSubKey(OSTRA_C_TEXT(name)); });
}

OSTRA_C_API ostra_result ostra_registry_key_enumerate_sub_keys(ostra_registry_key* key,
                                                               ostra_registry_key** out_keys,
                                                               size_t capacity,
                                                               size_t* out_count) {
  return Call(__func__, [&] {
    RegistryKey& parent = Use(key).mKey;
    if (!out_keys && capacity) Fail(OSTRA_E_INVALID_ARGUMENT, "out_keys is null");
    std::vector<RegistryKey> keys;
    parent.EnumerateSubKeys(keys);
    if (!out_keys && !out_count) return OSTRA_SUCCESS;
    if (out_count) *out_count = keys.size();
    if (capacity < keys.size()) return OSTRA_E_BUFFER_TOO_SMALL;
    // All handles or none: a failure part-way releases those made.
    std::vector<std::unique_ptr<ostra_registry_key>> made;
    made.reserve(keys.size());
    for (const RegistryKey& each : keys) made.emplace_back(new ostra_registry_key(each));
    std::size_t registered = 0;
    try {
      for (; registered < made.size(); ++registered)
        RegisterHandle(made[registered].get(), HandleKind::kRegistryKey);
    } catch (...) {
      while (registered > 0) UnregisterHandle(made[--registered].get());
      throw;
    }
    for (std::size_t i = 0; i < made.size(); ++i) out_keys[i] = made[i].release();
    return OSTRA_SUCCESS;
  });
}

OSTRA_C_API ostra_result ostra_registry_key_get_parent_key_path(const ostra_registry_key* key,
                                                                uint16_t* out, size_t capacity,
                                                                size_t* out_length) {
  return Call(__func__,
              [&] { return Out(Use(key).mKey.GetParentKeyPath(), out, capacity, out_length); });
}

OSTRA_C_API ostra_result ostra_registry_key_get_parent_key_path_last_part(
    const ostra_registry_key* key, uint16_t* out, size_t capacity, size_t* out_length) {
  return Call(__func__, [&] {
    return Out(Use(key).mKey.GetParentKeyPathLastPart(), out, capacity, out_length);
  });
}

OSTRA_C_API ostra_result ostra_registry_key_set_read_only(ostra_registry_key* key,
                                                          const uint16_t* name) {
  return Call(__func__, [&] { Use(key).mKey.SetRegistryKeyToReadOnly(OSTRA_C_TEXT(name)); });
}

OSTRA_C_API ostra_result ostra_registry_key_is_read_only(const ostra_registry_key* key,
                                                         const uint16_t* name,
                                                         int32_t* out_answer) {
  return Call(__func__, [&] {
    int32_t& answer = OSTRA_C_REF(out_answer);
    answer = Use(key).mKey.IsRegistryKeyReadOnly(OSTRA_C_TEXT(name));
  });
}

OSTRA_C_API ostra_result ostra_registry_key_sync_app_prefs(ostra_registry_key* key) {
  return Call(__func__, [&] { Use(key).mKey.SyncAppPrefs(); });
}

OSTRA_C_API ostra_result ostra_registry_should_flush_every_change_immediately(
    int32_t* out_answer) {
  return Call(__func__,
              [&] { OSTRA_C_REF(out_answer) = Ostra::ShouldFlushEveryChangeImmediately(); });
}

// ------------------------------------------- application paths and language

OSTRA_C_API ostra_result ostra_registry_base_key(uint16_t* out, size_t capacity,
                                                 size_t* out_length) {
  return KeyPath(__func__, Ostra::GetRegistryBaseKey, out, capacity, out_length);
}

OSTRA_C_API ostra_result ostra_registry_current_version_key(uint16_t* out, size_t capacity,
                                                            size_t* out_length) {
  return KeyPath(__func__, Ostra::GetRegistryCurrentVersionKey, out, capacity, out_length);
}

OSTRA_C_API ostra_result ostra_registry_help_key(uint16_t* out, size_t capacity,
                                                 size_t* out_length) {
  return KeyPath(__func__, Ostra::GetRegistryHelpKey, out, capacity, out_length);
}

OSTRA_C_API ostra_result ostra_registry_settings_key(uint16_t* out, size_t capacity,
                                                     size_t* out_length) {
  return KeyPath(__func__, Ostra::GetRegistrySettingsKey, out, capacity, out_length);
}

OSTRA_C_API ostra_result ostra_language_get_id(uint16_t* out_language_id) {
  return Call(__func__, [&] { OSTRA_C_REF(out_language_id) = Ostra::GetLanguageID(); });
}

OSTRA_C_API ostra_result ostra_language_get_primary_id(uint16_t* out_language_id) {
  return Call(__func__, [&] { OSTRA_C_REF(out_language_id) = Ostra::GetPrimaryLanguageID(); });
}

OSTRA_C_API ostra_result ostra_language_set_id(uint16_t language_id) {
  return Call(__func__, [&] { Ostra::SetLanguageID(language_id); });
}

OSTRA_C_API ostra_result ostra_language_get_string(uint16_t* out, size_t capacity,
                                                   size_t* out_length) {
  return Call(__func__, [&] { return Out(Ostra::GetLanguageString(), out, capacity, out_length); });
}

OSTRA_C_API ostra_result ostra_language_set_string(const uint16_t* locale_code) {
  return Call(__func__, [&] { Ostra::SetLanguageString(OSTRA_C_TEXT(locale_code)); });
}

// ----------------------------------------------------------------- modules

OSTRA_C_API ostra_result ostra_module_load(const uint16_t* path, ostra_module** out_module) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_module);
    boost::shared_ptr<Ostra::Module> module;
    const ostra_result result = Ostra::Module::Load(OSTRA_C_TEXT(path), module);
    if (result >= 0) New(out_module, std::move(module));
    return result;
  });
}

OSTRA_C_API ostra_result ostra_module_create(void* module_handle, ostra_module** out_module) {
  return Call(__func__, [&] {
    OSTRA_C_REF(out_module);
    boost::shared_ptr<Ostra::Module> module;
    const ostra_result result =
        Ostra::Module::Create(static_cast<HINSTANCE__*>(module_handle), module);
    if (result >= 0) New(out_module, std::move(module));
    return result;
  });
}

OSTRA_C_API ostra_result ostra_module_destroy(ostra_module* module) {
  return Call(__func__, [&] { Destroy(module); });
}

OSTRA_C_API ostra_result ostra_module_find_localized_resource(const ostra_module* module,
                                                              const uint16_t* name,
                                                              const uint16_t* type,
                                                              const void** out_data,
                                                              int32_t* out_size) {
  return NamedResource(__func__, &Ostra::Module::FindLocalizedResource, module, name, type,
                       out_data, out_size);
}

OSTRA_C_API ostra_result ostra_module_find_non_localized_resource(const ostra_module* module,
                                                                  const uint16_t* name,
                                                                  const uint16_t* type,
                                                                  const void** out_data,
                                                                  int32_t* out_size) {
  return NamedResource(__func__, &Ostra::Module::FindNonLocalizedResource, module, name, type,
                       out_data, out_size);
}

OSTRA_C_API ostra_result ostra_module_load_resource(const ostra_module* module,
                                                    const uint16_t* name, const uint16_t* type,
                                                    const void** out_data, int32_t* out_size) {
  return NamedResource(__func__, static_cast<NamedLookup>(&Ostra::Module::LoadResource), module,
                       name, type, out_data, out_size);
}

OSTRA_C_API ostra_result ostra_module_load_resource_by_id(ostra_module* module, int16_t id,
                                                          const uint16_t* type,
                                                          const void** out_data,
                                                          int32_t* out_size) {
  return Resource(
      __func__,
      [&](int& outSize) {
        return Use(module).mModule->LoadResource(id, OSTRA_C_TEXT(type), outSize);
      },
      out_data, out_size);
}

OSTRA_C_API ostra_result ostra_module_load_first_resource_of_type(const ostra_module* module,
                                                                  const uint16_t* type,
                                                                  const void** out_data,
                                                                  int32_t* out_size) {
  return Resource(
      __func__,
      [&](int& outSize) {
        return Use(module).mModule->LoadFirstResourceOfType(WideArg(type, "type is null"),
                                                            outSize);
      },
      out_data, out_size);
}

OSTRA_C_API ostra_result ostra_module_unload_resource(const ostra_module* module,
                                                      const void* resource) {
  return Call(__func__, [&] { Use(module).mModule->UnloadResource(resource); });
}

OSTRA_C_API ostra_result ostra_module_get_proc_address(const ostra_module* module,
                                                       const uint16_t* name,
                                                       ostra_proc* out_proc) {
  return Call(__func__, [&] {
    ostra_proc& proc = OSTRA_C_REF(out_proc);
    const Ostra::Module& loaded = *Use(module).mModule;
    proc = reinterpret_cast<ostra_proc>(
        loaded.GetProcAddress(strata::string::UTF16toStdString(OSTRA_C_TEXT(name))));
  });
}

OSTRA_C_API ostra_result ostra_module_get_path(ostra_module* module, uint16_t* out,
                                               size_t capacity, size_t* out_length) {
  return Call(__func__, [&] {
    UTF16String path;
    Use(module).mModule->GetPath(path);
    return Out(path, out, capacity, out_length);
  });
}

OSTRA_C_API ostra_result ostra_module_get_native_handle(const ostra_module* module,
                                                        void** out_module_handle) {
  return Call(__func__, [&] {
    void*& handle = OSTRA_C_REF(out_module_handle);
    handle = Use(module).mModule->GetNativeModule();
  });
}

OSTRA_C_API ostra_result ostra_module_set_unload_on_destroy(ostra_module* module,
                                                            int32_t unload_on_destroy) {
  return Call(__func__, [&] { Use(module).mModule->SetUnloadOnDestroy(unload_on_destroy != 0); });
}

}  // extern "C"
