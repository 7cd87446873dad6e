#include "host/commands/PlayCommand.h"

#include <CLI/CLI.hpp>

#include "host/HostContext.h"
#include "host/RecorderLock.h"
#include "host/input/DurationText.h"
#include "host/input/StreamNumber.h"
#include "host/input/StreamSource.h"
#include "host/input/TimeText.h"
#include "host/system/StopSignal.h"
#include "runtime/KTString.h"

namespace {

constexpr const char* DESCRIPTION = "Write a stretch of a recording, found by time, to a file";

constexpr const char* FOOTER = R"(Examples:
  ktr play --root ~/video --recorder home --stream 1 --at 14:30 --for 60s -o clip.mp4
  ktr play --root ~/video --recorder home --stream 1 --at "2026-03-01 08:00:00" -o day.mkv
  ktr play --root ~/video --recorder home --stream 1 --follow -o - | ffplay -

Nothing is coded anew. Into .mp4 and .mkv the sound that was recorded with the pictures goes too. The name decides the format: .mp4 and .mkv with exact times, .h264, .h265
and .mjpeg for the plain stream, - for the plain stream on standard output. Playback begins at the
last key frame at or before the time. TIME is epoch seconds, "YYYY-MM-DD HH:MM:SS" (local, or UTC
with a final Z), HH:MM[:SS] of today, now, or a time before now such as -5m.)";

constexpr int FOLLOW_STEP_MS = 1000;

}  // namespace

CLI::App* PlayCommand::define(CLI::App& program) {
  CLI::App* command = program.add_subcommand("play", DESCRIPTION);
  command->footer(FOOTER);
  options_.addDatabaseOptions(*command);
  options_.addRecorder(*command);
  command->add_option("--stream", stream_, "Stream to play, 0 to 255")->required()->type_name("N");
  CLI::Option* at = command->add_option("--at", at_, "When to begin")->type_name("TIME");
  command->add_option("--for", length_, "How much to play, such as 90s; all there is if left out")
      ->type_name("TIME");
  command->add_option("-o,--output", output_, "File to write, or - for standard output")
      ->required()
      ->type_name("FILE");
  command->add_flag("--follow", follow_,
                    "Go on while the recording does; without --at from its end on");
  command->add_flag("--no-audio", noAudio_, "Write the pictures alone");
  command->add_option("--frame-log", frameLog_, "Write a line with a hash of every frame to FILE")
      ->type_name("FILE");
  command->callback([this, at] {
    if (at->empty() && !follow_) throw CLI::RequiredError("--at");
  });
  return command;
}

PlayRun::Options PlayCommand::checkedOptions() const {
  PlayRun::Options play;
  play.recorder = options_.recorderName().text();
  play.stream = StreamNumber::parse(stream_);
  play.fromLast = at_.empty();
  play.at = TimeText::parse(at_.empty() ? "now" : at_);
  play.seconds = length_.empty() ? DurationText::MAX : DurationText::parse(length_);
  play.audio = !noAudio_ && play.stream < StreamSource::AUDIO_OFFSET;
  play.audioStream = play.stream + StreamSource::AUDIO_OFFSET;
  MediaOutput::checkName(output_);
  play.output = output_;
  play.frameLog = frameLog_;
  return play;
}

int PlayCommand::run(HostContext& context) {
  const PlayRun::Options checked = checkedOptions();
  StopSignal stop;
  context.open(options_, HostContext::Reading);
  (void)context.recorder(options_.recorderName());
  PlayRun play(checked);
  if (!find(play, stop)) return 0;
  play.open();
  writeAll(play, stop);
  report(play.finish(), context);
  return 0;
}

// The moment wanted of a recording in progress may not be on disk yet. False when stopped.
bool PlayCommand::find(PlayRun& play, const StopSignal& stop) const {
  while (true) {
    const bool mayCome = follow_ && isRecording();
    if (play.find()) return true;
    if (!mayCome) throw play.nothingFound();
    if (stop.waitFor(FOLLOW_STEP_MS)) return false;
  }
}

bool PlayCommand::isRecording() const {
  return RecorderLock::isHeld(options_.storageRoot(), options_.recorderName());
}

// A recording that is followed is looked at once a second, and once more after it has ended.
void PlayCommand::writeAll(PlayRun& play, const StopSignal& stop) const {
  bool goesOn = true;
  while (!play.writeAll(stop) && follow_ && goesOn) {
    do {
      goesOn = isRecording();
      if (stop.waitFor(FOLLOW_STEP_MS)) return;
    } while (!play.hasMore() && goesOn);
  }
}

void PlayCommand::report(const PlayRun::Result& result, HostContext& context) const {
  const std::string target = output_ == "-" ? "standard output" : output_;
  if (result.frames == 0) {
    context.err() << "played nothing into " << target << std::endl;
    return;
  }
  KTString length;
  length.format("%.1f s", static_cast<double>(result.lastMs - result.firstMs) / 1000);
  context.err() << "played " << result.frames << " frames, " << length.c_str() << " from "
                << TimeText::format(static_cast<long>(result.firstMs / 1000)) << ", into " << target
                << std::endl;
  if (!result.audioLeftOut.empty()) {
    context.err() << "ktr: " << output_ << " cannot hold the sound (" << result.audioLeftOut
                  << "), it was left out: let the name end in .mkv, or give --no-audio"
                  << std::endl;
  }
  if (result.audioChanged) {
    context.err() << "ktr: the camera changed the kind of its sound, what follows is silent: play "
                     "the rest into another file with --at"
                  << std::endl;
  }
  if (!result.codecChanged) return;
  context.err() << "ktr: the camera changed its codec at "
                << TimeText::format(static_cast<long>(result.lastMs / 1000))
                << ": play the rest into another file with --at" << std::endl;
}
