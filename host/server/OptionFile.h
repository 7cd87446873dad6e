#pragma once

#include <cstdint>
#include <string>

#include "host/server/ServerPaths.h"

/**
 * The option file of a private server, read by the server and by every client of it, this process
 * included. Written anew at each start, so that it always belongs to the ktr in use.
 *
 * Threads: any thread; no state.
 * Blocks: write() for the file system.
 */
class OptionFile {
 public:
  /** The whole text; user is the account of the system, and of the server, that it is for. */
  [[nodiscard]] static std::string text(const ServerPaths& paths, const std::string& user,
                                        bool runAsRoot);
  /** The server's buffer pool on a machine of so much memory. */
  [[nodiscard]] static unsigned int bufferPoolMiB(std::uint64_t memoryBytes);
  /** Writes the file for the current user, all or nothing. */
  static void write(const ServerPaths& paths);

  /**
   * Makes the client library of this process read the option file of paths and no personal one.
   * To be called before the first use of the client library, which looks for its files once.
   */
  static void useInThisProcess(const ServerPaths& paths);
  /** The name of the account that this process runs under. */
  [[nodiscard]] static std::string currentUser();
};
