// Message stations, listeners of C callbacks, the idle countdown timer and
// the automation collector.
#include "Boundary.h"
#include "Ostra/AutomationDataCollector.h"
#include "Ostra/IdleTimer.h"
#include "strata/Messaging.h"
#include "strata/String.h"

using namespace OstraC;
namespace messaging = strata::messaging;

// A listener that hands each message to a C callback. Destroying it
// detaches it from its station (the Listener base does).
struct ostra_listener : messaging::Listener {
  static constexpr HandleKind kKind = HandleKind::kListener;
  ostra_listener(ostra_message_callback inCallback, void* inContext)
      : mCallback(inCallback), mContext(inContext) {}

  void ListenToMessage(const messaging::StationID&, const messaging::Message& inMessage) override {
    if (const auto* countdown = messaging::MessageCast<Ostra::IdleCountdownTimerMessage>(inMessage))
      mCallback(mContext, OSTRA_MESSAGE_IDLE_COUNTDOWN, countdown->GetCookie());
    else if (inMessage.GetMessageID() == Ostra::ApplicationIdleMessage::GetID())
      mCallback(mContext, OSTRA_MESSAGE_APPLICATION_IDLE, 0);
    else
      mCallback(mContext, OSTRA_MESSAGE_OTHER, 0);
  }

  ostra_message_callback mCallback;
  void* mContext;
};

struct ostra_idle_timer {
  static constexpr HandleKind kKind = HandleKind::kIdleTimer;
  Ostra::IdleCountdownTimer mTimer;
};

namespace {

messaging::StationID Station(const uint16_t* inStation) {
  return strata::string::UTF16toStdString(Text(inStation, "station is null"));
}

UTF16String Wide(const strata::utility::ImmutableString& inText) {
  return strata::string::StdToUTF16String(inText.str());
}

Ostra::AutomationDataCollector& Collector() { return *Ostra::AutomationDataCollector::Instance(); }

}  // namespace

extern "C" {

// ------------------------------------------------- stations and listeners

OSTRA_C_API ostra_result ostra_station_id(int32_t which, uint16_t* out, size_t capacity,
                                          size_t* out_length) {
  return Call(__func__, [&] {
    const strata::utility::ImmutableString* const stations[] = {
        &Ostra::kStation_Idle,      &Ostra::kStation_Repeat,      &Ostra::kStation_AppSuspend,
        &Ostra::kStation_AppResume, &Ostra::kStation_AboutDialog, &Ostra::kStation_StatusBar};
    const int32_t index = EnumArg<int32_t>(which, 5, "which is no station");
    return Out(Wide(*stations[index]), out, capacity, out_length);
  });
}

OSTRA_C_API ostra_result ostra_listener_new(const uint16_t* station,
                                            ostra_message_callback callback, void* context,
                                            ostra_listener** out_listener) {
  return Call(__func__, [&] {
    ostra_listener*& out = OSTRA_C_REF(out_listener);
    const messaging::StationID id = Station(station);
    ostra_listener* listener = nullptr;
    New(&listener, OSTRA_C_REF(callback), context);
    if (!messaging::AddListener(id, listener)) {
      Destroy(listener);
      Fail(OSTRA_E_INVALID_ARGUMENT, "the station is not registered");
    }
    out = listener;
  });
}

OSTRA_C_API ostra_result ostra_listener_destroy(ostra_listener* listener) {
  return Call(__func__, [&] { Destroy(listener); });
}

OSTRA_C_API ostra_result ostra_broadcast_application_idle(uint64_t* out_count) {
  return Call(__func__, [&] {
    uint64_t& count = OSTRA_C_REF(out_count);
    count = messaging::BroadcastMessage(Ostra::kStation_Idle, Ostra::ApplicationIdleMessage());
  });
}

OSTRA_C_API ostra_result ostra_post_idle_countdown_message(const uint16_t* station,
                                                           uint32_t cookie) {
  return Call(__func__,
              [&] { Ostra::IdleCountdownTimerMessage(cookie).PostDeferred(Station(station)); });
}

// --------------------------------------------------------------- idle timer

OSTRA_C_API ostra_result ostra_idle_timer_new(ostra_idle_timer** out_timer) {
  return Call(__func__, [&] { New(out_timer); });
}

OSTRA_C_API ostra_result ostra_idle_timer_destroy(ostra_idle_timer* timer) {
  return Call(__func__, [&] { Destroy(timer); });
}

OSTRA_C_API ostra_result ostra_idle_timer_set_duration(ostra_idle_timer* timer,
                                                       uint32_t milliseconds) {
  return Call(__func__, [&] { Use(timer).mTimer.SetDuration(milliseconds); });
}

OSTRA_C_API ostra_result ostra_idle_timer_set_cookie(ostra_idle_timer* timer, uint32_t cookie) {
  return Call(__func__, [&] { Use(timer).mTimer.SetCookie(cookie); });
}

OSTRA_C_API ostra_result ostra_idle_timer_arm(ostra_idle_timer* timer) {
  return Call(__func__, [&] { Use(timer).mTimer.ArmTimer(); });
}

OSTRA_C_API ostra_result ostra_idle_timer_get_station_id(const ostra_idle_timer* timer,
                                                         uint16_t* out, size_t capacity,
                                                         size_t* out_length) {
  return Call(__func__, [&] {
    return Out(Wide(Use(timer).mTimer.GetStationID()), out, capacity, out_length);
  });
}

// ---------------------------------------------------------------- automation

OSTRA_C_API ostra_result ostra_automation_tag(int32_t which, uint16_t* out, size_t capacity,
                                              size_t* out_length) {
  return Call(__func__, [&] {
    using Ostra::AutomationDataCollector;
    const UTF16String* const tags[] = {
        &AutomationDataCollector::kErrorTag, &AutomationDataCollector::kPerformanceTag,
        &AutomationDataCollector::kResultsTag, &AutomationDataCollector::kSuccessTag};
    const int32_t index = EnumArg<int32_t>(which, 3, "which is no automation tag");
    return Out(*tags[index], out, capacity, out_length);
  });
}

OSTRA_C_API ostra_result ostra_automation_add_result(const uint16_t* key, const uint16_t* name,
                                                     const uint16_t* value) {
  return Call(__func__, [&] {
    Collector().AddResult(OSTRA_C_TEXT(key), {OSTRA_C_TEXT(name), OSTRA_C_TEXT(value)});
  });
}

OSTRA_C_API ostra_result ostra_automation_add_results(const uint16_t* key,
                                                      const ostra_string_list* names_and_values) {
  return Call(__func__, [&] {
    const std::vector<UTF16String>& items = Use(names_and_values).mItems;
    if (items.size() % 2) Fail(OSTRA_E_INVALID_ARGUMENT, "the list has a name without a value");
    std::vector<Ostra::AutomationDataCollector::ResultPair> pairs;
    for (std::size_t i = 0; i < items.size(); i += 2) pairs.emplace_back(items[i], items[i + 1]);
    Collector().AddResults(OSTRA_C_TEXT(key), pairs);
  });
}

OSTRA_C_API ostra_result ostra_automation_clear(void) {
  return Call(__func__, [] { Collector().Clear(); });
}

OSTRA_C_API ostra_result ostra_automation_get_keys(ostra_string_list* out_keys) {
  return Call(__func__, [&] {
    std::vector<UTF16String>& keys = Use(out_keys).mItems;
    const Ostra::AutomationDataCollector::Collection collection = Collector().GetCollection();
    keys.clear();
    for (const auto& entry : collection) keys.push_back(entry.first);
  });
}

OSTRA_C_API ostra_result ostra_automation_get_results(const uint16_t* key,
                                                      ostra_string_list* out_names_and_values) {
  return Call(__func__, [&] {
    std::vector<UTF16String>& items = Use(out_names_and_values).mItems;
    const Ostra::AutomationDataCollector::Collection collection = Collector().GetCollection();
    const auto found = collection.find(OSTRA_C_TEXT(key));
    items.clear();
    if (found == collection.end()) return;
    for (const auto& pair : found->second) {
      items.push_back(pair.first);
      items.push_back(pair.second);
    }
  });
}

OSTRA_C_API ostra_result ostra_automation_specify_performance_test(
    uint16_t* out_name, size_t name_capacity, size_t* out_name_length, uint16_t* out_value,
    size_t value_capacity, size_t* out_value_length) {
  return Call(__func__, [&] {
    const Ostra::AutomationDataCollector::ResultPair pair = Collector().SpecifyPerformanceTest();
    return Out({{pair.first, out_name, name_capacity, out_name_length},
                {pair.second, out_value, value_capacity, out_value_length}});
  });
}

}  // extern "C"
