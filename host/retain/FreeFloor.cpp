#include "host/retain/FreeFloor.h"

#include <algorithm>

#include "host/HostError.h"
#include "host/input/AsciiText.h"
#include "host/input/ByteCount.h"

namespace {
constexpr unsigned int WHOLE = 100;
constexpr long MOST_PERCENT = 90;
}  // namespace

FreeFloor FreeFloor::parse(const std::string& text) {
  if (text.empty() || text.back() != '%') return {ByteCount::parse(text), WHOLE};
  const std::optional<long> percent = parseDigits(text.substr(0, text.size() - 1));
  if (!percent || *percent > MOST_PERCENT) {
    throw usageError("'" + text + "' is not a share of a file system", "give 0% to 90%");
  }
  return {std::numeric_limits<uint64_t>::max(), static_cast<unsigned int>(*percent)};
}

uint64_t FreeFloor::bytesOf(uint64_t wholeBytes) const {
  return std::min(bytes_, wholeBytes / WHOLE * percent_);
}
