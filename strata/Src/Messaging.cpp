#include "strata/Messaging.h"

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "strata/Allocator.h"
#include "strata/Debug.h"
#include "strata/Executor.h"

namespace strata {
namespace messaging {

namespace {

// One listener on one station. A broadcast works on a copy of the list of
// registrations, so removal only clears mActive; the broadcast reads it
// just before each call.
struct Registration {
  explicit Registration(Listener* inListener) : mListener(inListener) {}
  Listener* const mListener;
  std::atomic<bool> mActive{true};
};

typedef std::shared_ptr<Registration> RegistrationRef;
typedef std::vector<RegistrationRef> RegistrationList;

class Registry {
 public:
  Registry() { sAlive.store(true); }
  ~Registry() { sAlive.store(false); }
  Registry(const Registry&) = delete;
  Registry& operator=(const Registry&) = delete;

  // Listeners destroyed after the registry at process exit have nothing
  // to detach from.
  static std::atomic<bool> sAlive;

  std::mutex mMutex;
  std::map<StationID, RegistrationList> mStations;
  std::uint64_t mNextUniqueNumber = 1;
};

std::atomic<bool> Registry::sAlive{false};

Registry& GetRegistry() {
  static Registry sRegistry;
  return sRegistry;
}

// Detaches inListener from one station's list, under the registry's lock.
bool Detach(RegistrationList& ioList, const Listener* inListener) {
  for (RegistrationList::iterator it = ioList.begin(); it != ioList.end(); ++it) {
    if ((*it)->mListener == inListener) {
      (*it)->mActive.store(false, std::memory_order_release);
      ioList.erase(it);  // keeps the others in the order they were added
      return true;
    }
  }
  return false;
}

}  // namespace

MessageID HashMessageTypeNameToMessageID(const char* inTypeName) {
  STRATA_INPUT_CONTRACT(inTypeName != nullptr);
  // 32-bit FNV-1a: fast, and spreads similar class names well.
  std::uint32_t hash = 2166136261u;
  for (const unsigned char* c = reinterpret_cast<const unsigned char*>(inTypeName); *c; ++c) {
    hash ^= *c;
    hash *= 16777619u;
  }
  return hash;
}

// ---------------------------------------------------------------- Message

Message::~Message() = default;

Message* Message::Clone() const { return nullptr; }

void* Message::operator new(std::size_t inSize) { return allocator::SmallBlockAllocator::Allocate(inSize); }

void Message::operator delete(void* inMessage, std::size_t inSize) {
  allocator::SmallBlockAllocator::Free(inMessage, inSize);
}

// --------------------------------------------------------------- Listener

Listener::~Listener() {
  if (!Registry::sAlive.load()) return;
  Registry& registry = GetRegistry();
  std::lock_guard<std::mutex> lock(registry.mMutex);
  for (auto& station : registry.mStations) Detach(station.second, this);
}

// --------------------------------------------------------------- stations

bool RegisterStation(const StationID& inStation) {
  Registry& registry = GetRegistry();
  std::lock_guard<std::mutex> lock(registry.mMutex);
  return registry.mStations.emplace(inStation, RegistrationList()).second;
}

StationID RegisterUniqueStation() {
  Registry& registry = GetRegistry();
  std::lock_guard<std::mutex> lock(registry.mMutex);
  for (;;) {
    // A host may have registered a name of this form itself: skip it.
    const StationID station("strata.station.unique." + std::to_string(registry.mNextUniqueNumber++));
    if (registry.mStations.emplace(station, RegistrationList()).second) return station;
  }
}

bool DisposeStation(const StationID& inStation) {
  Registry& registry = GetRegistry();
  std::lock_guard<std::mutex> lock(registry.mMutex);
  const auto found = registry.mStations.find(inStation);
  if (found == registry.mStations.end()) return false;
  for (const RegistrationRef& registration : found->second)
    registration->mActive.store(false, std::memory_order_release);
  registry.mStations.erase(found);
  return true;
}

bool IsStationRegistered(const StationID& inStation) {
  Registry& registry = GetRegistry();
  std::lock_guard<std::mutex> lock(registry.mMutex);
  return registry.mStations.count(inStation) != 0;
}

// -------------------------------------------------------------- listeners

bool AddListener(const StationID& inStation, Listener* inListener) {
  STRATA_INPUT_CONTRACT(inListener != nullptr);
  Registry& registry = GetRegistry();
  std::lock_guard<std::mutex> lock(registry.mMutex);
  const auto found = registry.mStations.find(inStation);
  if (found == registry.mStations.end()) return false;
  for (const RegistrationRef& registration : found->second)
    if (registration->mListener == inListener) return false;
  found->second.push_back(std::make_shared<Registration>(inListener));
  return true;
}

bool RemoveListener(const StationID& inStation, Listener* inListener) {
  Registry& registry = GetRegistry();
  std::lock_guard<std::mutex> lock(registry.mMutex);
  const auto found = registry.mStations.find(inStation);
  return found != registry.mStations.end() && Detach(found->second, inListener);
}

// ------------------------------------------------------------- broadcasts

std::size_t BroadcastMessage(const StationID& inStation, const Message& inMessage) {
  RegistrationList listeners;
  {
    Registry& registry = GetRegistry();
    std::lock_guard<std::mutex> lock(registry.mMutex);
    const auto found = registry.mStations.find(inStation);
    if (found == registry.mStations.end()) return 0;
    listeners = found->second;
  }
  std::size_t called = 0;
  for (const RegistrationRef& registration : listeners) {
    if (!registration->mActive.load(std::memory_order_acquire)) continue;
    registration->mListener->ListenToMessage(inStation, inMessage);
    ++called;
  }
  return called;
}

void PostDeferredMessage(const StationID& inStation, std::unique_ptr<Message> inMessage) {
  STRATA_INPUT_CONTRACT(inMessage != nullptr);
  // The call must be copyable; the message is deleted with the last copy.
  const std::shared_ptr<Message> message(std::move(inMessage));
  threads::PostToMainThread([inStation, message] { BroadcastMessage(inStation, *message); });
}

bool PostDeferredCopy(const StationID& inStation, const Message& inMessage) {
  std::unique_ptr<Message> copy(inMessage.Clone());
  if (!copy) return false;
  PostDeferredMessage(inStation, std::move(copy));
  return true;
}

}  // namespace messaging
}  // namespace strata
