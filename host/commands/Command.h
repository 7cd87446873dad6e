#pragma once

namespace CLI {
class App;
}
class HostContext;

/**
 * One command of ktr, in a file of its own, listed in AllCommands.cpp.
 *
 * Threads: the main thread.
 */
class Command {
 public:
  Command() = default;
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;
  virtual ~Command() = default;

  /** Adds the command with its options and help to the program; its part of the command line. */
  [[nodiscard]] virtual CLI::App* define(CLI::App& program) = 0;
  /** Whether --verbose was given. */
  [[nodiscard]] virtual bool verbose() const = 0;
  /**
   * Runs the command after its options were parsed; the exit status. Throws a HostError when it
   * cannot. Whatever uses the context's factory must be gone on return.
   */
  [[nodiscard]] virtual int run(HostContext& context) = 0;
};
