#include "host/record/StreamSettings.h"

#include "runtime/LittleEndian.h"

namespace {

constexpr unsigned int WORD = 4;

KTDataBlock word(std::uint32_t value) {
  KTDataBlock bytes(WORD);
  storeLittleEndian(bytes.writable(), value);
  return bytes;
}

// Takes pieces with their length in front off a block, one after the other.
class Pieces {
 public:
  explicit Pieces(const KTDataBlock& bytes) : bytes_(bytes) {}

  [[nodiscard]] bool takeWord(std::uint32_t& value) {
    if (bytes_.size - at_ < WORD) return false;
    value = loadLittleEndian(bytes_.data + at_);
    at_ += WORD;
    return true;
  }
  [[nodiscard]] bool take(KTDataBlock& piece) {
    std::uint32_t length = 0;
    if (!takeWord(length) || bytes_.size - at_ < length) return false;
    piece = bytes_.copy(at_, length);
    at_ += length;
    return true;
  }
  [[nodiscard]] bool takeText(KTString& text) {
    KTDataBlock piece;
    if (!take(piece)) return false;
    text = KTString(reinterpret_cast<const char*>(piece.data), piece.size);
    return true;
  }

 private:
  const KTDataBlock bytes_;
  unsigned int at_ = 0;
};

}  // namespace

// The texts of a row say all: its fields are parsed from them where they are needed.
// NOLINTBEGIN(cppcoreguidelines-slicing)
StreamSettings::StreamSettings(const KTRVideoSettingsRow& pictures) : row_(pictures) {}

StreamSettings::StreamSettings(const KTRAudioSettingsRow& sound, const KTDataBlock& header)
    : row_(sound), header_(header) {}
// NOLINTEND(cppcoreguidelines-slicing)

void StreamSettings::applyTo(KTRStreamRecordParams& params) const {
  if (isSound()) {
    params.audioSettings = KTRAudioSettingsRow(row_);
  } else {
    params.videoSettings = KTRVideoSettingsRow(row_);
  }
}

KTDataBlock StreamSettings::encode() const {
  KTDataBlock bytes = word(row_.streamType);
  for (const KTDataBlock& piece : {row_.name.dataBlock(), row_.settings.dataBlock(), header_}) {
    bytes += word(piece.size);
    bytes += piece;
  }
  return bytes;
}

std::optional<StreamSettings> StreamSettings::decode(const KTDataBlock& bytes) {
  Pieces pieces(bytes);
  std::uint32_t type = 0;
  KTString name;
  KTString settings;
  KTDataBlock header;
  if (!pieces.takeWord(type) || !pieces.takeText(name) || !pieces.takeText(settings) ||
      !pieces.take(header) || (type != STREAM_VIDEO && type != STREAM_AUDIO)) {
    return std::nullopt;
  }
  return StreamSettings(KTRSettingsRow(name, static_cast<streamTypes>(type), settings), header);
}

bool StreamSettings::operator==(const StreamSettings& other) const {
  return row_.streamType == other.row_.streamType && row_.name == other.row_.name &&
         row_.settings == other.row_.settings && header_ == other.header_;
}
