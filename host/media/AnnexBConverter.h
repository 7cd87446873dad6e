#pragma once

#include <string>
#include <vector>

#include "host/media/NalUnits.h"

struct AVPacket;

/**
 * Turns the packets of a container into Annex B. Containers of the MP4 family put a length before
 * each NAL unit and the parameter sets into the stream's header; transport streams, RTSP and raw
 * files are Annex B already and pass unchanged.
 *
 * libav's filters convert the header. They do not convert the packets: the one of H.265 puts the
 * header's parameter sets behind those in the picture's own access unit, and so undoes a change.
 *
 * Owns: the header's parameter sets; a buffer for packets that cannot be converted in place.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 */
class AnnexBConverter {
 public:
  explicit AnnexBConverter(MediaCodec codec) : codec_(codec) {}

  /** Takes the stream's header; throws MediaError, with name in its text, when it is broken. */
  void setHeader(MediaBytes header, const std::string& name);
  /** The header's parameter sets as Annex B; empty when it has none. */
  [[nodiscard]] const std::vector<unsigned char>& headerSets() const { return headerSets_; }

  /** The bytes of a packet as Annex B, valid until the packet or this object is used again. */
  struct Converted {
    MediaBytes bytes;
    /** A length ran past the packet: only what stands before it was converted. */
    bool damaged = false;
  };
  [[nodiscard]] Converted convert(AVPacket& packet);

 private:
  [[nodiscard]] Converted convertInPlace(AVPacket& packet) const;
  [[nodiscard]] Converted convertByCopy(MediaBytes packet);
  [[nodiscard]] size_t lengthAt(MediaBytes packet, size_t offset) const;

  MediaCodec codec_;
  std::vector<unsigned char> headerSets_;
  std::vector<unsigned char> copy_;
  size_t lengthSize_ = 0;  // bytes of a NAL unit's length; 0 for what is Annex B already
};
