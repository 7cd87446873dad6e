#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "host/bench/BenchPlace.h"
#include "host/bench/Scenario.h"
#include "tests/support/TempDir.h"

/** A place in its short form, with its server, that the cases of a suite share. */
class BenchFixture : public testing::Test {
 protected:
  static void SetUpTestSuite() { begin(true); }
  static void TearDownTestSuite() { suite_.reset(); }

  [[nodiscard]] static BenchPlace& place() { return suite_->place; }
  /** Makes the place of a suite that wants the long form. A process can have one place. */
  static void begin(bool shortForm);
  /** Below which the place made its own directory. */
  [[nodiscard]] static const std::string& root() { return suite_->root.path(); }
  /** The sizes of the files of a directory of the place, in the order of their names. */
  [[nodiscard]] static std::vector<std::uint64_t> fileSizes(const std::string& directory);
  [[nodiscard]] static std::vector<std::string> files(const std::string& directory);
  /** Prepares, runs once and expects that all adds up. */
  [[nodiscard]] static Measurement run(Scenario& scenario);
  /** Runs every rival of a scenario and expects so many at least, and that all adds up. */
  static void expectSoundRivals(Scenario& scenario, std::size_t least);

 private:
  struct Suite {
    explicit Suite(bool shortForm) : place(context, StorageRoot::parse(root.path()), shortForm) {}

    TempDir root;
    std::ostringstream out;
    std::ostringstream err;
    HostContext context{out, err};
    BenchPlace place;
  };

  static std::unique_ptr<Suite> suite_;
};
