#pragma once

#include <optional>
#include <string>
#include <vector>

#include "host/check/SessionFiles.h"
#include "runtime/KTDataBlock.h"

/**
 * Finds the header of sound whose own file is lost: in the sidecar file, in the header file of a
 * session with the same settings, or, of codecs that need nothing else, in the settings themselves.
 *
 * Threads: any thread. Blocks: for the disk.
 */
class AudioHeaderFinder {
 public:
  /** alike: header files of sessions of the same settings. Empty when there is none anywhere. */
  [[nodiscard]] static KTDataBlock find(const SessionFiles& files, const std::string& settings,
                                        const std::vector<std::string>& alike);
};
