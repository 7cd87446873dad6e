#include "host/commands/BenchCommand.h"

#include <malloc.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "host/HostContext.h"
#include "host/HostError.h"
#include "host/bench/FilledCache.h"
#include "host/record/RecordDisplay.h"
#include "host/view/BenchReport.h"

namespace {

constexpr const char* DESCRIPTION = "Measure how fast this machine records, plays and deletes";

constexpr const char* FOOTER = R"(Examples:
  ktr bench --root /srv/video
  ktr bench --root /srv/video append record --against
  ktr bench --root /srv/video --json > figures.json

SCENARIO is a name, or the beginning of several: record takes record-1, record-32 and so on. The
scenarios work with a database server and files of their own in a new directory below DIR, which is
removed in the end, also after Ctrl-C, which ends the run between two measurements. With --against
the same work is done by bare loops of system calls, and by ffmpeg and GStreamer where they are
installed, in turn with ktr's own; ratios are ours by theirs, so that below 1 is better. Exit status
1 when frames or rows are missing.)";

constexpr unsigned int MAX_RUNS = 99;

bool isTerminal() {
  return isatty(STDERR_FILENO) != 0;
}

std::string allNames() {
  std::string names;
  for (const std::string& name : allScenarioNames()) names += (names.empty() ? "" : ", ") + name;
  return names;
}

}  // namespace

CLI::App* BenchCommand::define(CLI::App& program) {
  CLI::App* command = program.add_subcommand("bench", DESCRIPTION);
  command->footer(FOOTER);
  command->add_option("scenarios", names_, "What to measure; everything if left out")
      ->type_name("SCENARIO");
  command->add_option("--root", root_, "Directory on the disk to be measured")
      ->type_name("DIR")
      ->required();
  command->add_flag("--against", against_, "Compare with other ways of doing the same");
  command
      ->add_option("--runs", runs_,
                   "Runs of each scenario, 1 to " + std::to_string(MAX_RUNS) +
                       "; 1 if left out,\nand " + std::to_string(BenchRun::USUAL_PAIRS) +
                       " pairs for --against, which takes no fewer")
      ->type_name("N")
      ->check(CLI::Range(1U, MAX_RUNS));
  command->add_flag("--aged", aged_,
                    "Fill the page cache before every run, as that of a\nrecorder is after days");
  command->add_flag("--short", short_, "Check the counts of everything in its smallest form");
  command->add_flag("--json", json_, "Print JSON, for programs");
  command->add_flag("-v,--verbose", verbose_, "Show everything that the library reports");
  return command;
}

int BenchCommand::run(HostContext& context) {
  const StorageRoot root = StorageRoot::parse(root_);
  checkNames();
  checkRuns();
  BenchPlace place(context, root, short_);
  const Scenarios scenarios = chosen(place);
  BenchReport report(context.out(), json_);
  report.begin(BenchEnvironment::read(place));
  const BenchRun bench(runOptions(context, place));
  bool sound = true;
  for (const auto& scenario : scenarios) {
    const ScenarioResult result = bench.run(*scenario);
    if (isTerminal()) context.err() << RecordDisplay::CLEAR_LINE << std::flush;
    report.add(result);
    sound = sound && result.flaws().empty();
  }
  report.finish();
  context.close();
  return sound ? 0 : HostError::Failed;
}

// What a run has left to be written, or to be given back to the disk or to the kernel, is no matter
// of the next: memory that was kept for new use would not show as growth.
BenchRun::Options BenchCommand::runOptions(HostContext& context, const BenchPlace& place) const {
  const auto cache = aged_ ? std::make_shared<FilledCache>(place.directory()) : nullptr;
  return {against_, runs_,
          [&context](const std::string& what) {
            context.err() << (isTerminal() ? RecordDisplay::CLEAR_LINE : "") << what
                          << (isTerminal() ? "" : "\n") << std::flush;
          },
          [&place, cache] {
            if (place.stop().requested()) {
              throw failure("stopped before all was measured", "run it again");
            }
            place.sync();
            malloc_trim(0);
            if (cache != nullptr) cache->fill();
          }};
}

void BenchCommand::checkRuns() const {
  if (!against_ || short_ || runs_ == 0 || runs_ >= BenchRun::USUAL_PAIRS) return;
  throw usageError("the median of " + std::to_string(runs_) + " pairs means little",
                   "with --against give --runs " + std::to_string(BenchRun::USUAL_PAIRS) +
                       " or more, or leave it out");
}

void BenchCommand::checkNames() const {
  const std::vector<std::string>& all = allScenarioNames();
  for (const std::string& name : names_) {
    if (std::any_of(all.begin(), all.end(),
                    [&](const auto& each) { return !name.empty() && each.starts_with(name); })) {
      continue;
    }
    throw usageError("'" + name + "' is not a scenario", "the scenarios are " + allNames());
  }
}

Scenarios BenchCommand::chosen(BenchPlace& place) const {
  Scenarios all = makeAllScenarios(place);
  if (names_.empty()) return all;
  std::erase_if(all, [&](const auto& scenario) {
    return std::none_of(names_.begin(), names_.end(), [&](const std::string& name) {
      return scenario->name().starts_with(name);
    });
  });
  return all;
}
