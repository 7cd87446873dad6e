#include "host/commands/RetainCommand.h"

#include <CLI/CLI.hpp>
#include <optional>

#include "host/HostContext.h"
#include "host/HostError.h"
#include "host/RecorderLock.h"
#include "host/retain/RetentionRun.h"
#include "host/system/StopSignal.h"
#include "host/view/RetentionReport.h"

namespace {

constexpr const char* DESCRIPTION = "Delete the oldest footage of a recorder, as far as needed";

constexpr const char* FOOTER = R"(Examples:
  ktr retain --root ~/video --recorder home --max-age 30d --dry-run
  ktr retain --root ~/video --recorder home --max-size 500GB --keep-at-least 7d

Deletes one slice or session after the other, the oldest first, until every goal
is met, and prints a line for each: what, size, reason. A slice goes when all of
it is old enough. While the recorder is being recorded only --dry-run works:
give the same options to ktr record, which then does this every 30 seconds.)";

}  // namespace

CLI::App* RetainCommand::define(CLI::App& program) {
  CLI::App* command = program.add_subcommand("retain", DESCRIPTION);
  command->footer(FOOTER);
  options_.addDatabaseOptions(*command);
  options_.addRecorder(*command);
  retention_.addTo(*command);
  command->add_flag("--dry-run", dryRun_, "Print what would be deleted, and delete nothing");
  options_.addJson(*command);
  return command;
}

// Its lock keeps a recording out while rows change.
int RetainCommand::run(HostContext& context) {
  const StorageRoot root = options_.storageRoot();
  const RecorderName name = options_.recorderName();
  RetentionRun::Options run;
  run.policy = retention_.policy();
  run.directory = root.recorderDirectory(name);
  run.dryRun = dryRun_;

  const StopSignal signal;
  context.open(options_, HostContext::Reading);
  KTR_DB_handle& handle = context.recorder(name);
  std::optional<RecorderLock> lock;
  const bool recording = RecorderLock::isHeld(root, name);
  if (recording && !dryRun_) {
    throw failure("recorder '" + name.text() + "' is being recorded",
                  "give these options to its ktr record instead, or use --dry-run");
  }
  if (!dryRun_) lock.emplace(root, name);

  RetentionReport report(context.out(), context.err(), options_.json());
  run.stop = [&signal] { return signal.requested(); };
  run.report = [&report](const RetentionRun::Deletion& deletion) { report.add(deletion); };
  const RetentionRun::Result result = RetentionRun(handle, run).pass(recording);
  report.finish(name.text(), dryRun_, result);
  return result.problem.empty() ? 0 : HostError::Failed;
}
