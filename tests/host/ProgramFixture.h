#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/host/HostTestRoot.h"
#include "tests/support/TempDir.h"

/** Runs the program as a user does, on a storage root that the cases of a suite share. */
class ProgramFixture : public testing::Test {
 protected:
  static void SetUpTestSuite() { root_ = std::make_unique<HostTestRoot>(); }
  static void TearDownTestSuite() { root_.reset(); }

  /**
   * Runs a shell text in which $K is the program, $R the storage root and $D the case's directory:
   * its exit status.
   */
  int shell(const std::string& text);

  /** Shell: waits until a file, such as the log of a running command, has so many lines. */
  [[nodiscard]] static std::string await(const std::string& file, int lines = 1) {
    return "until [ \"$(cat " + file + " 2>/dev/null | wc -l)\" -ge " + std::to_string(lines) +
           " ]; do sleep 0.05; done; ";
  }

  /** What the last text wrote. */
  [[nodiscard]] std::string out() const { return contents("out"); }
  [[nodiscard]] std::string err() const { return contents("err"); }
  /** A file of the case's directory. */
  [[nodiscard]] std::string contents(const std::string& name) const;
  [[nodiscard]] std::string path(const std::string& name) const { return dir_.path() + "/" + name; }

  /** Whether the private server of the root runs. */
  [[nodiscard]] static bool isRunning();

  static std::unique_ptr<HostTestRoot> root_;
  TempDir dir_;
};
