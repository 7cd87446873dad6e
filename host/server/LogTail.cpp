#include "host/server/LogTail.h"

#include <deque>
#include <fstream>

namespace {

constexpr size_t MOST_LINES = 3;

void keepLast(std::deque<std::string>& lines, const std::string& line) {
  lines.push_back(line);
  if (lines.size() > MOST_LINES) lines.pop_front();
}

std::string joined(const std::deque<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += (text.empty() ? "" : " | ") + line;
  return text.empty() ? "its log is empty" : text;
}

}  // namespace

std::string LogTail::read(const std::string& path) {
  std::ifstream file(path);
  std::deque<std::string> errors;
  std::deque<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    if (line.empty()) continue;
    keepLast(lines, line);
    if (line.find("ERROR") != std::string::npos) keepLast(errors, line);
  }
  return joined(errors.empty() ? lines : errors);
}
