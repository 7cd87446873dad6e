#pragma once

#include "host/CommonOptions.h"
#include "host/commands/Command.h"

/** ktr server start|stop|status: the private database server by hand, and the check of another. */
class ServerCommand : public Command {
 public:
  [[nodiscard]] CLI::App* define(CLI::App& program) override;
  [[nodiscard]] bool verbose() const override { return options_.verbose(); }
  [[nodiscard]] int run(HostContext& context) override;

 private:
  int start(HostContext& context) const;
  int stop(HostContext& context) const;
  int privateStatus(HostContext& context) const;
  int clientStatus(HostContext& context) const;

  CommonOptions options_;
  bool force_ = false;
  CLI::App* start_ = nullptr;
  CLI::App* stop_ = nullptr;
  CLI::App* status_ = nullptr;
};
