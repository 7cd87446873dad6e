#pragma once

#include <ostream>

namespace CLI {
class App;
}

/**
 * The completion script for bash, made from what a program says of its command line: commands,
 * options, and for an option's value directories (DIR), files (FILE) or the words of a choice
 * ("private|client").
 *
 * Owns: nothing; the program must outlive it.
 * Threads: one thread at a time.
 */
class BashCompletion {
 public:
  explicit BashCompletion(const CLI::App& program) : program_(program) {}

  void print(std::ostream& out) const;

 private:
  const CLI::App& program_;
};
