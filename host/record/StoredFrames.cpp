#include "host/record/StoredFrames.h"

#include "host/play/RecordingReader.h"

namespace {

constexpr std::int64_t WHOLE_SPAN_SECONDS = 10LL * 365 * 86400;

std::uint64_t identityOf(std::int64_t timeMs, const KTDataBlock& bytes) {
  std::uint64_t hash = 0xCBF29CE484222325 ^ static_cast<std::uint64_t>(timeMs);
  for (unsigned int i = 0; i < bytes.size; ++i) hash = (hash ^ bytes.data[i]) * 0x100000001B3;
  return hash;
}

}  // namespace

void StoredFrames::readFrom(const StreamFrame& first) {
  const auto kind = first.settings->isSound() ? RecordingReader::Audio : RecordingReader::Video;
  RecordingReader reader(recorder_, static_cast<unsigned char>(stream_), kind);
  if (!reader.seek(first.timeMs / 1000, WHOLE_SPAN_SECONDS)) return;
  RecordingReader::Frame frame;
  while (reader.next(frame)) known_.insert(identityOf(frame.timeMs, frame.frame.data()));
}

bool StoredFrames::has(const StreamFrame& frame) const {
  return known_.count(identityOf(frame.timeMs, frame.bytes)) != 0;
}
