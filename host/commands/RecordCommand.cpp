#include "host/commands/RecordCommand.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <optional>

#include "host/HostContext.h"
#include "host/HostError.h"
#include "host/RecorderLock.h"
#include "host/input/ByteCount.h"
#include "host/input/DurationText.h"
#include "host/media/SteadyClock.h"
#include "host/record/SessionIdFloor.h"
#include "host/record/SpoolLeftovers.h"
#include "host/server/ServerKeeper.h"
#include "host/system/StopSignal.h"
#include "runtime/KTLogger.h"

using std::chrono::seconds;

namespace {

constexpr const char* DESCRIPTION = "Record cameras or files until stopped with Ctrl-C";

constexpr const char* FOOTER = R"(Examples:
  ktr record --root ~/video --recorder home 1=rtsp://camera/live
  ktr record --root ~/video --recorder home 1=front.mp4 2=rtsp://10.0.0.7/h264 --for 1h
  ktr record --root ~/video --recorder home 1=rtsp://camera/live --max-age 30d
  ktr record --root ~/video --recorder home 1=rtsp://camera/live --by-events 10

N=URL gives a stream its number, 0 to 127, and its source: rtsp:// and whatever else libavformat
opens. Files are read in real time. H.264, H.265 and MJPEG are stored as they come, and so is sound
of the kinds AAC, Opus, G.711 and MP3: the sound of stream N is stream N + 128. With --no-audio
numbers go up to 255.

N=@FILE takes the URL from the first line of FILE: the place for a URL with a
password, since everybody may see the words of a command.

With --by-events only the last key frames are held, a window that nothing is kept
of, until an event is confirmed: by ktr events add --confirm, or by SIGUSR1 to
this process. Then the window is kept, and recording goes on until --post-event
has passed since the last confirmation.

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
  CLI::Option* sliceSize =
      command
          ->add_option("--slice-size", sliceSize_, "Begin a new file after so many MiB, 1 to 1024")
          ->type_name("MIB")
          ->capture_default_str();
  command->add_flag("--no-audio", noAudio_, "Record the pictures alone");
  spoolSize_ = "1GiB";
  command
      ->add_option("--spool-size", spoolSize_,
                   "Keep so much of each stream in files while it\n"
                   "cannot be recorded; 0 for nothing")
      ->type_name("BYTES")
      ->capture_default_str();
  command
      ->add_option("--frame-log", frameLog_,
                   "Write a line with a hash of every frame of stream N to FILE.N")
      ->type_name("FILE");
  byEvents_.addTo(*command, *sliceSize);
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
  const std::vector<StreamSource> sources = StreamSource::parseAll(
      sources_, noAudio_ ? StreamSource::Video : StreamSource::VideoAndAudio);
  (void)limitSeconds();
  (void)sliceBytes();
  (void)ByteCount::parse(spoolSize_);
  (void)retention_.policy();
  const std::optional<ByEvents> byEvents = byEvents_.byEvents();
  for (const StreamSource& source : sources) MediaInput::check(source.url);

  StopSignal signal;
  EventConfirmations confirmations;
  context.open(options_, HostContext::Recording);
  const RecorderLock lock(root, name);
  if (byEvents) confirmations.listen(root.recorderDirectory(name));
  KTR_DB_handle& handle = context.createRecorder(name);
  if (const unsigned int id = SessionIdFloor::raise(handle, root.recorderDirectory(name))) {
    KTLogger::instance()->log(KTLogger::Warning,
                              "the database has lost sessions whose files are there: new ones "
                              "begin at id %u; see ktr check",
                              id);
  }
  const SteadyClock clock;
  std::optional<ServerKeeper> keeper;
  if (options_.usesPrivateServer()) keeper.emplace(ServerPaths(root));
  const Recorders recorders = makeRecorders(sources);

  const bool terminal = isatty(STDERR_FILENO) != 0;
  RecordDisplay display(context.err(), terminal);
  if (terminal) context.log()->setLinePrefix(RecordDisplay::CLEAR_LINE);
  SpoolLeftovers leftovers;
  RetentionTimer retained(handle, retention(recorders, leftovers, signal));
  for (const auto& recorder : recorders) recorder->start();
  leftovers.start(streamOptions(), streamsOf(sources));
  watch(recorders, retained, confirmations, display, signal);
  leftovers.finish();
  context.log()->setLinePrefix("");
  display.summary(statusOf(recorders));
  checkResults(recorders);
  return status_;
}

RetentionRun::Options RecordCommand::retention(const Recorders& recorders,
                                               const SpoolLeftovers& leftovers,
                                               const StopSignal& signal) const {
  RetentionRun::Options options;
  options.directory = options_.storageRoot().recorderDirectory(options_.recorderName());
  options.policy = retention_.policy();
  options.stop = [&signal] { return signal.requested(); };
  options.openSessions = [&recorders, &leftovers] {
    std::set<unsigned int> open = openSessions(recorders);
    leftovers.addOpenSessions(open);
    return open;
  };
  return options;
}

StreamRecorder::Options RecordCommand::streamOptions() const {
  StreamRecorder::Options options;
  options.recorder = options_.recorderName().text();
  options.storageDirectory = options_.storageRoot().recorderDirectory(options_.recorderName());
  options.sliceSize = sliceBytes();
  options.spoolDirectory = options_.storageRoot().spoolDirectory(options_.recorderName());
  options.spoolBytes = ByteCount::parse(spoolSize_);
  options.byEvents = byEvents_.byEvents();
  return options;
}

RecordCommand::Recorders RecordCommand::makeRecorders(
    const std::vector<StreamSource>& sources) const {
  StreamRecorder::Options options = streamOptions();
  Recorders recorders;
  for (const StreamSource& source : sources) {
    options.stream = source.stream;
    options.url = source.url;
    options.audio = !noAudio_;
    options.audioStream = source.stream + StreamSource::AUDIO_OFFSET;
    if (!frameLog_.empty()) {
      options.frameLog = frameLog_ + "." + std::to_string(options.stream);
      options.audioLog = frameLog_ + "." + std::to_string(options.audioStream);
    }
    recorders.push_back(std::make_unique<StreamRecorder>(options));
  }
  return recorders;
}

std::set<unsigned int> RecordCommand::streamsOf(const std::vector<StreamSource>& sources) const {
  std::set<unsigned int> streams;
  for (const StreamSource& source : sources) {
    streams.insert(source.stream);
    if (!noAudio_) streams.insert(source.stream + StreamSource::AUDIO_OFFSET);
  }
  return streams;
}

// Returns when all that was received is stored.
void RecordCommand::watch(const Recorders& recorders, RetentionTimer& retained,
                          EventConfirmations& confirmations, RecordDisplay& display,
                          const StopSignal& signal) {
  const KTClock::Span end = KTClock::instance()->elapsed() + seconds(limitSeconds());
  const auto isDone = [](const auto& recorder) { return recorder->status().done; };
  while (!std::all_of(recorders.begin(), recorders.end(), isDone)) {
    if (signal.waitFor(STEP_MS) || KTClock::instance()->elapsed() >= end) break;
    confirm(recorders, confirmations);
    if (retained.runIfDue()) {
      for (const auto& recorder : recorders) recorder->beginNewSession();
    }
    reportErrors(recorders, display);
    display.update(statusOf(recorders));
  }
  confirm(recorders, confirmations);
  for (const auto& recorder : recorders) recorder->stop();
  for (const auto& recorder : recorders) recorder->join();
  reportErrors(recorders, display);
}

void RecordCommand::confirm(const Recorders& recorders, EventConfirmations& confirmations) {
  for (const EventConfirmations::Confirmation& what : confirmations.take()) {
    bool known = false;
    for (const auto& recorder : recorders) {
      if (what && *what != recorder->stream() && *what != recorder->audioStream()) continue;
      recorder->confirmEvent();
      known = true;
    }
    if (known) continue;
    KTLogger::instance()->log(KTLogger::Warning,
                              "an event of stream %d was confirmed: no such "
                              "stream is recorded",
                              *what);
  }
}

std::vector<RecordDisplay::Stream> RecordCommand::statusOf(const Recorders& recorders) {
  std::vector<RecordDisplay::Stream> streams;
  for (const auto& recorder : recorders) {
    const StreamRecorder::Status status = recorder->status();
    streams.push_back({recorder->stream(), status});
    if (!status.audio) continue;
    streams.push_back({recorder->audioStream(), {*status.audio, status.failed, status.done, {}}});
  }
  return streams;
}

std::set<unsigned int> RecordCommand::openSessions(const Recorders& recorders) {
  std::set<unsigned int> open;
  for (const auto& recorder : recorders) {
    const StreamRecorder::Status status = recorder->status();
    open.insert(status.progress.open);
    if (status.audio) open.insert(status.audio->open);
  }
  return open;
}

// At once, since the other streams may go on for months.
void RecordCommand::reportErrors(const Recorders& recorders, RecordDisplay& display) {
  for (const auto& recorder : recorders) {
    const std::string error = recorder->takeError();
    if (error.empty()) continue;
    display.error(recorder->stream(), error);
    status_ = HostError::Failed;
  }
}

void RecordCommand::checkResults(const Recorders& recorders) {
  for (const auto& recorder : recorders) {
    const SessionFeed::Progress progress = recorder->status().progress;
    if (progress.stored.frames != 0 || progress.lost + progress.queue == 0) continue;
    throw failure("nothing of stream " + std::to_string(recorder->stream()) + " could be stored",
                  "mend what the messages above name and record again");
  }
}
