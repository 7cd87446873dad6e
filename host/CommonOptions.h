#pragma once

#include <string>

#include "host/input/RecorderName.h"
#include "host/input/StorageRoot.h"

namespace CLI {
class App;
}

/**
 * The options that commands share, as texts until they are asked for checked. A command adds those
 * that it knows to its own part of the command line; all of them then look and read alike.
 *
 * Threads: the main thread. The object must stay where it is while the command line is parsed.
 * Errors: the checked accessors throw a usage error that says what is expected.
 */
class CommonOptions {
 public:
  CommonOptions() = default;
  CommonOptions(const CommonOptions&) = delete;
  CommonOptions& operator=(const CommonOptions&) = delete;

  /** --root DIR, --server and --verbose: what every command needs that opens a database. */
  void addDatabaseOptions(CLI::App& command);
  void addRecorder(CLI::App& command);
  void addJson(CLI::App& command);

  [[nodiscard]] StorageRoot storageRoot() const { return StorageRoot::parse(root_); }
  [[nodiscard]] RecorderName recorderName() const { return RecorderName::parse(recorder_); }
  /** Whether ktr's own server is used, and not the one of the client option files. */
  [[nodiscard]] bool usesPrivateServer() const { return server_ == "private"; }
  [[nodiscard]] bool verbose() const { return verbose_; }
  [[nodiscard]] bool json() const { return json_; }

 private:
  std::string root_;
  std::string recorder_;
  std::string server_ = "private";
  bool verbose_ = false;
  bool json_ = false;
};
