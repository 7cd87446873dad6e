#include "host/view/EventReport.h"

#include <algorithm>
#include <string_view>

#include "host/input/TimeText.h"
#include "host/view/TextTable.h"

using nlohmann::ordered_json;

namespace {

std::string hex(const std::string& data) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string text;
  for (const char c : data) {
    const auto byte = static_cast<unsigned char>(c);
    text += digits[byte >> 4U];
    text += digits[byte & 15U];
  }
  return text;
}

std::string dumped(const ordered_json& json, int indent) {
  return json.dump(indent, ' ', false, ordered_json::error_handler_t::replace);
}

}  // namespace

std::string EventReport::dataText(const std::string& data) {
  const bool plain =
      std::all_of(data.begin(), data.end(), [](char c) { return c >= ' ' && c <= '~'; });
  return plain ? data : "0x" + hex(data);
}

ordered_json EventReport::asJson(const StoredEvent& event) {
  return {{"time", event.time},
          {"timeText", TimeText::format(event.time, "%FT%T%z")},
          {"sensor", event.sensor},
          {"type", event.type},
          {"id", event.id},
          {"data", event.data},
          {"dataHex", hex(event.data)}};
}

void EventReport::printTable(const std::vector<StoredEvent>& events) const {
  if (events.empty()) {
    out_ << "There are no such events.\n";
    return;
  }
  TextTable table({{"TIME", TextTable::Left},
                   {"SENSOR", TextTable::Right},
                   {"TYPE", TextTable::Right},
                   {"ID", TextTable::Right},
                   {"DATA", TextTable::Left}});
  for (const StoredEvent& event : events) {
    table.addRow({TimeText::format(event.time), std::to_string(event.sensor),
                  std::to_string(event.type), std::to_string(event.id), dataText(event.data)});
  }
  table.print(out_);
}

void EventReport::printJson(const std::string& recorder,
                            const std::vector<StoredEvent>& events) const {
  ordered_json list = ordered_json::array();
  for (const StoredEvent& event : events) list.push_back(asJson(event));
  out_ << dumped({{"recorder", recorder}, {"events", list}}, 2) << "\n";
}

void EventReport::printLine(const StoredEvent& event) const {
  out_ << TimeText::format(event.time) << "  sensor " << event.sensor << "  type " << event.type
       << "  id " << event.id;
  if (!event.data.empty()) out_ << "  " << dataText(event.data);
  out_ << std::endl;
}

void EventReport::printJsonLine(const StoredEvent& event) const {
  out_ << dumped(asJson(event), -1) << std::endl;
}
