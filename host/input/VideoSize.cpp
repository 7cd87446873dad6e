#include "host/input/VideoSize.h"

#include "host/HostError.h"
#include "host/input/AsciiText.h"

namespace {

constexpr long MAX_SIDE = 65535;

bool isSide(const std::optional<long>& pixels) {
  return pixels && *pixels >= 1 && *pixels <= MAX_SIDE;
}

}  // namespace

VideoSize VideoSize::parse(const std::string& text) {
  const size_t x = text.find('x');
  std::optional<long> width;
  std::optional<long> height;
  if (x != std::string::npos) {
    width = parseDigits(text.substr(0, x));
    height = parseDigits(text.substr(x + 1));
  }
  if (!isSide(width) || !isSide(height)) {
    throw usageError("'" + text + "' is not a picture size", "give WIDTHxHEIGHT, such as 1280x720");
  }
  return {static_cast<unsigned int>(*width), static_cast<unsigned int>(*height)};
}
