#include "host/media/NalUnits.h"

#include <cstring>

namespace {

constexpr size_t START_CODE_SIZE = 3;

NalKind h264Kind(unsigned int type) {
  if (type >= 1 && type <= 5) return NalKind::Picture;
  if (type == 7) return NalKind::Sps;
  if (type == 8) return NalKind::Pps;
  return type == 9 ? NalKind::Delimiter : NalKind::Other;
}

NalKind hevcKind(unsigned int type) {
  if (type <= 31) return NalKind::Picture;
  if (type == 32) return NalKind::Vps;
  if (type == 33) return NalKind::Sps;
  if (type == 34) return NalKind::Pps;
  return type == 35 ? NalKind::Delimiter : NalKind::Other;
}

}  // namespace

NalUnits::NalUnits(MediaBytes annexB) : bytes_(annexB), nextStart_(findStartCode(0)) {}

// A unit that does not begin with a zero is not empty, wherever it ends.
bool NalUnits::next() {
  do {
    if (nextStart() == bytes_.size()) return false;
    begin_ = nextStart() + START_CODE_SIZE;
    nextStart_ = UNKNOWN;
  } while (begin_ == bytes_.size() || (bytes_[begin_] == 0 && unit().empty()));
  return true;
}

MediaBytes NalUnits::unit() {
  size_t end = nextStart();
  while (end > begin_ && bytes_[end - 1] == 0) --end;
  return bytes_.subspan(begin_, end - begin_);
}

// Pictures are long and end their access unit most often: who asks for no more than what they are
// is spared the search for their end.
size_t NalUnits::nextStart() {
  if (nextStart_ == UNKNOWN) nextStart_ = findStartCode(begin_);
  return nextStart_;
}

// By the last byte of the code: a byte of 1 is rare enough in coded pictures for the search to run
// at the speed of the C library's.
size_t NalUnits::findStartCode(size_t from) const {
  const unsigned char* const bytes = bytes_.data();
  for (size_t at = from + START_CODE_SIZE - 1; at < bytes_.size(); ++at) {
    const void* const one = std::memchr(bytes + at, 1, bytes_.size() - at);
    if (one == nullptr) break;
    at = static_cast<size_t>(static_cast<const unsigned char*>(one) - bytes);
    if (bytes[at - 1] == 0 && bytes[at - 2] == 0) return at + 1 - START_CODE_SIZE;
  }
  return bytes_.size();
}

NalKind NalUnits::kindOf(MediaCodec codec, MediaBytes unit) {
  if (unit.empty()) return NalKind::Other;
  return codec == MediaCodec::Hevc ? hevcKind(unit[0] >> 1 & 0x3F) : h264Kind(unit[0] & 0x1F);
}
