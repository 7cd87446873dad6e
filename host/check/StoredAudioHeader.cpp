#include "host/check/StoredAudioHeader.h"

#include <fstream>
#include <sstream>

std::optional<AudioHeader> StoredAudioHeader::read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();  // ends where the disk fails
  const std::string text = content.str();
  MediaBytes bytes(reinterpret_cast<const unsigned char*>(text.data()), text.size());
  std::optional<AudioHeader> header = AudioHeader::take(bytes);
  return bytes.empty() ? header : std::nullopt;
}
