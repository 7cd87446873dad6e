#pragma once

#include <optional>
#include <string>
#include <vector>

/**
 * What the frames of a record session do not tell of it, in a small file beside them, so that its
 * rows can be made again without any database: see docs/format/sidecar.md.
 *
 * Owns: its texts.
 * Threads: one thread at a time for each object.
 * Blocks: for the disk.
 */
struct SessionSidecar {
  unsigned int stream = 0;
  unsigned int type = 0;  // streamTypes: 0 pictures, 1 sound
  unsigned int fps = 0;
  std::string name;                        // of the settings row
  std::string settings;                    // its text
  std::vector<unsigned char> audioHeader;  // as AudioHeader::encode() makes it; empty for pictures

  /** Nothing when there is no file, or when it is damaged. */
  [[nodiscard]] static std::optional<SessionSidecar> read(const std::string& path);
  /** Whether it was written; a file that is there is replaced as a whole. */
  [[nodiscard]] bool write(const std::string& path) const;
  [[nodiscard]] bool operator==(const SessionSidecar&) const = default;
};
