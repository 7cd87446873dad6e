#pragma once

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

/** A log line with its priority. */
using LogLine = std::pair<int, std::string>;

/** Takes every line of the process-wide logger from construction to destruction. Any thread. */
class LogCapture {
 public:
  LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  ~LogCapture();

  [[nodiscard]] std::vector<LogLine> lines() const;
  /** How many captured lines equal text and have this priority. */
  [[nodiscard]] unsigned int count(int priority, const std::string& text) const;
  [[nodiscard]] bool has(int priority, const std::string& text) const {
    return count(priority, text) != 0;
  }
  /** How many captured lines contain text, whatever their priority. */
  [[nodiscard]] unsigned int countContaining(const std::string& text) const;
  void clear();
  /** Calls act, on the thread that logs, behind every line that equals text. */
  void whenLogged(const std::string& text, std::function<void()> act);

 private:
  class Sink;
  std::shared_ptr<Sink> sink_;
};
