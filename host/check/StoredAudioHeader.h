#pragma once

#include <optional>
#include <string>

#include "host/media/AudioHeader.h"

/** The header file of a record session of sound. Any thread; blocks for the disk. */
class StoredAudioHeader {
 public:
  /** Nothing when there is no file, or when anything but one sound header is in it. */
  [[nodiscard]] static std::optional<AudioHeader> read(const std::string& path);
};
