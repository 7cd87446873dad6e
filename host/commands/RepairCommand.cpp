#include "host/commands/RepairCommand.h"

#include <unistd.h>

#include <CLI/CLI.hpp>

#include "host/HostContext.h"
#include "host/HostError.h"
#include "host/RecorderLock.h"
#include "host/check/RecorderPlace.h"
#include "host/input/StreamNumber.h"
#include "host/system/StopSignal.h"
#include "host/view/RepairReport.h"
#include "host/view/ScanProgress.h"

namespace {

constexpr const char* DESCRIPTION = "Mend what ktr check finds in a recorder";

constexpr const char* FOOTER = R"(Examples:
  ktr repair --root ~/video --recorder home --dry-run
  ktr repair --root ~/video --recorder home

Reads every record of every file. Rows that are missing are made from the files, also when the whole
database is gone; wrong rows are corrected; torn tails are cut off; garbage is moved out of the way.
Footage is never deleted. Stop the recording first.)";

}  // namespace

CLI::App* RepairCommand::define(CLI::App& program) {
  CLI::App* command = program.add_subcommand("repair", DESCRIPTION);
  command->footer(FOOTER);
  options_.addDatabaseOptions(*command);
  options_.addRecorder(*command);
  command->add_flag("--dry-run", dryRun_, "Print what would be mended, and change nothing");
  command->add_flag("--yes-really", yesReally_,
                    "Also when more than half of the rows or files would be removed");
  command
      ->add_option("--stream", stream_,
                   "Stream of sessions of which nothing tells it; their sound is N + 128")
      ->type_name("N");
  options_.addJson(*command);
  return command;
}

int RepairCommand::run(HostContext& context) {
  const StorageRoot root = options_.storageRoot();
  const RecorderName name = options_.recorderName();
  RepairRun::Options run;
  run.removesMost = yesReally_;
  if (!stream_.empty()) run.stream = StreamNumber::parse(stream_);
  const RecorderPlace place(root, name);
  run.check.directory = place.directory();
  run.check.database = place.database();
  if (RecorderLock::isHeld(root, name)) {
    throw failure("recorder '" + name.text() + "' is being recorded",
                  "stop that first; ktr check looks at it meanwhile");
  }
  const StopSignal signal;
  KTR_DB_handle* handle = open(context, place);
  std::optional<RecorderLock> lock;
  if (!dryRun_) lock.emplace(root, name);

  RepairReport report(context.out(), context.err(), options_.json());
  ScanProgress progress(context.err(), isatty(STDERR_FILENO) != 0);
  run.check.stop = [&signal] { return signal.requested(); };
  run.check.progress = [&progress](uint64_t done, uint64_t all) { progress.update(done, all); };
  run.check.report = [&](const Finding& finding) {
    progress.clear();
    report.add(finding);
  };
  RepairRun repair(run);
  if (repair.survey(handle).stopped) throw failure("the repair was stopped", "run it again");
  RepairRun::Result result;
  const std::optional<HostError> refusal = repair.refusal();
  if (dryRun_) {
    if (refusal) result.problems.emplace_back(refusal->what());
  } else if (!repair.findings().empty()) {
    if (refusal) throw HostError(*refusal);
    result = repair.mend(handle != nullptr ? *handle : context.createRecorder(name));
  }
  progress.clear();
  report.finish(name.text(), dryRun_, repair.findings().size(), result);
  return result.left.empty() && result.problems.empty() ? 0 : HostError::Failed;
}

// Without a database one is made, unless nothing is to be changed.
KTR_DB_handle* RepairCommand::open(HostContext& context, const RecorderPlace& place) const {
  if (dryRun_ || !place.hasDirectory()) return place.open(context, options_);
  context.open(options_, HostContext::Recording);
  return context.findRecorder(options_.recorderName());
}
