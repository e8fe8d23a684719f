/// \file
/// Reference-counted interfaces shared across module boundaries, and the
/// smart reference that holds them.
///
/// IRefCounted's first two virtual slots are add-reference and release, so
/// an object made by one module (a host's cache) can be held by another.
/// InterfaceRef is safe to copy between threads; one InterfaceRef object is
/// not safe to modify from two threads at once.
#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "strata/Config.h"

namespace strata {
namespace classref {

/// An object shared by counted references; implement it with
/// RefCountedObject. Its first two virtual slots are add-reference and
/// release, so an object made by one module can be held by another.
///
/// Threading: the counting must be thread-safe (RefCountedObject's is
/// atomic); what else an object allows is its own rule. Failures: the
/// counting never fails or throws.
class IRefCounted {
 public:
  /// Adds a reference; removes one, deleting the object with the last.
  ///@{
  virtual void AddRef() const noexcept = 0;
  virtual void Release() const noexcept = 0;
  ///@}
  /// The current count; already stale when another thread holds a reference.
  virtual std::int32_t GetRefCount() const noexcept = 0;

 protected:
  virtual ~IRefCounted() = default;
};

/// Raised when an empty InterfaceRef is dereferenced.
///
/// A programming error reported as an exception: it is thrown on the
/// dereferencing thread and, like every strata_exception, may be caught as
/// std::runtime_error and copied to another thread.
class STRATA_API null_interface_exception : public config::strata_exception {
 public:
  null_interface_exception();
  ~null_interface_exception() override;
};

/// Throws null_interface_exception; out of line so that InterfaceRef stays small.
[[noreturn]] STRATA_API void ThrowNullInterface();

/// A counted reference to a T derived from IRefCounted, empty or holding one
/// reference of its object.
///
/// Threading: copies may be made and dropped on different threads; one
/// InterfaceRef object must not be changed by two threads at once.
/// Failures: dereferencing an empty reference throws
/// null_interface_exception; nothing else throws.
template <class T>
class InterfaceRef {
 public:
  InterfaceRef() noexcept = default;
  /// Takes a new reference to inObject (which may be null).
  InterfaceRef(T* inObject) noexcept : mObject(inObject) { Acquire(); }  // NOLINT: implicit by design
  /// A copy takes its own reference (also from a reference to a derived
  /// class); a move takes over the other's and leaves it empty.
  ///@{
  InterfaceRef(const InterfaceRef& inOther) noexcept : mObject(inOther.mObject) { Acquire(); }
  InterfaceRef(InterfaceRef&& ioOther) noexcept : mObject(ioOther.mObject) { ioOther.mObject = nullptr; }
  template <class U>
  InterfaceRef(const InterfaceRef<U>& inOther) noexcept : mObject(inOther.Get()) { Acquire(); }
  InterfaceRef& operator=(InterfaceRef inOther) noexcept {
    Swap(inOther);
    return *this;
  }
  ///@}
  ~InterfaceRef() { Reset(); }

  /// Empties the reference, releasing its object.
  void Reset() noexcept {
    T* old = mObject;
    mObject = nullptr;
    if (old) old->Release();
  }
  void Swap(InterfaceRef& ioOther) noexcept { std::swap(mObject, ioOther.mObject); }  ///< no counting

  /// The object without a new reference; null when empty.
  T* Get() const noexcept { return mObject; }
  /// Whether the reference holds no object.
  ///@{
  bool IsEmpty() const noexcept { return mObject == nullptr; }
  explicit operator bool() const noexcept { return mObject != nullptr; }
  ///@}

  /// Both throw null_interface_exception on an empty reference.
  ///@{
  T* operator->() const {
    if (!mObject) ThrowNullInterface();
    return mObject;
  }
  T& operator*() const { return *operator->(); }
  ///@}

  /// Compare the objects' addresses.
  ///@{
  friend bool operator==(const InterfaceRef& inA, const InterfaceRef& inB) { return inA.mObject == inB.mObject; }
  friend bool operator!=(const InterfaceRef& inA, const InterfaceRef& inB) { return inA.mObject != inB.mObject; }
  ///@}

 private:
  void Acquire() noexcept {
    if (mObject) mObject->AddRef();
  }
  T* mObject = nullptr;
};

/// Implements the counting of IRefCounted for a class derived from one
/// interface: RefCountedObject<MyCache> where MyCache : IFileBuffer.
/// The object deletes itself when the last reference goes.
///
/// Threading: the count is atomic, so references may come and go on any
/// thread; the last release deletes the object on whichever thread it runs.
/// Failures: counting never fails; making one throws whatever Base's
/// constructor throws (MakeInterface passes it on).
template <class Base>
class RefCountedObject : public Base {
 public:
  /// Constructs Base from the arguments, with a count of 0: the first
  /// InterfaceRef takes the first reference.
  template <class... Args>
  explicit RefCountedObject(Args&&... inArgs) : Base(std::forward<Args>(inArgs)...) {}

  /// IRefCounted, counted atomically.
  ///@{
  void AddRef() const noexcept override { mRefCount.fetch_add(1, std::memory_order_relaxed); }
  void Release() const noexcept override {
    if (mRefCount.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
  }
  std::int32_t GetRefCount() const noexcept override { return mRefCount.load(std::memory_order_acquire); }
  ///@}

 private:
  mutable std::atomic<std::int32_t> mRefCount{0};
};

/// Makes a RefCountedObject<T> and returns the first reference to it.
template <class T, class... Args>
InterfaceRef<T> MakeInterface(Args&&... inArgs) {
  return InterfaceRef<T>(new RefCountedObject<T>(std::forward<Args>(inArgs)...));
}

}  // namespace classref
}  // namespace strata
