#include "host/commands/RecordCommand.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>

#include "host/HostContext.h"
#include "host/HostError.h"
#include "host/RecorderLock.h"
#include "host/input/DurationText.h"
#include "host/system/StopSignal.h"

using std::chrono::seconds;

namespace {

constexpr const char* DESCRIPTION = "Record cameras or files until stopped with Ctrl-C";

constexpr const char* FOOTER = R"(Examples:
  ktr record --root ~/video --recorder home 1=rtsp://camera/live
  ktr record --root ~/video --recorder home 1=front.mp4 2=rtsp://10.0.0.7/h264 --for 1h
  ktr record --root ~/video --recorder home 1=rtsp://camera/live --max-age 30d

N=URL gives a stream its number, 0 to 255, and its source: rtsp:// and whatever else libavformat
opens. Files are read in real time. H.264, H.265 and MJPEG are stored as they come.

Every 30 seconds the oldest footage of the recorder is deleted, as far as
--max-size, --max-age and --min-free ask for it.)";

constexpr int MIB = 1024 * 1024;
constexpr int MAX_SLICE_MIB = 1024;
constexpr int STEP_MS = 200;

}  // namespace

CLI::App* RecordCommand::define(CLI::App& program) {
  CLI::App* command = program.add_subcommand("record", DESCRIPTION);
  command->footer(FOOTER);
  options_.addDatabaseOptions(*command);
  options_.addRecorder(*command);
  command->add_option("streams", sources_, "Streams to record")->required()->type_name("N=URL");
  command->add_option("--for", limit_, "Stop after this time, such as 90s or 1h30m")
      ->type_name("TIME");
  sliceSize_ = "128";
  command->add_option("--slice-size", sliceSize_, "Begin a new file after so many MiB, 1 to 1024")
      ->type_name("MIB")
      ->capture_default_str();
  command
      ->add_option("--frame-log", frameLog_,
                   "Write a line with a hash of every frame of stream N to FILE.N")
      ->type_name("FILE");
  retention_.addTo(*command);
  return command;
}

long RecordCommand::limitSeconds() const {
  return limit_.empty() ? DurationText::MAX : DurationText::parse(limit_);
}

int RecordCommand::sliceBytes() const {
  int mib = 0;
  const char* end = sliceSize_.data() + sliceSize_.size();
  const auto parsed = std::from_chars(sliceSize_.data(), end, mib);
  if (parsed.ptr != end || parsed.ec != std::errc() || mib < 1 || mib > MAX_SLICE_MIB) {
    throw usageError("'" + sliceSize_ + "' is not a slice size", "give 1 to 1024, in MiB");
  }
  return mib * MIB;
}

int RecordCommand::run(HostContext& context) {
  const StorageRoot root = options_.storageRoot();
  const RecorderName name = options_.recorderName();
  const std::vector<StreamSource> sources = StreamSource::parseAll(sources_);
  (void)limitSeconds();
  (void)sliceBytes();
  (void)retention_.policy();

  StopSignal signal;
  context.open(options_, HostContext::Recording);
  const RecorderLock lock(root, name);
  KTR_DB_handle& handle = context.createRecorder(name);

  const bool terminal = isatty(STDERR_FILENO) != 0;
  RecordDisplay display(context.err(), terminal);
  if (terminal) context.log()->setLinePrefix(RecordDisplay::CLEAR_LINE);
  Recorders recorders;
  RetentionTimer retained(handle, retention(recorders, signal));
  recorders = start(sources);
  watch(recorders, retained, display, signal);
  context.log()->setLinePrefix("");
  display.summary(statusOf(recorders));
  return reportErrors(recorders, context);
}

RetentionRun::Options RecordCommand::retention(const Recorders& recorders,
                                               const StopSignal& signal) const {
  RetentionRun::Options options;
  options.directory = options_.storageRoot().recorderDirectory(options_.recorderName());
  options.policy = retention_.policy();
  options.stop = [&signal] { return signal.requested(); };
  options.openSessions = [&recorders] { return openSessions(recorders); };
  return options;
}

RecordCommand::Recorders RecordCommand::start(const std::vector<StreamSource>& sources) {
  StreamRecorder::Options options;
  options.recorder = options_.recorderName().text();
  options.storageDirectory = options_.storageRoot().recorderDirectory(options_.recorderName());
  options.sliceSize = sliceBytes();
  options.stop = &stop_;
  Recorders recorders;
  for (const StreamSource& source : sources) {
    options.stream = source.stream;
    options.url = source.url;
    if (!frameLog_.empty()) options.frameLog = frameLog_ + "." + std::to_string(source.stream);
    recorders.push_back(std::make_unique<StreamRecorder>(options));
  }
  return recorders;
}

// Returns when all that was received is stored.
void RecordCommand::watch(const Recorders& recorders, RetentionTimer& retained,
                          RecordDisplay& display, const StopSignal& signal) {
  const KTClock::Span end = KTClock::instance()->elapsed() + seconds(limitSeconds());
  const auto isDone = [](const auto& recorder) { return recorder->status().done; };
  while (!std::all_of(recorders.begin(), recorders.end(), isDone)) {
    if (signal.waitFor(STEP_MS) || KTClock::instance()->elapsed() >= end) break;
    if (retained.runIfDue()) {
      for (const auto& recorder : recorders) recorder->beginNewSession();
    }
    display.update(statusOf(recorders));
  }
  stop_ = true;
  for (const auto& recorder : recorders) recorder->join();
}

std::vector<RecordDisplay::Stream> RecordCommand::statusOf(const Recorders& recorders) {
  std::vector<RecordDisplay::Stream> streams;
  for (const auto& recorder : recorders) {
    streams.push_back({recorder->stream(), recorder->status()});
  }
  return streams;
}

std::set<unsigned int> RecordCommand::openSessions(const Recorders& recorders) {
  std::set<unsigned int> open;
  for (const auto& recorder : recorders) open.insert(recorder->status().progress.open);
  return open;
}

int RecordCommand::reportErrors(const Recorders& recorders, HostContext& context) {
  int status = 0;
  for (const auto& recorder : recorders) {
    const std::string error = recorder->status().error;
    if (error.empty()) continue;
    context.err() << "ktr: stream " << static_cast<int>(recorder->stream()) << ": " << error
                  << std::endl;
    status = HostError::Failed;
  }
  return status;
}
