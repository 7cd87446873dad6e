#include "host/check/SessionFiles.h"

#include <algorithm>
#include <charconv>
#include <numeric>
#include <optional>

namespace {

constexpr std::string_view SLICE_END = ".dat";

/** The number in "F12.dat". */
std::optional<unsigned int> sliceOf(std::string_view rest) {
  if (!rest.starts_with('F') || !rest.ends_with(SLICE_END)) return std::nullopt;
  const std::string_view digits = rest.substr(1, rest.size() - 1 - SLICE_END.size());
  unsigned int number = 0;
  const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const bool plain = !digits.empty() && parsed.ptr == digits.data() + digits.size() &&
                     parsed.ec == std::errc() && digits == std::to_string(number);
  return plain && number < SessionFiles::RING ? std::optional(number) : std::nullopt;
}

}  // namespace

std::string SessionFiles::slicePath(unsigned int slice) const {
  return prefix + "F" + std::to_string(slice) + std::string(SLICE_END);
}

uint64_t SessionFiles::bytes() const {
  return std::accumulate(slices.begin(), slices.end(), uint64_t{0},
                         [](uint64_t sum, const auto& slice) { return sum + slice.second; });
}

void SessionFiles::add(std::string_view rest, uint64_t bytes) {
  if (const auto slice = sliceOf(rest)) {
    slices[*slice] = bytes;
  } else if (rest.ends_with(UNFINISHED)) {
    leftovers.push_back(prefix + std::string(rest));
  } else if (rest.starts_with('F') && rest.find(DAMAGED) != std::string_view::npos) {
    damaged = true;
  } else if (rest == "audioHeader.dat") {
    audioHeader = true;
  } else if (rest == SIDECAR) {
    sidecar = true;
  }
}

// The ring of names was gone round when both of its ends are there; then the widest gap is where
// the oldest slices were deleted.
std::vector<unsigned int> SessionFiles::chain() const {
  std::vector<unsigned int> numbers;
  for (const auto& [number, size] : slices) numbers.push_back(number);
  if (numbers.empty() || numbers.front() != 0 || numbers.back() != RING - 1) return numbers;
  size_t first = 0;
  unsigned int widest = 1;
  for (size_t i = 1; i < numbers.size(); ++i) {
    if (numbers[i] - numbers[i - 1] <= widest) continue;
    widest = numbers[i] - numbers[i - 1];
    first = i;
  }
  std::rotate(numbers.begin(), numbers.begin() + static_cast<std::ptrdiff_t>(first), numbers.end());
  return numbers;
}

std::vector<unsigned int> SessionFiles::gaps() const {
  const std::vector<unsigned int> numbers = chain();
  std::vector<unsigned int> missing;
  for (size_t i = 1; i < numbers.size(); ++i) {
    for (unsigned int n = (numbers[i - 1] + 1) % RING; n != numbers[i]; n = (n + 1) % RING) {
      missing.push_back(n);
    }
  }
  return missing;
}
