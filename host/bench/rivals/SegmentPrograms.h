#pragma once

#include "host/bench/BenchMovie.h"
#include "host/bench/rivals/ProgramRival.h"

/**
 * The programs that others record with, as far as they are installed: ffmpeg's segment muxer into
 * .mp4 and .mkv, and GStreamer's splitmuxsink. Each copies the pictures of a movie into segments of
 * the length or size of a slice. The movie, which is made when there is a program, must outlive
 * what is answered. The main thread.
 */
class SegmentPrograms {
 public:
  /** As fast as it goes. */
  [[nodiscard]] static std::vector<std::unique_ptr<Rival>> of(BenchPlace& place, BenchMovie& movie);
  /** One process of each that copies the movie for so many streams at once, at its own pace. */
  [[nodiscard]] static std::vector<std::unique_ptr<Rival>> live(BenchPlace& place,
                                                                BenchMovie& movie,
                                                                unsigned int streams);
};
