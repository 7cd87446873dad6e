#include "host/media/AudioFrameParser.h"

#include "host/media/AudioFormat.h"
#include "runtime/LittleEndian.h"

using Format = AudioFormat;

bool AudioFrameParser::parse(const KTDataBlock& payload, std::int64_t timeMs) {
  packets_.clear();
  MediaBytes bytes(payload.data, payload.size);
  header_ = AudioHeader::take(bytes);
  if (bytes.empty() || bytes[0] != Format::PACKETS_MARK) return false;
  const auto offset = static_cast<unsigned int>(payload.size - bytes.size() + 1);
  return takePackets(payload, offset, timeMs * 1000) && !packets_.empty();
}

bool AudioFrameParser::takePackets(const KTDataBlock& payload, unsigned int offset,
                                   std::int64_t timeUs) {
  while (offset < payload.size) {
    if (payload.size - offset < Format::PACKET_HEAD_SIZE) return false;
    const unsigned char* const head = payload.data + offset;
    const std::int64_t offsetUs = loadLittleEndian(head + Format::OFFSET_OFFSET);
    const std::int64_t durationUs = loadLittleEndian(head + Format::DURATION_OFFSET);
    const unsigned int size = loadLittleEndian(head + Format::SIZE_OFFSET);
    offset += Format::PACKET_HEAD_SIZE;
    if (size == 0 || size > payload.size - offset) return false;
    if (offsetUs > Format::MAX_SPAN_US || durationUs > Format::MAX_SPAN_US) return false;
    packets_.push_back({payload.copy(offset, size), timeUs + offsetUs, durationUs});
    offset += size;
  }
  return true;
}
