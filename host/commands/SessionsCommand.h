#pragma once

#include <string>

#include "host/CommonOptions.h"
#include "host/commands/Command.h"

/** ktr sessions: what a recorder has recorded, as a table and a timeline. */
class SessionsCommand : public Command {
 public:
  [[nodiscard]] CLI::App* define(CLI::App& program) override;
  [[nodiscard]] bool verbose() const override { return options_.verbose(); }
  [[nodiscard]] int run(HostContext& context) override;

 private:
  CommonOptions options_;
  std::string stream_;
};
