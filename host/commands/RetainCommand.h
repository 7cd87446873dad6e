#pragma once

#include "host/CommonOptions.h"
#include "host/commands/Command.h"
#include "host/retain/RetentionOptions.h"

/** ktr retain: deletes a recorder's oldest footage once, as its options say. */
class RetainCommand : public Command {
 public:
  [[nodiscard]] CLI::App* define(CLI::App& program) override;
  [[nodiscard]] bool verbose() const override { return options_.verbose(); }
  [[nodiscard]] int run(HostContext& context) override;

 private:
  CommonOptions options_;
  RetentionOptions retention_;
  bool dryRun_ = false;
};
