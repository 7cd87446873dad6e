#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "host/check/RowMaker.h"
#include "host/check/SessionFiles.h"
#include "host/media/MediaSource.h"
#include "host/repair/TableWriter.h"

/**
 * What the frames of a session tell: when they are, what they are, and the index rows that they
 * need.
 *
 * Threads: any thread. Blocks: for the disk. Units: seconds since the epoch.
 */
struct Footage {
  using TakeRow = std::function<void(const TableWriter::IndexRow&)>;

  uint64_t frames = 0;
  long first = 0;
  long last = 0;
  long lastRow = 0;    // latest time that has a row
  bool sound = false;  // frames of sound
  bool intact = true;  // no bytes but records, and all of it could be read

  /** start: the first frame lies within 12 hours of it. Rows come in the order of the files. */
  [[nodiscard]] static Footage read(const SessionFiles& files, long start, unsigned int fps,
                                    const TakeRow& take);
  /** Frames a second, rounded, 1 to 255. */
  [[nodiscard]] unsigned int framesPerSecond() const;
  /** Codec and size by the first key frame that tells them. */
  [[nodiscard]] static std::optional<MediaSource::Info> videoFormOf(const SessionFiles& files);
};
