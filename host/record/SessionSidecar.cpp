#include "host/record/SessionSidecar.h"

#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>

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
  for (size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<unsigned char>(std::stoul(hex.substr(i, 2), nullptr, 16)));
  }
  return bytes;
}

bool isSound(const SessionSidecar& sidecar) {
  return sidecar.stream <= LARGEST_BYTE && sidecar.fps <= LARGEST_BYTE &&
         sidecar.type <= STREAM_AUDIO && sidecar.name.size() <= LONGEST_NAME &&
         sidecar.settings.size() <= LONGEST_SETTINGS && !sidecar.settings.empty() &&
         sidecar.audioHeader.size() <= LONGEST_HEADER;
}

}  // namespace

std::optional<SessionSidecar> SessionSidecar::read(const std::string& path) {
  std::ifstream file(path);
  try {
    const json content = json::parse(file);
    SessionSidecar sidecar;
    sidecar.stream = content.at("stream").get<unsigned int>();
    sidecar.type = content.at("type").get<unsigned int>();
    sidecar.fps = content.at("fps").get<unsigned int>();
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
