#include "host/repair/StreamNumbers.h"

#include <algorithm>
#include <cstdlib>

#include "host/input/StreamSource.h"

namespace {

constexpr unsigned int STREAMS = 256;
constexpr long BEGIN_TOGETHER = 5;  // seconds

}  // namespace

unsigned int StreamNumbers::find(const SessionIdentity& identity) {
  const unsigned int first = identity.isSound() ? StreamSource::AUDIO_OFFSET + 1U : 1U;
  std::optional<unsigned int> stream = identity.stream;
  if (!stream && fixed_) {
    stream = (*fixed_ + (identity.isSound() ? StreamSource::AUDIO_OFFSET : 0U)) % STREAMS;
  }
  if (!stream && identity.isSound()) stream = ofPictures(identity);
  if (!stream) stream = likeOthers(identity);
  if (!stream) stream = unused(first);
  known_.push_back(identity);
  known_.back().stream = stream;
  return *stream;
}

bool StreamNumbers::isFree(unsigned int stream, const SessionIdentity& identity) const {
  return std::none_of(known_.begin(), known_.end(), [&](const SessionIdentity& each) {
    return each.stream == stream && each.overlaps(identity);
  });
}

// The one that recorded last before it, as a camera does that was away for a while.
std::optional<unsigned int> StreamNumbers::likeOthers(const SessionIdentity& identity) const {
  const SessionIdentity* nearest = nullptr;
  for (const SessionIdentity& each : known_) {
    if (each.settings.text != identity.settings.text ||
        each.settings.type != identity.settings.type || !isFree(*each.stream, identity)) {
      continue;
    }
    const auto distance = [&](const SessionIdentity& other) {
      return std::labs(identity.start - other.end);
    };
    if (nearest == nullptr || distance(each) < distance(*nearest)) nearest = &each;
  }
  return nearest == nullptr ? std::nullopt : nearest->stream;
}

std::optional<unsigned int> StreamNumbers::ofPictures(const SessionIdentity& sound) const {
  for (const SessionIdentity& each : known_) {
    if (each.isSound() || std::labs(each.start - sound.start) > BEGIN_TOGETHER) continue;
    const unsigned int stream = *each.stream + StreamSource::AUDIO_OFFSET;
    if (stream < STREAMS && isFree(stream, sound)) return stream;
  }
  return std::nullopt;
}

unsigned int StreamNumbers::unused(unsigned int from) const {
  const auto isUsed = [&](unsigned int stream) {
    return std::any_of(known_.begin(), known_.end(),
                       [&](const SessionIdentity& each) { return each.stream == stream; });
  };
  unsigned int stream = from;
  while (stream + 1 < STREAMS && isUsed(stream)) ++stream;
  return stream;
}
