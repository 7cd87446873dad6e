#include "host/input/EventText.h"

#include <cstdint>
#include <fstream>

#include "host/HostError.h"
#include "host/events/StoredEvent.h"
#include "host/input/AsciiText.h"

namespace {

constexpr std::uint32_t MOST = 0xFFFFFFFF;

unsigned int upTo(std::uint32_t most, const std::string& text, const std::string& what) {
  const auto value = parseDigits<std::uint64_t>(text);
  if (!value || *value > most) {
    throw usageError("'" + text + "' is not " + what,
                     "give a number from 0 to " + std::to_string(most));
  }
  return static_cast<unsigned int>(*value);
}

/** What a file holds, but no more than shows that it is too much. */
std::string contentsOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::string bytes(StoredEvent::MAX_DATA + 1, '\0');
  file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!file.is_open() || file.bad() || (file.fail() && !file.eof())) {
    throw usageError("cannot read '" + path + "' for the data of the event",
                     "name a file after @, or give the text itself");
  }
  bytes.resize(static_cast<size_t>(file.gcount()));
  return bytes;
}

}  // namespace

unsigned int EventText::number(const std::string& text, const std::string& what) {
  return upTo(MOST, text, what);
}

unsigned int EventText::type(const std::string& text) {
  return upTo(StoredEvent::MAX_TYPE, text, "an event type");
}

std::string EventText::data(const std::string& text) {
  std::string bytes = text.starts_with("@") ? contentsOf(text.substr(1)) : text;
  if (bytes.size() > StoredEvent::MAX_DATA) {
    throw usageError("the data of the event is too long",
                     "give at most 255 bytes: events are played back with lengths of 8 bits");
  }
  return bytes;
}
