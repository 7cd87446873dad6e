#include "host/events/EventWatch.h"

#include <algorithm>

#include "runtime/KTTimeValue.h"

std::vector<StoredEvent> EventWatch::poll() {
  EventCatalog::Query query;
  query.sensor = sensor_;
  query.from = from_;
  std::map<StoredEvent, size_t> seen;
  std::vector<StoredEvent> fresh;
  for (const StoredEvent& event : catalog_.read(query)) {
    if (++seen[event] > told_[event]) fresh.push_back(event);
  }
  for (const StoredEvent& event : fresh) ++told_[event];
  forgetBefore(KTTimeValue::now().tv_sec - LATE_SECONDS);
  return fresh;
}

void EventWatch::forgetBefore(long time) {
  from_ = std::max(from_, time);
  std::erase_if(told_,
                [this](const auto& entry) { return static_cast<long>(entry.first.time) < from_; });
}
