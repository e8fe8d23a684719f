#include "Boundary.h"

#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <unordered_map>

#include "Ostra/Directory.h"
#include "strata/Config.h"
#include "strata/String.h"

namespace OstraC {
namespace {

// The last error text of each thread, in a fixed buffer: recording a
// failure must work when memory has run out, and a thread's storage needs
// no destructor.
struct LastError {
  static constexpr std::size_t kCapacity = 1024;
  uint16_t mText[kCapacity];
  std::size_t mLength;
};
thread_local LastError tLastError;

// Code units as they stand: bytes of ASCII text, or UTF-16 units.
template <class Char>
void AppendLastError(const Char* inText, std::size_t inLength) noexcept {
  for (std::size_t i = 0; i < inLength && tLastError.mLength < LastError::kCapacity; ++i)
    tLastError.mText[tLastError.mLength++] =
        static_cast<uint16_t>(static_cast<std::make_unsigned_t<Char>>(inText[i]));
}
void AppendLastError(const char* inText) noexcept {
  AppendLastError(inText, std::strlen(inText));
}
void StartLastError(const char* inFunction) noexcept {
  tLastError.mLength = 0;
  AppendLastError(inFunction);
  AppendLastError(": ");
}

// UTF-8 text of an exception; bytes as they stand when the conversion
// itself runs out of memory.
void AppendLastErrorUtf8(const char* inText) noexcept {
  try {
    const UTF16String text = strata::string::StdToUTF16String(inText);
    AppendLastError(text.c_str(), text.size());
  } catch (...) {
    AppendLastError(inText);
  }
}

ostra_result Record(const char* inFunction, ostra_result inCode, const char* inText) noexcept {
  StartLastError(inFunction);
  AppendLastErrorUtf8(inText);
  return inCode;
}
ostra_result Record(const char* inFunction, ostra_result inCode,
                    const UTF16String& inText) noexcept {
  StartLastError(inFunction);
  AppendLastError(inText.c_str(), inText.size());
  return inCode;
}

struct ResultName {
  ostra_result mCode;
  const char* mName;
  const char* mMeaning;
};
const ResultName kResultNames[] = {
    {OSTRA_SUCCESS, "OSTRA_SUCCESS", "success"},
    {OSTRA_KEY_ALREADY_EXISTS, "OSTRA_KEY_ALREADY_EXISTS", "success: the key already existed"},
    {OSTRA_E_UNKNOWN, "OSTRA_E_UNKNOWN", "the operation failed"},
    {OSTRA_E_DISK_FULL, "OSTRA_E_DISK_FULL", "no space is left on the volume"},
    {OSTRA_E_FILE_NOT_FOUND, "OSTRA_E_FILE_NOT_FOUND", "the file was not found or is not open"},
    {OSTRA_E_PATH_NOT_FOUND, "OSTRA_E_PATH_NOT_FOUND",
     "the path was not found or is not absolute"},
    {OSTRA_E_ACCESS_DENIED, "OSTRA_E_ACCESS_DENIED", "the system refused the access"},
    {OSTRA_E_OUT_OF_MEMORY, "OSTRA_E_OUT_OF_MEMORY", "memory ran out"},
    {OSTRA_E_CANCELED, "OSTRA_E_CANCELED", "a callback asked to stop"},
    {OSTRA_E_OPERATION_FAILED, "OSTRA_E_OPERATION_FAILED", "the registry operation failed"},
    {OSTRA_E_SHARING_VIOLATION, "OSTRA_E_SHARING_VIOLATION",
     "another open of the file does not share the access"},
    {OSTRA_E_FILE_ALREADY_EXISTS, "OSTRA_E_FILE_ALREADY_EXISTS", "the file already exists"},
    {OSTRA_E_FAILURE, "OSTRA_E_FAILURE", "the operation failed"},
    {OSTRA_E_INVALID_ARGUMENT, "OSTRA_E_INVALID_ARGUMENT",
     "a null pointer or an undefined value was given"},
    {OSTRA_E_INVALID_HANDLE, "OSTRA_E_INVALID_HANDLE",
     "the handle is null, destroyed or of another kind"},
    {OSTRA_E_BUFFER_TOO_SMALL, "OSTRA_E_BUFFER_TOO_SMALL",
     "the buffer cannot hold the answer"},
    {OSTRA_E_CONTRACT_VIOLATION, "OSTRA_E_CONTRACT_VIOLATION",
     "the library's precondition check refused the call"},
    {OSTRA_E_NOT_A_DIRECTORY, "OSTRA_E_NOT_A_DIRECTORY", "the path is not an existing directory"},
    {OSTRA_E_DIRECTORY_GONE, "OSTRA_E_DIRECTORY_GONE", "the directory no longer exists"},
    {OSTRA_E_EXCEPTION, "OSTRA_E_EXCEPTION", "the library raised an exception"},
};

// The live handles, by address. Checks take the lock shared, so handles on
// different threads do not wait for each other.
struct HandleTable {
  std::shared_mutex mMutex;
  std::unordered_map<const void*, HandleKind> mHandles;
};
HandleTable& Handles() {
  static HandleTable* table = new HandleTable;  // never destroyed: DLL unload order
  return *table;
}

}  // namespace

void Fail(ostra_result inCode, const char* inWhat) { throw BoundaryError{inCode, inWhat}; }

ostra_result TranslateCurrentException(const char* inFunction) noexcept {
  try {
    throw;
  } catch (const BoundaryError& e) {
    return Record(inFunction, e.mCode, e.mWhat);
  } catch (const Ostra::eNotADirectoryPath& e) {
    return Record(inFunction, OSTRA_E_NOT_A_DIRECTORY, e.GetMessageText());
  } catch (const Ostra::eDirectoryNoLongerValid& e) {
    return Record(inFunction, OSTRA_E_DIRECTORY_GONE, e.GetMessageText());
  } catch (const strata::config::strata_exception& e) {
    static const char kContractKey[] = "$$$/strata/utility/Error/Contract/";
    const bool contract = e.GetSource().compare(0, sizeof kContractKey - 1, kContractKey) == 0;
    return Record(inFunction, contract ? OSTRA_E_CONTRACT_VIOLATION : OSTRA_E_EXCEPTION,
                  e.GetMessageText());
  } catch (const std::bad_alloc&) {
    return Record(inFunction, OSTRA_E_OUT_OF_MEMORY, "memory ran out");
  } catch (const std::exception& e) {
    return Record(inFunction, OSTRA_E_EXCEPTION, e.what());
  } catch (...) {
    return Record(inFunction, OSTRA_E_EXCEPTION, "an exception of an unknown type");
  }
}

void RecordFailure(const char* inFunction, ostra_result inResult) noexcept {
  StartLastError(inFunction);
  for (const ResultName& name : kResultNames) {
    if (name.mCode == inResult) {
      AppendLastError(name.mName);
      return;
    }
  }
  char code[32];
  std::snprintf(code, sizeof code, "failure 0x%08lX", static_cast<unsigned long>(inResult));
  AppendLastError(code);
}

UTF16String ResultText(ostra_result inResult) {
  for (const ResultName& name : kResultNames) {
    if (name.mCode == inResult)
      return strata::string::StdToUTF16String(std::string(name.mName) + ": " + name.mMeaning);
  }
  char text[64];
  std::snprintf(text, sizeof text, "0x%08lX: %s without a name",
                static_cast<unsigned long>(inResult), inResult < 0 ? "a failure" : "success");
  return strata::string::StdToUTF16String(text);
}

const uint16_t* LastErrorText(std::size_t& outLength) noexcept {
  outLength = tLastError.mLength;
  return tLastError.mText;
}

UTF16String Text(const uint16_t* inText, const char* inWhat) {
  if (!inText) Fail(OSTRA_E_INVALID_ARGUMENT, inWhat);
  return UTF16String(reinterpret_cast<const wchar_t*>(inText));
}

ostra_result Out(std::initializer_list<TextOut> inOutputs) {
  bool fits = true;
  for (const TextOut& output : inOutputs) {
    if (!output.mOut && output.mCapacity != 0)
      Fail(OSTRA_E_INVALID_ARGUMENT, "a null buffer with a capacity");
    if (!output.mOut && !output.mLength) continue;  // not wanted
    if (output.mLength) *output.mLength = output.mText.size();
    if (output.mCapacity <= output.mText.size()) fits = false;
  }
  if (!fits) return OSTRA_E_BUFFER_TOO_SMALL;
  for (const TextOut& output : inOutputs) {
    if (!output.mOut) continue;
    std::memcpy(output.mOut, output.mText.c_str(), (output.mText.size() + 1) * sizeof(uint16_t));
  }
  return OSTRA_SUCCESS;
}

ostra_result OutBytes(const void* inData, std::size_t inSize, void* outData,
                      std::size_t inCapacity, std::size_t* outSize) {
  if (!outData && inCapacity != 0) Fail(OSTRA_E_INVALID_ARGUMENT, "a null buffer with a capacity");
  if (!outData && !outSize) return OSTRA_SUCCESS;
  if (outSize) *outSize = inSize;
  if (inCapacity < inSize) return OSTRA_E_BUFFER_TOO_SMALL;
  if (inSize) std::memcpy(outData, inData, inSize);
  return OSTRA_SUCCESS;
}

void RegisterHandle(const void* inHandle, HandleKind inKind) {
  HandleTable& table = Handles();
  std::unique_lock<std::shared_mutex> lock(table.mMutex);
  table.mHandles.emplace(inHandle, inKind);
}

void UnregisterHandle(const void* inHandle) noexcept {
  HandleTable& table = Handles();
  std::unique_lock<std::shared_mutex> lock(table.mMutex);
  table.mHandles.erase(inHandle);
}

bool IsHandle(const void* inHandle, HandleKind inKind) noexcept {
  if (!inHandle) return false;
  HandleTable& table = Handles();
  std::shared_lock<std::shared_mutex> lock(table.mMutex);
  const auto found = table.mHandles.find(inHandle);
  return found != table.mHandles.end() && found->second == inKind;
}

}  // namespace OstraC
