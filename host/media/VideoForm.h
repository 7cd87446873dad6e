#pragma once

#include <optional>

#include "host/media/MediaSource.h"
#include "host/media/NalUnits.h"

/** What a stored key frame tells of its stream. Any thread; never blocks. */
class VideoForm {
 public:
  /**
   * Codec and size of a picture: a JPEG one, or H.264 or H.265 as Annex B with its parameter sets.
   * Width and height are 0 where it does not tell them; nothing when it is none of the three.
   */
  [[nodiscard]] static std::optional<MediaSource::Info> of(MediaBytes picture);
};
