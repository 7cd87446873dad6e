#include "host/media/ParameterSets.h"

#include <algorithm>

namespace {

/** Reads the bits of a NAL unit and passes over its emulation prevention bytes. */
class NalBits {
 public:
  explicit NalBits(MediaBytes unit) : unit_(unit) {}

  unsigned int read(unsigned int count) {
    unsigned int value = 0;
    for (; count != 0; --count) value = value << 1 | bit();
    return value;
  }

  void skip(unsigned int count) {
    for (; count != 0; --count) bit();
  }

  // Exponential Golomb code.
  unsigned int readUe() {
    unsigned int zeros = 0;
    while (zeros < 31 && !pastEnd() && bit() == 0) ++zeros;
    return (1U << zeros) - 1 + read(zeros);
  }

 private:
  [[nodiscard]] bool pastEnd() const { return byte_ >= unit_.size(); }

  unsigned int bit() {
    if (pastEnd()) return 0;
    const unsigned int value = unit_[byte_] >> (7 - bit_) & 1U;
    if (++bit_ == 8) step();
    return value;
  }

  void step() {
    bit_ = 0;
    zeros_ = unit_[byte_] == 0 ? zeros_ + 1 : 0;
    ++byte_;
    if (zeros_ < 2 || pastEnd() || unit_[byte_] != 3) return;
    zeros_ = 0;
    ++byte_;
  }

  MediaBytes unit_;
  size_t byte_ = 0;
  unsigned int bit_ = 0;
  unsigned int zeros_ = 0;
};

unsigned int h264SetId(NalKind kind, MediaBytes unit) {
  NalBits bits(unit);
  bits.skip(kind == NalKind::Sps ? 8 + 24 : 8);  // head; profile, constraints and level of an SPS
  return bits.readUe();
}

// The general profile, tier and level, then those of the sub-layers that have them.
void skipProfileTierLevel(NalBits& bits, unsigned int subLayers) {
  bits.skip(88 + 8);
  unsigned int length = 0;
  for (unsigned int i = 0; i < subLayers; ++i) {
    if (bits.read(1) != 0) length += 88;
    if (bits.read(1) != 0) length += 8;
  }
  if (subLayers != 0) bits.skip(2 * (8 - subLayers));
  bits.skip(length);
}

unsigned int hevcSetId(NalKind kind, MediaBytes unit) {
  NalBits bits(unit);
  bits.skip(16);  // head
  if (kind == NalKind::Pps) return bits.readUe();
  const unsigned int vpsId = bits.read(4);
  if (kind == NalKind::Vps) return vpsId;
  const unsigned int subLayers = bits.read(3);
  bits.skip(1);
  skipProfileTierLevel(bits, subLayers);
  return bits.readUe();
}

}  // namespace

ParameterSets::Lead ParameterSets::remember(MediaBytes annexB) {
  Lead lead;
  bool found[] = {codec_ != MediaCodec::Hevc, false, false};
  NalUnits units(annexB);
  for (bool first = true; units.next(); first = false) {
    const NalKind kind = units.kind(codec_);
    if (kind == NalKind::Picture) break;  // sets never follow a picture within an access unit
    if (kind == NalKind::Delimiter && first) {
      lead.delimiterSize =
          static_cast<size_t>(units.unit().data() - annexB.data()) + units.unit().size();
    }
    if (kind > NalKind::Pps) continue;
    found[static_cast<size_t>(kind)] = true;
    keep(kind, units.unit());
  }
  lead.complete = std::all_of(std::begin(found), std::end(found), [](bool is) { return is; });
  return lead;
}

void ParameterSets::keep(NalKind kind, MediaBytes unit) {
  const unsigned int id =
      codec_ == MediaCodec::Hevc ? hevcSetId(kind, unit) : h264SetId(kind, unit);
  std::vector<unsigned char>& set = sets_[{kind, id}];
  if (std::equal(set.begin(), set.end(), unit.begin(), unit.end())) return;
  set.assign(unit.begin(), unit.end());
  annexB_.clear();
  for (const auto& [key, bytes] : sets_) {
    annexB_.insert(annexB_.end(), {0, 0, 0, 1});
    annexB_.insert(annexB_.end(), bytes.begin(), bytes.end());
  }
}
