#pragma once

#include <string>

#include "host/retain/RetentionPolicy.h"

namespace CLI {
class App;
}

/**
 * The options that say what a recorder keeps, shared by the commands that delete.
 *
 * Threads: the main thread. The object must stay where it is while the command line is parsed.
 * Errors: policy() throws a usage error that says what is expected.
 */
class RetentionOptions {
 public:
  RetentionOptions() = default;
  RetentionOptions(const RetentionOptions&) = delete;
  RetentionOptions& operator=(const RetentionOptions&) = delete;

  void addTo(CLI::App& command);
  [[nodiscard]] RetentionPolicy policy() const;

 private:
  std::string maxSize_;
  std::string maxAge_;
  std::string minFree_;
  std::string keepAtLeast_;
};
