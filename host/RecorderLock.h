#pragma once

#include "host/input/RecorderName.h"
#include "host/input/StorageRoot.h"
#include "host/system/FileLock.h"

/**
 * Keeps a recorder to one recording process: only that process may change the rows of its sessions,
 * since it holds them in memory. The lock is a file in the recorder's directory that names its
 * holder; it ends with the process, however that ends.
 *
 * Owns: the lock.
 * Threads: one thread at a time for each object.
 * Blocks: never.
 */
class RecorderLock {
 public:
  /** Makes the recorder's directory and takes the lock; a failure names the process that has it. */
  RecorderLock(const StorageRoot& root, const RecorderName& name);

  /** Whether some process records now. */
  [[nodiscard]] static bool isHeld(const StorageRoot& root, const RecorderName& name);

 private:
  FileLock lock_;
};
