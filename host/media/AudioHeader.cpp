#include "host/media/AudioHeader.h"

#include <algorithm>
#include <cstring>

#include "host/media/AudioFormat.h"
#include "runtime/LittleEndian.h"

using Format = AudioFormat;

KTDataBlock AudioHeader::encode() const {
  const std::string_view name = audioCodecName(codec);
  const size_t size = Format::HEADER_HEAD_SIZE + name.size() + extraData.size();
  if (channels == 0 || channels > 255 || sampleRate == 0 || size > Format::MAX_HEADER_SIZE) {
    return KTDataBlock();
  }
  KTDataBlock block(static_cast<unsigned int>(size));
  unsigned char* const bytes = block.writable();
  bytes[0] = Format::HEADER_MARK;
  bytes[Format::CHANNELS_OFFSET] = static_cast<unsigned char>(channels);
  bytes[Format::NAME_SIZE_OFFSET] = static_cast<unsigned char>(name.size());
  storeLittleEndian(bytes + Format::SAMPLE_RATE_OFFSET, sampleRate);
  storeLittleEndian(bytes + Format::EXTRA_SIZE_OFFSET,
                    static_cast<std::uint32_t>(extraData.size()));
  std::copy(name.begin(), name.end(), bytes + Format::HEADER_HEAD_SIZE);
  std::copy(extraData.begin(), extraData.end(), bytes + Format::HEADER_HEAD_SIZE + name.size());
  return block;
}

std::optional<AudioHeader> AudioHeader::take(MediaBytes& bytes) {
  if (bytes.size() < Format::HEADER_HEAD_SIZE || bytes[0] != Format::HEADER_MARK) return {};
  const size_t nameSize = bytes[Format::NAME_SIZE_OFFSET];
  const size_t extraSize = loadLittleEndian(bytes.data() + Format::EXTRA_SIZE_OFFSET);
  const size_t size = Format::HEADER_HEAD_SIZE + nameSize + extraSize;
  if (size > Format::MAX_HEADER_SIZE || size > bytes.size()) return {};
  const MediaBytes name = bytes.subspan(Format::HEADER_HEAD_SIZE, nameSize);
  const MediaBytes extra = bytes.subspan(Format::HEADER_HEAD_SIZE + nameSize, extraSize);
  const auto codec = audioCodecOf({reinterpret_cast<const char*>(name.data()), name.size()});
  AudioHeader header;
  header.channels = bytes[Format::CHANNELS_OFFSET];
  header.sampleRate = loadLittleEndian(bytes.data() + Format::SAMPLE_RATE_OFFSET);
  header.extraData.assign(extra.begin(), extra.end());
  if (!codec || bytes[Format::RESERVED_OFFSET] != 0 || header.channels == 0 ||
      header.sampleRate == 0 || header.sampleRate > 0x7FFFFFFF) {
    return {};
  }
  header.codec = *codec;
  bytes = bytes.subspan(size);
  return header;
}
