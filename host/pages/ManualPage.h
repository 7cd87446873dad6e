#pragma once

#include <ostream>
#include <string>

namespace CLI {
class App;
class Option;
}  // namespace CLI

/**
 * The manual page of a command, made from what the command says of itself, so that page and --help
 * cannot differ. What follows the options in the help becomes the description, and the part under
 * "Examples:" a section of its own; lines set in by two blanks stay as they are.
 *
 * Owns: nothing; the command must outlive it.
 * Threads: one thread at a time.
 */
class ManualPage {
 public:
  /** A command, or the program itself, whose page lists the commands. */
  explicit ManualPage(const CLI::App& command) : command_(command) {}

  /** "ktr-play": the name of the page, without its section. */
  [[nodiscard]] std::string name() const;
  /** Writes the page as troff with the man macros. */
  void print(std::ostream& out) const;

 private:
  void printSynopsis(std::ostream& out) const;
  void printCommands(std::ostream& out) const;
  void printSeeAlso(std::ostream& out) const;
  [[nodiscard]] bool isProgram() const;

  const CLI::App& command_;
};
