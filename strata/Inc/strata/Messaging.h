/// \file
/// Messaging: named stations that listeners attach to, synchronous broadcast
/// of a message to a station's listeners, and deferred delivery of a heap
/// copy of a message on the main thread (see strata/Executor.h for the main
/// thread and its pump).
///
/// One registry per process. Every function is thread-safe; a broadcast
/// calls the listeners on the broadcasting thread without holding a lock,
/// so a listener may broadcast, register stations, and add or remove
/// listeners (itself included) from inside its handler. A broadcast calls
/// the listeners attached when it began, in the order they were attached,
/// skipping any removed before its turn; listeners added meanwhile hear the
/// next broadcast. A listener must not be destroyed while another thread
/// may be broadcasting to it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <typeinfo>

#include "strata/Utility.h"

namespace strata {
namespace messaging {

typedef std::uint32_t MessageID;  ///< see GetMessageIDOf
typedef utility::ImmutableString StationID;  ///< a station's name

/// The 32-bit identifier of a message class from its run-time type name
/// (typeid(T).name()); the same text always gives the same identifier.
STRATA_API MessageID HashMessageTypeNameToMessageID(const char* inTypeName);

/// The identifier of message class T, computed on first use.
template <class T>
MessageID GetMessageIDOf() {
  static const MessageID sID = HashMessageTypeNameToMessageID(typeid(T).name());
  return sID;
}

/// The base of every message: its header is the type identifier. A class
/// that supports deferred delivery overrides Clone. Messages created with
/// new come from the small-block allocator (strata/Allocator.h).
///
/// Threading: a message is a value; a broadcast hands it to the listeners
/// on the broadcasting thread, and a deferred copy reaches them on the main
/// thread. Failures: creating one with new throws std::bad_alloc when
/// memory runs out; Clone returns null for a message that cannot be
/// deferred.
class STRATA_API Message {
 public:
  /// inMessageID is GetMessageIDOf<Derived>().
  explicit Message(MessageID inMessageID) : mMessageID(inMessageID) {}
  virtual ~Message();

  MessageID GetMessageID() const { return mMessageID; }  ///< as constructed

  /// A heap copy of the whole message (new Derived(*this)); the default
  /// returns null: the message cannot be deferred.
  virtual Message* Clone() const;

  /// Through the small-block allocator.
  ///@{
  static void* operator new(std::size_t inSize);
  static void operator delete(void* inMessage, std::size_t inSize);
  ///@}

 protected:
  /// For Clone in derived classes.
  ///@{
  Message(const Message&) = default;
  Message& operator=(const Message&) = default;
  ///@}

 private:
  /// A message is only its type; there is nothing else to hide.
  MessageID mMessageID;
};

/// The message as T when its identifier is T's, else null.
template <class T>
const T* MessageCast(const Message& inMessage) {
  return inMessage.GetMessageID() == GetMessageIDOf<T>() ? static_cast<const T*>(&inMessage)
                                                         : nullptr;
}

/// The base of everything that receives messages. Destroying a listener
/// detaches it from every station.
///
/// Threading: ListenToMessage runs on the broadcasting thread, with no lock
/// held, so it may broadcast and attach or detach listeners itself. A
/// listener must not be destroyed while another thread may be broadcasting
/// to it. Failures: an exception from ListenToMessage ends the broadcast
/// and reaches the broadcaster.
class STRATA_API Listener {
 public:
  Listener() = default;
  /// A copy is attached nowhere; assigning changes no attachment.
  ///@{
  Listener(const Listener&) {}
  Listener& operator=(const Listener&) { return *this; }
  ///@}
  virtual ~Listener();

  /// Receives each message broadcast on a station the listener is on.
  virtual void ListenToMessage(const StationID& inStation, const Message& inMessage) = 0;
};

/// Registers a station; true when it is new, false when it already existed
/// (it is kept as it is, listeners included).
STRATA_API bool RegisterStation(const StationID& inStation);

/// Registers a station under a new name no other station has, and returns it.
STRATA_API StationID RegisterUniqueStation();

/// Removes a station and detaches its listeners (they are not told). A
/// broadcast on it in progress calls no further listener. False when there
/// was no such station.
STRATA_API bool DisposeStation(const StationID& inStation);

/// Whether the station is registered and not disposed of.
STRATA_API bool IsStationRegistered(const StationID& inStation);

/// Attaches inListener to a registered station; a listener is on a station
/// at most once. False when the station is unknown or the listener is
/// already on it.
STRATA_API bool AddListener(const StationID& inStation, Listener* inListener);

/// Detaches inListener from the station; false when it was not on it.
STRATA_API bool RemoveListener(const StationID& inStation, Listener* inListener);

/// Delivers inMessage to the station's listeners now, on this thread, and
/// returns how many were called (0 for an unknown station). An exception
/// from a listener ends the broadcast and reaches the caller.
STRATA_API std::size_t BroadcastMessage(const StationID& inStation, const Message& inMessage);

/// Broadcasts the heap message inMessage (from Clone or new) on the station
/// when the main thread next pumps, then deletes it. The message is owned
/// from the call on, and deleted undelivered if the pump never comes.
STRATA_API void PostDeferredMessage(const StationID& inStation, std::unique_ptr<Message> inMessage);

/// Posts a heap copy of inMessage as above; false when the message cannot
/// be cloned.
STRATA_API bool PostDeferredCopy(const StationID& inStation, const Message& inMessage);

}  // namespace messaging
}  // namespace strata
