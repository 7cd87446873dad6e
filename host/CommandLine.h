#pragma once

#include <memory>
#include <string>
#include <vector>

#include "host/commands/Command.h"

/**
 * The frame around the commands: parses the command line, prints help and version, runs the command
 * that is named, and turns whatever goes wrong into exactly one line on the context's err() and an
 * exit status: 0 done, 1 failed, 2 the command line makes no sense.
 *
 * Owns: the commands.
 * Threads: the main thread.
 */
class CommandLine {
 public:
  explicit CommandLine(std::vector<std::unique_ptr<Command>> commands)
      : commands_(std::move(commands)) {}

  /** Gives the program its help and all commands: their parts of the command line, in order. */
  std::vector<CLI::App*> define(CLI::App& program) const;
  /** Arguments as main() gets them. */
  [[nodiscard]] int run(int argc, const char* const* argv, HostContext& context);

 private:
  [[nodiscard]] int parseAndRun(int argc, const char* const* argv, HostContext& context);

  std::vector<std::unique_ptr<Command>> commands_;
};
