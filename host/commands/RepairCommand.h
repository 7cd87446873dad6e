#pragma once

#include <string>

#include "host/CommonOptions.h"
#include "host/commands/Command.h"
#include "host/repair/RepairRun.h"

class RecorderPlace;

/** ktr repair: mends what ktr check finds. */
class RepairCommand : public Command {
 public:
  [[nodiscard]] CLI::App* define(CLI::App& program) override;
  [[nodiscard]] bool verbose() const override { return options_.verbose(); }
  [[nodiscard]] int run(HostContext& context) override;

 private:
  [[nodiscard]] KTR_DB_handle* open(HostContext& context, const RecorderPlace& place) const;

  CommonOptions options_;
  std::string stream_;
  bool dryRun_ = false;
  bool yesReally_ = false;
};
