#include "runtime/KTLogger.h"

#include <cstdarg>
#include <string>
#include <utility>

#include "runtime/KTSpdlogSink.h"
#include "runtime/PrintfText.h"

KTLogSink::~KTLogSink() = default;

KTLogger::KTLogger() : sink_(makeSpdlogSink()) {}

KTLogger::~KTLogger() = default;

KTLogger* KTLogger::instance() {
  static auto* const logger = new KTLogger;  // outlives every static object
  return logger;
}

void KTLogger::log(KTLoggerPriority p, const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  const std::string line = printfText(fmt, args);
  va_end(args);

  std::shared_ptr<KTLogSink> sink;
  {
    const std::lock_guard lock(mutex_);
    sink = sink_;
  }
  sink->write(p, line);
}

std::shared_ptr<KTLogSink> KTLogger::setSink(std::shared_ptr<KTLogSink> sink) {
  if (sink == nullptr) sink = makeSpdlogSink();
  const std::lock_guard lock(mutex_);
  std::swap(sink_, sink);
  return sink;
}
