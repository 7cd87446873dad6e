#include "tests/support/LogCapture.h"

#include <algorithm>
#include <mutex>

#include "runtime/KTLogger.h"

class LogCapture::Sink : public KTLogSink {
 public:
  void write(int priority, std::string_view line) override {
    std::function<void()> act;
    {
      const std::lock_guard lock(mutex_);
      lines_.emplace_back(priority, line);
      if (act_ && line == trigger_) act = act_;
    }
    if (act) act();
  }

  void whenLogged(const std::string& text, std::function<void()> act) {
    const std::lock_guard lock(mutex_);
    trigger_ = text;
    act_ = std::move(act);
  }

  std::vector<LogLine> lines() {
    const std::lock_guard lock(mutex_);
    return lines_;
  }

  void clear() {
    const std::lock_guard lock(mutex_);
    lines_.clear();
  }

 private:
  std::mutex mutex_;
  std::vector<LogLine> lines_;
  std::string trigger_;
  std::function<void()> act_;
};

LogCapture::LogCapture() : sink_(std::make_shared<Sink>()) {
  KTLogger::instance()->setSink(sink_);
}

LogCapture::~LogCapture() {
  KTLogger::instance()->setSink(nullptr);
}

std::vector<LogLine> LogCapture::lines() const {
  return sink_->lines();
}

unsigned int LogCapture::count(int priority, const std::string& text) const {
  const std::vector<LogLine> all = lines();
  return static_cast<unsigned int>(std::count(all.begin(), all.end(), LogLine(priority, text)));
}

unsigned int LogCapture::countContaining(const std::string& text) const {
  const std::vector<LogLine> all = lines();
  return static_cast<unsigned int>(std::count_if(all.begin(), all.end(), [&](const LogLine& line) {
    return line.second.find(text) != std::string::npos;
  }));
}

void LogCapture::clear() {
  sink_->clear();
}

void LogCapture::whenLogged(const std::string& text, std::function<void()> act) {
  sink_->whenLogged(text, std::move(act));
}
