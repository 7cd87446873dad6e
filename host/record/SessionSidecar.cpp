#include "host/record/SessionSidecar.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "db/streamTypes.h"

using nlohmann::json;
using nlohmann::ordered_json;

namespace {

constexpr size_t LONGEST_NAME = 19;
constexpr size_t LONGEST_SETTINGS = 255;
constexpr size_t LONGEST_HEADER = 4096;
constexpr unsigned int LARGEST_BYTE = 255;
constexpr const char* HEX = "0123456789abcdef";

std::string hexOf(const std::vector<unsigned char>& bytes) {
  std::string text;
  for (const unsigned char byte : bytes) {
    text += HEX[byte >> 4];
    text += HEX[byte & 15];
  }
  return text;
}

std::vector<unsigned char> bytesOf(const std::string& hex) {
  std::vector<unsigned char> bytes;
  for (size_t i = 0; i < hex.size(); i += 2) {
    const char* const end = hex.data() + std::min(i + 2, hex.size());
    unsigned char byte = 0;
    const auto parsed = std::from_chars(hex.data() + i, end, byte, 16);
    if (parsed.ptr != hex.data() + i + 2) throw std::invalid_argument("no hex digits");
    bytes.push_back(byte);
  }
  return bytes;
}

// Others that a JSON number can be would be converted, or could not be.
unsigned int numberIn(const json& content, const char* key) {
  const json& number = content.at(key);
  if (!number.is_number_unsigned() || number > LARGEST_BYTE) {
    throw std::invalid_argument("no number of a byte");
  }
  return number.get<unsigned int>();
}

bool isSound(const SessionSidecar& sidecar) {
  return sidecar.type <= STREAM_AUDIO && sidecar.name.size() <= LONGEST_NAME &&
         sidecar.settings.size() <= LONGEST_SETTINGS && !sidecar.settings.empty() &&
         sidecar.audioHeader.size() <= LONGEST_HEADER;
}

}  // namespace

std::optional<SessionSidecar> SessionSidecar::read(const std::string& path) {
  std::ifstream file(path);
  try {
    const json content = json::parse(file);
    SessionSidecar sidecar;
    sidecar.stream = numberIn(content, "stream");
    sidecar.type = numberIn(content, "type");
    sidecar.fps = numberIn(content, "fps");
    sidecar.name = content.at("name").get<std::string>();
    sidecar.settings = content.at("settings").get<std::string>();
    sidecar.audioHeader = bytesOf(content.at("audioHeader").get<std::string>());
    return isSound(sidecar) ? std::optional(std::move(sidecar)) : std::nullopt;
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

bool SessionSidecar::write(const std::string& path) const {
  const std::string text =
      ordered_json{{"stream", stream}, {"type", type},         {"fps", fps},
                   {"name", name},     {"settings", settings}, {"audioHeader", hexOf(audioHeader)}}
          .dump(2, ' ', false, ordered_json::error_handler_t::replace);
  const std::string unfinished = path + ".unfinished";
  std::ofstream file(unfinished, std::ios::trunc);
  file << text << "\n";
  file.close();
  return file && std::rename(unfinished.c_str(), path.c_str()) == 0;
}
