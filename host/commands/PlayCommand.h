#pragma once

#include <string>

#include "host/CommonOptions.h"
#include "host/commands/Command.h"
#include "host/play/PlayRun.h"

class StopSignal;

/** ktr play: writes a stretch of a recording, found by time, to a media file or a pipe. */
class PlayCommand : public Command {
 public:
  [[nodiscard]] CLI::App* define(CLI::App& program) override;
  [[nodiscard]] bool verbose() const override { return options_.verbose(); }
  [[nodiscard]] int run(HostContext& context) override;

 private:
  [[nodiscard]] PlayRun::Options checkedOptions() const;
  [[nodiscard]] bool find(PlayRun& play, const StopSignal& stop) const;
  [[nodiscard]] bool isRecording() const;
  void writeAll(PlayRun& play, const StopSignal& stop) const;
  void report(const PlayRun::Result& result, HostContext& context) const;

  CommonOptions options_;
  std::string stream_;
  std::string at_;
  std::string length_;
  std::string output_;
  std::string frameLog_;
  bool follow_ = false;
  bool noAudio_ = false;
};
