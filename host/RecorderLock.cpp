#include "host/RecorderLock.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "host/HostError.h"

namespace {

std::string lockFile(const StorageRoot& root, const RecorderName& name) {
  return root.recorderDirectory(name) + "/recorder.lock";
}

std::string withDirectory(const StorageRoot& root, const RecorderName& name) {
  std::error_code error;
  std::filesystem::create_directories(root.recorderDirectory(name), error);
  if (error) {
    throw failure("cannot make " + root.recorderDirectory(name) + " (" + error.message() + ")",
                  "check the owner and the rights of the storage root");
  }
  return lockFile(root, name);
}

/** Tries for a moment: who only looks whether a recorder is locked holds the lock meanwhile. */
bool lockSoon(FileLock& lock) {
  constexpr int attempts = 10;
  for (int i = 0; i < attempts; ++i) {
    if (lock.tryLock(FileLock::Exclusive)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

}  // namespace

RecorderLock::RecorderLock(const StorageRoot& root, const RecorderName& name)
    : lock_(withDirectory(root, name)) {
  if (!lockSoon(lock_)) {
    throw failure("recorder '" + name.text() + "' is being recorded by process " +
                      FileLock::readText(lockFile(root, name)),
                  "stop that one first, or choose another --recorder");
  }
  lock_.writeText(std::to_string(getpid()));
}

bool RecorderLock::isHeld(const StorageRoot& root, const RecorderName& name) {
  std::error_code ignored;
  if (!std::filesystem::exists(lockFile(root, name), ignored)) return false;
  FileLock probe(lockFile(root, name));
  return !probe.tryLock(FileLock::Shared);
}
