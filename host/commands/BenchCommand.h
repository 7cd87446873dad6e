#pragma once

#include <string>
#include <vector>

#include "host/CommonOptions.h"
#include "host/bench/AllScenarios.h"
#include "host/bench/BenchRun.h"
#include "host/commands/Command.h"

/** `ktr bench`: how fast this machine records, plays and deletes, and what that costs. */
class BenchCommand : public Command {
 public:
  [[nodiscard]] CLI::App* define(CLI::App& program) override;
  [[nodiscard]] bool verbose() const override { return verbose_; }
  [[nodiscard]] int run(HostContext& context) override;

 private:
  /** Throws for a name that begins none of a scenario. */
  void checkNames() const;
  void checkRuns() const;
  [[nodiscard]] Scenarios chosen(BenchPlace& place) const;
  [[nodiscard]] BenchRun::Options runOptions(HostContext& context, const BenchPlace& place) const;

  std::vector<std::string> names_;
  std::string root_;
  unsigned int runs_ = 0;
  bool against_ = false;
  bool aged_ = false;
  bool short_ = false;
  bool json_ = false;
  bool verbose_ = false;
};
