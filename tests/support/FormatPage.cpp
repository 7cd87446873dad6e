#include "tests/support/FormatPage.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace {

void appendLine(KTDataBlock& bytes, const std::string& line) {
  std::istringstream digits(line.substr(0, line.find('#')));
  unsigned int value = 0;
  while (digits >> std::hex >> value) {
    const auto byte = static_cast<unsigned char>(value);
    bytes += KTDataBlock(&byte, 1);
  }
  if (!digits.eof()) throw std::runtime_error("not a line of hex bytes: " + line);
}

}  // namespace

KTDataBlock workedExample(const std::string& name) {
  std::ifstream page(std::string(KTR_SOURCE_DIR "/docs/format/") + name);
  KTDataBlock bytes;
  bool inside = false;
  for (std::string line; std::getline(page, line);) {
    if (line == "```hex") {
      inside = true;
    } else if (line == "```") {
      inside = false;
    } else if (inside) {
      appendLine(bytes, line);
    }
  }
  if (bytes.size == 0) throw std::runtime_error("no worked example in " + name);
  return bytes;
}
