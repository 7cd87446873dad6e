#include "runtime/KTSpdlogSink.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_sinks.h>

#include "runtime/KTLogger.h"

namespace {

spdlog::level::level_enum levelOf(int priority) {
  if (priority >= KTLogger::Error) return spdlog::level::err;
  return priority >= KTLogger::Warning ? spdlog::level::warn : spdlog::level::info;
}

class SpdlogSink : public KTLogSink {
 public:
  SpdlogSink() : logger_("ktr", std::make_shared<spdlog::sinks::stderr_sink_mt>()) {
    logger_.flush_on(spdlog::level::info);
  }

  void write(int priority, std::string_view line) override {
    logger_.log(levelOf(priority), spdlog::string_view_t(line.data(), line.size()));
  }

 private:
  spdlog::logger logger_;
};

}  // namespace

std::shared_ptr<KTLogSink> makeSpdlogSink() {
  return std::make_shared<SpdlogSink>();
}
