#include "host/bench/LogWatch.h"

#include <string_view>
#include <utility>

#include "runtime/KTLogger.h"

class LogWatch::Sink : public KTLogSink {
 public:
  void write(int priority, std::string_view line) override {
    if (line.starts_with("TOO SLOW !!!")) ++slowTurns;
    if (line.find("]QUEUE SIZE IS GROWING") != std::string_view::npos) ++longQueues;
    below->write(priority, line);
  }

  std::atomic<std::uint64_t> slowTurns{0};
  std::atomic<std::uint64_t> longQueues{0};
  std::shared_ptr<KTLogSink> below;
};

// Put in twice: the first time for the sink below it, which must be there before a line comes.
LogWatch::LogWatch() : sink_(std::make_shared<Sink>()) {
  sink_->below = KTLogger::instance()->setSink(nullptr);
  KTLogger::instance()->setSink(sink_);
}

LogWatch::~LogWatch() {
  KTLogger::instance()->setSink(sink_->below);
}

std::uint64_t LogWatch::slowTurns() const {
  return sink_->slowTurns;
}

std::uint64_t LogWatch::longQueues() const {
  return sink_->longQueues;
}
