#pragma once

#include <string>

#include "host/CommonOptions.h"
#include "host/check/CheckRun.h"
#include "host/commands/Command.h"

/** ktr check: compares the files of a recorder with its database. */
class CheckCommand : public Command {
 public:
  /** That the check could not be made. */
  static constexpr int NOT_CHECKED = 2;

  [[nodiscard]] CLI::App* define(CLI::App& program) override;
  [[nodiscard]] bool verbose() const override { return options_.verbose(); }
  [[nodiscard]] int run(HostContext& context) override;

 private:
  [[nodiscard]] int check(HostContext& context) const;
  [[nodiscard]] CheckLevel level() const;

  CommonOptions options_;
  std::string level_;
};
