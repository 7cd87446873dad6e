#pragma once

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/CommonOptions.h"
#include "host/byevents/ByEventsOptions.h"
#include "host/byevents/EventConfirmations.h"
#include "host/commands/Command.h"
#include "host/input/StreamSource.h"
#include "host/record/RecordDisplay.h"
#include "host/record/StreamRecorder.h"
#include "host/retain/RetentionOptions.h"
#include "host/retain/RetentionTimer.h"

class SpoolLeftovers;
class StopSignal;

/** ktr record: records any number of streams of one recorder until it is stopped. */
class RecordCommand : public Command {
 public:
  [[nodiscard]] CLI::App* define(CLI::App& program) override;
  [[nodiscard]] bool verbose() const override { return options_.verbose(); }
  [[nodiscard]] int run(HostContext& context) override;

 private:
  using Recorders = std::vector<std::unique_ptr<StreamRecorder>>;

  [[nodiscard]] long limitSeconds() const;
  [[nodiscard]] int sliceBytes() const;
  [[nodiscard]] StreamRecorder::Options streamOptions() const;
  [[nodiscard]] std::set<unsigned int> streamsOf(const std::vector<StreamSource>& sources) const;
  [[nodiscard]] Recorders makeRecorders(const std::vector<StreamSource>& sources) const;
  [[nodiscard]] RetentionRun::Options retention(const Recorders& recorders,
                                                const SpoolLeftovers& leftovers,
                                                const StopSignal& signal) const;
  void watch(const Recorders& recorders, RetentionTimer& retained,
             EventConfirmations& confirmations, RecordDisplay& display, const StopSignal& signal);
  static void confirm(const Recorders& recorders, EventConfirmations& confirmations);
  [[nodiscard]] static std::vector<RecordDisplay::Stream> statusOf(const Recorders& recorders);
  [[nodiscard]] static std::set<unsigned int> openSessions(const Recorders& recorders);
  static void checkResults(const Recorders& recorders);
  void reportErrors(const Recorders& recorders, RecordDisplay& display);

  CommonOptions options_;
  RetentionOptions retention_;
  ByEventsOptions byEvents_;
  std::vector<std::string> sources_;
  std::string limit_;
  std::string sliceSize_;
  std::string spoolSize_;
  std::string frameLog_;
  bool noAudio_ = false;
  int status_ = 0;
};
