#include "host/commands/CheckCommand.h"

#include <unistd.h>

#include <CLI/CLI.hpp>

#include "host/HostContext.h"
#include "host/HostError.h"
#include "host/RecorderLock.h"
#include "host/check/RecorderPlace.h"
#include "host/media/SecretText.h"
#include "host/system/StopSignal.h"
#include "host/view/CheckReport.h"
#include "host/view/ScanProgress.h"

namespace {

constexpr const char* DESCRIPTION = "Compare the files of a recorder with its database";

constexpr const char* FOOTER = R"(Examples:
  ktr check --root ~/video --recorder home
  ktr check --root ~/video --recorder home --level full --json

Level files looks at existence and sizes, index at every row of the index as well, full reads every
record of every file. Prints a line for each finding and changes nothing; a recording in progress is
not disturbed. Exit status: 0 nothing is wrong, 1 there are findings, 2 the check could not be made.)";

}  // namespace

CLI::App* CheckCommand::define(CLI::App& program) {
  CLI::App* command = program.add_subcommand("check", DESCRIPTION);
  command->footer(FOOTER);
  options_.addDatabaseOptions(*command);
  options_.addRecorder(*command);
  level_ = "index";
  command->add_option("--level", level_, "How closely to look: files, index or full")
      ->type_name("LEVEL")
      ->capture_default_str();
  options_.addJson(*command);
  return command;
}

CheckLevel CheckCommand::level() const {
  if (level_ == "files") return CheckLevel::Files;
  if (level_ == "index") return CheckLevel::Index;
  if (level_ == "full") return CheckLevel::Full;
  throw usageError("'" + level_ + "' is not a level", "give files, index or full");
}

int CheckCommand::run(HostContext& context) {
  try {
    return check(context);
  } catch (const HostError& error) {
    context.err() << "ktr: " << error.what() << std::endl;
    return NOT_CHECKED;
  } catch (const std::exception& error) {  // status 1 would say that something was found
    context.err() << "ktr: the check could not be made (" << SecretText::ofMessage(error.what())
                  << "): this is a fault of ktr, please report it" << std::endl;
    return NOT_CHECKED;
  }
}

int CheckCommand::check(HostContext& context) const {
  CheckRun::Options run;
  run.level = level();
  const StorageRoot root = options_.storageRoot();
  const RecorderName name = options_.recorderName();
  const RecorderPlace place(root, name);
  run.directory = place.directory();
  run.database = place.database();
  run.recording = RecorderLock::isHeld(root, name);

  const StopSignal signal;
  KTR_DB_handle* const handle = place.open(context, options_);
  CheckReport report(context.out(), context.err(), options_.json());
  ScanProgress progress(context.err(), isatty(STDERR_FILENO) != 0);
  run.stop = [&signal] { return signal.requested(); };
  run.progress = [&progress](uint64_t done, uint64_t all) { progress.update(done, all); };
  run.report = [&](const Finding& finding) {
    progress.clear();
    report.add(finding);
  };
  const CheckRun::Result result = CheckRun(handle, run).run();
  progress.clear();
  if (result.stopped) throw failure("the check was stopped", "run it again");
  report.finish(name.text(), level_, run.recording, result);
  return result.findings == 0 ? 0 : HostError::Failed;
}
