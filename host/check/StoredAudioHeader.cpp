#include "host/check/StoredAudioHeader.h"

#include <fstream>
#include <iterator>
#include <vector>

std::optional<AudioHeader> StoredAudioHeader::read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::vector<char> text{std::istreambuf_iterator<char>(file), {}};
  MediaBytes bytes(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  std::optional<AudioHeader> header = AudioHeader::take(bytes);
  return bytes.empty() ? header : std::nullopt;
}
