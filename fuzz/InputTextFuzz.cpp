// What people give ktr as text: times, lengths of time, sizes, names, numbers, places. A parser
// either refuses with a usage error of one line or answers a value within its limits.
#include <cstdlib>
#include <ctime>
#include <optional>

#include "fuzz/FuzzRequire.h"
#include "host/HostError.h"
#include "host/input/ByteCount.h"
#include "host/input/DurationText.h"
#include "host/input/EventText.h"
#include "host/input/RecorderName.h"
#include "host/input/StorageRoot.h"
#include "host/input/StreamNumber.h"
#include "host/input/StreamSource.h"
#include "host/input/TimeText.h"
#include "host/input/VideoSize.h"
#include "host/retain/FreeFloor.h"

namespace {

constexpr long NOW = 1767225600;  // midnight, the first of January 2026
constexpr const char* PLAIN = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";

/** The value of a parser, or nothing when it refuses as it should. */
template <typename Parse>
auto accepted(Parse parse) -> std::optional<decltype(parse())> {
  try {
    return parse();
  } catch (const HostError& error) {
    const std::string_view line = error.what();
    fuzzRequire(error.status() == HostError::Usage, "a wrong text is an error of usage");
    fuzzRequire(line.find_first_of("\n\r") == std::string_view::npos, "a refusal is one line");
    return std::nullopt;
  }
}

void checkTimes(const std::string& text) {
  const auto time = accepted([&] { return TimeText::parse(text, NOW); });
  if (time) {
    fuzzRequire(*time >= 0 && *time <= TimeText::LAST, "a time fits the tables");
    fuzzRequire(TimeText::parse(TimeText::format(*time), NOW) == *time, "a time survives");
  }
  const auto seconds = accepted([&] { return DurationText::parse(text); });
  if (seconds) {
    fuzzRequire(*seconds >= 1 && *seconds <= DurationText::MAX, "a duration has its limits");
    fuzzRequire(DurationText::parse(DurationText::format(*seconds)) == *seconds,
                "a duration survives");
  }
}

void checkNumbers(const std::string& text) {
  if (const auto bytes = accepted([&] { return ByteCount::parse(text); })) {
    fuzzRequire(*bytes <= INT64_MAX, "a number of bytes is signed elsewhere");
    fuzzRequire(ByteCount::parse(std::to_string(*bytes)) == *bytes, "a number of bytes survives");
  }
  if (const auto stream = accepted([&] { return StreamNumber::parse(text); })) {
    fuzzRequire(StreamNumber::parse(std::to_string(*stream)) == *stream, "a stream survives");
  }
  if (const auto size = accepted([&] { return VideoSize::parse(text); })) {
    fuzzRequire(VideoSize::parse(size->text()).text() == size->text(), "a size survives");
  }
  if (const auto type = accepted([&] { return EventText::type(text); })) {
    fuzzRequire(*type <= INT32_MAX, "an event type has 31 bits");
  }
  (void)accepted([&] { return EventText::number(text, "a sensor"); });
  (void)accepted([&] { return FreeFloor::parse(text); });
}

void checkNames(const std::string& text) {
  if (const auto name = accepted([&] { return RecorderName::parse(text); })) {
    fuzzRequire(name->text() == text && !text.empty() && text.size() <= RecorderName::MAX_LENGTH,
                "a name is taken as it is");
    fuzzRequire(text.find_first_not_of(PLAIN) == std::string::npos, "a name is plain");
  }
  if (text.find("=@") != std::string::npos) return;  // names a file
  if (const auto source = accepted([&] { return StreamSource::parse(text); })) {
    fuzzRequire(!source->url.empty() && text.ends_with("=" + source->url), "a URL is what follows");
  }
}

void checkPlaces(const std::string& text) {
  const auto root = accepted([&] { return StorageRoot::parse(text, "/current/directory"); });
  if (!root) return;
  const std::string& path = root->path();
  fuzzRequire(path.starts_with("/") && path.size() <= StorageRoot::MAX_LENGTH, "a root is a path");
  fuzzRequire(path.find_first_not_of(PLAIN + std::string("/._-")) == std::string::npos,
              "a root is safe in a shell and in SQL");
  fuzzRequire((path + "/").find("/../") == std::string::npos, "a root does not climb");
  fuzzRequire(StorageRoot::parse(path, "/elsewhere").path() == path, "a root survives");
}

void checkData(const std::string& text) {
  if (text.starts_with("@")) return;  // names a file
  const auto data = accepted([&] { return EventText::data(text); });
  fuzzRequire(!data || *data == text, "the data of an event is taken as it is");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  setenv("TZ", "UTC0", 1);
  tzset();
  const std::string text = fuzzText({data, size});
  checkTimes(text);
  checkNumbers(text);
  checkNames(text);
  checkPlaces(text);
  checkData(text);
  return 0;
}
