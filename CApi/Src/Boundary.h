// The boundary between the C interface and the C++ library: one call
// wrapper that turns every exception into a result code and records the
// calling thread's last error text, the checks of pointer arguments and
// handles, and the conversion of texts in and out.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

#include "Ostra/OstraConfig.h"
#include "ostra/ostra.h"

namespace OstraC {

using Ostra::UTF16String;

/// A failure the boundary finds itself (a null pointer, a bad handle, an
/// undefined value). Thrown by value; inWhat is a string literal.
struct BoundaryError {
  ostra_result mCode;
  const char* mWhat;
};

[[noreturn]] void Fail(ostra_result inCode, const char* inWhat);

/// For the catch-all of Call: the current exception as a result code, with
/// the calling thread's last error text set to what it says.
ostra_result TranslateCurrentException(const char* inFunction) noexcept;
/// Sets the calling thread's last error text to inFunction and the text of
/// a failure code that the library returned.
void RecordFailure(const char* inFunction, ostra_result inResult) noexcept;

/// Runs the body of a C function: every exception becomes a result, and a
/// failing result leaves its text for ostra_last_error_text. A body that
/// returns nothing succeeds.
template <class Body>
ostra_result Call(const char* inFunction, Body&& inBody) noexcept {
  try {
    if constexpr (std::is_void_v<decltype(inBody())>) {
      inBody();
      return OSTRA_SUCCESS;
    } else {
      const ostra_result result = inBody();
      if (result < 0) RecordFailure(inFunction, result);
      return result;
    }
  } catch (...) {
    return TranslateCurrentException(inFunction);
  }
}

/// The name and meaning of a result code.
UTF16String ResultText(ostra_result inResult);
/// The calling thread's last error text (not NUL-terminated) and its length.
const uint16_t* LastErrorText(std::size_t& outLength) noexcept;

// ---------------------------------------------------------------- arguments

/// The object a required pointer argument points to.
template <class T>
T& Ref(T* inPointer, const char* inWhat) {
  if (!inPointer) Fail(OSTRA_E_INVALID_ARGUMENT, inWhat);
  return *inPointer;
}

/// Writes a truth value to an output that may be null.
inline void SetOptionalFlag(int32_t* outFlag, bool inValue) {
  if (outFlag) *outFlag = inValue ? 1 : 0;
}

/// An integer argument that must lie in 0..inLargest (for an enumeration:
/// every value of its range) as the enumeration type E.
template <class E, class Integer>
E EnumArg(Integer inValue, Integer inLargest, const char* inWhat) {
  if (inValue < 0 || inValue > inLargest) Fail(OSTRA_E_INVALID_ARGUMENT, inWhat);
  return static_cast<E>(inValue);
}
/// Flag bits that must all lie in inMask, as the enumeration type E.
template <class E>
E FlagsArg(uint32_t inValue, uint32_t inMask, const char* inWhat) {
  if (inValue & ~inMask) Fail(OSTRA_E_INVALID_ARGUMENT, inWhat);
  return static_cast<E>(inValue);
}

/// A required NUL-terminated text argument.
UTF16String Text(const uint16_t* inText, const char* inWhat);
/// The same as a system wide string, for resource names that may be
/// integer ids rather than texts.
inline const wchar_t* WideArg(const uint16_t* inText, const char* inWhat) {
  if (!inText) Fail(OSTRA_E_INVALID_ARGUMENT, inWhat);
  return reinterpret_cast<const wchar_t*>(inText);
}

/// Argument checks that name the argument in the last error text.
#define OSTRA_C_REF(pointer) ::OstraC::Ref((pointer), #pointer " is null")
#define OSTRA_C_TEXT(text) ::OstraC::Text((text), #text " is null")

// ------------------------------------------------------------------ outputs

/// One text output by the rule of the header: (out, capacity, out_length).
struct TextOut {
  const UTF16String& mText;
  uint16_t* mOut;
  std::size_t mCapacity;
  std::size_t* mLength;
};

/// Copies the texts out, or none of them when one does not fit.
ostra_result Out(std::initializer_list<TextOut> inOutputs);
inline ostra_result Out(const UTF16String& inText, uint16_t* outText, std::size_t inCapacity,
                        std::size_t* outLength) {
  return Out({TextOut{inText, outText, inCapacity, outLength}});
}
/// Bytes by the same rule, without the NUL.
ostra_result OutBytes(const void* inData, std::size_t inSize, void* outData,
                      std::size_t inCapacity, std::size_t* outSize);

/// inResult, and the text copied out when it succeeded.
inline ostra_result OutIfSucceeded(ostra_result inResult, const UTF16String& inText,
                                   uint16_t* outText, std::size_t inCapacity,
                                   std::size_t* outLength) {
  if (inResult < 0) return inResult;
  const ostra_result copied = Out(inText, outText, inCapacity, outLength);
  return copied < 0 ? copied : inResult;
}

// ------------------------------------------------------------------ handles

/// The kinds of handle; a handle of one kind is refused by the others.
enum class HandleKind : std::uint32_t {
  kStringList = 1,
  kDirectory,
  kFile,
  kBlockCache,
  kBlock,
  kAsyncReader,
  kRegistryKey,
  kModule,
  kTimecode,
  kListener,
  kIdleTimer
};

/// The live handles of the process. A handle is checked against this set,
/// never dereferenced, so a stale or foreign pointer is refused safely.
void RegisterHandle(const void* inHandle, HandleKind inKind);
void UnregisterHandle(const void* inHandle) noexcept;
bool IsHandle(const void* inHandle, HandleKind inKind) noexcept;

/// The object of a live handle of T's kind (T::kKind).
template <class T>
T& Use(T* inHandle) {
  if (!IsHandle(inHandle, std::remove_cv_t<T>::kKind))
    Fail(OSTRA_E_INVALID_HANDLE, "the handle is null, destroyed or of another kind");
  return *inHandle;
}

/// Makes a T from the arguments, registers it and stores it in *outHandle.
template <class T, class... Args>
void New(T** outHandle, Args&&... inArgs) {
  T*& out = OSTRA_C_REF(outHandle);
  std::unique_ptr<T> handle(new T(std::forward<Args>(inArgs)...));
  RegisterHandle(handle.get(), T::kKind);
  out = handle.release();
}

/// Unregisters and deletes a handle of T's kind; null is ignored.
template <class T>
void Destroy(T* inHandle) {
  if (!inHandle) return;
  Use(inHandle);
  UnregisterHandle(inHandle);
  delete inHandle;
}

}  // namespace OstraC

/// A list of texts (ostra_string_list).
struct ostra_string_list {
  static constexpr OstraC::HandleKind kKind = OstraC::HandleKind::kStringList;
  std::vector<Ostra::UTF16String> mItems;
};
