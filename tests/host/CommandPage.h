#pragma once

#include <gtest/gtest.h>

#include <string>

#include "tests/support/TempDir.h"

/** A page of documents as its reader follows it: its commands run as they stand. */
class CommandPage : public testing::Test {
 protected:
  [[nodiscard]] static std::string contents(const std::string& path);
  /** All fenced blocks of shell commands of a page, a path in the source tree, one after the other.
   */
  [[nodiscard]] static std::string commands(const std::string& page);

  /** A clip of a few seconds in the reader's home. */
  void makeClip(const std::string& name) const;
  /** Runs commands in a home of the reader's own, up to the first that fails: its exit status. */
  [[nodiscard]] int run(const std::string& script) const;
  /** What they wrote. */
  [[nodiscard]] std::string output() const { return contents(home("out")); }
  [[nodiscard]] std::string home(const std::string& name) const {
    return home_.path() + "/" + name;
  }

 private:
  TempDir home_;
};
